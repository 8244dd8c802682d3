// A program from before: the transport by virtual slot, by offset and by mangled name. None of our headers.

#include "abi/HandMade.h"

#include "support/BusEnvironment.h"
#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <mutex>
#include <string>

void* GetInstance() __asm__("_Z19getZeltoIpcInstancev");
void* NewInstance() __asm__("_Z19newZeltoIpcInstancev");
void Configure(void* ipc, const void* settings) __asm__("_ZN9TZeltoIpc9ConfigureERKNS_17TZeltoIpcSettingsE");
void SetMethodServerId(void* ipc, const std::string& method, const std::string& serverId) __asm__(
    "_ZN9TZeltoIpc17SetMethodServerIdERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES7_");
int ListenersNumber(const void* ipc) __asm__("_ZNK9TZeltoIpc23GetEventListenersNumberEv");
extern const std::string CONNECTED_EVENT __asm__("_ZN9TZeltoIpc22ON_APP_CONNECTED_EVENTB5cxx11E");
extern const std::string DISCONNECTED_EVENT __asm__("_ZN9TZeltoIpc25ON_APP_DISCONNECTED_EVENTB5cxx11E");

namespace {

using handmade::At;
using handmade::Field;
using handmade::Slot;

const bool BUS_READY = support::TBusEnvironment::Register();

// The slots of a transport object.
constexpr size_t ON_EVENT = 0;
constexpr size_t DELETE = 2;
constexpr size_t INIT = 3;
constexpr size_t RUN = 4;
constexpr size_t ADD_LISTENER = 5;
constexpr size_t REMOVE_LISTENER = 6;
constexpr size_t ADD_HANDLER = 7;
constexpr size_t REMOVE_HANDLER = 8;
constexpr size_t SEND_EVENT = 9;
constexpr size_t CALL = 10;
constexpr size_t CALL_WITH_SETTINGS = 11;
constexpr size_t ON_METHOD_CALL = 12;
constexpr size_t STOP = 13;

using TAction = void(void*);
using TTextAction = void(void*, const std::string&);
using TTwoTextAction = void(void*, const std::string&, const std::string&);
using TRegistration = void(void*, const std::string&, void*);
using TRemoval = void(void*, void*);
using TCall = int(void*, const std::string&, const std::string&, std::string&);
using TSettingsCall = int(void*, const std::string&, const std::string&, std::string&, void*);

struct TSettings {
    int32_t threadCount;
    int32_t methodTimeout;
    bool monitor;
};

struct TCallSettings {
    std::string serverId;
    int32_t timeout;
};

std::mutex heardLock;
std::string heard;

void Hear(void*, const std::string& name, const std::string& data) {
    const std::lock_guard<std::mutex> guard(heardLock);
    heard += name + "=" + data + ";";
}

// The bus tells a party of its own names too.
bool HasHeard(const std::string& event) {
    const std::lock_guard<std::mutex> guard(heardLock);
    return heard.find(event) != std::string::npos;
}

void ForgetEvents() {
    const std::lock_guard<std::mutex> guard(heardLock);
    heard.clear();
}

int Serve(void*, const std::string& method, const std::string& request, std::string& result) {
    result = method + " of " + request;
    return 7;
}

void DestroyNothing(void*) {}

// Both interfaces have their one operation first and then the destructor.
template <typename TFunction>
handmade::TTable TableOf(TFunction* function) {
    handmade::TTable table;
    table.slots[0] = reinterpret_cast<void*>(function);
    table.slots[1] = reinterpret_cast<void*>(&DestroyNothing);
    table.slots[2] = table.slots[1];
    return table;
}

handmade::TTable listenerTable = TableOf(&Hear);
handmade::TTable handlerTable = TableOf(&Serve);
handmade::TObject listener{listenerTable.slots};
handmade::TObject handler{handlerTable.slots};

class DropInIpc : public testing::Test {
protected:
    DropInIpc() {
        ForgetEvents();
        Slot<TTextAction>(server, INIT)(server, "DROP_IN_SERVER");
        Slot<TRegistration>(server, ADD_HANDLER)(server, "ASK", &handler);
        Slot<TRegistration>(server, ADD_LISTENER)(server, "any", &listener);
        Slot<TAction>(server, RUN)(server);
        SetMethodServerId(client, "*", "DROP_IN_SERVER");
        Slot<TTextAction>(client, INIT)(client, "DROP_IN_CLIENT");
    }
    ~DropInIpc() override {
        Slot<TAction>(server, STOP)(server);
        Slot<TAction>(client, DELETE)(client);
        Slot<TAction>(server, DELETE)(server);
    }

    void* server = NewInstance();
    void* client = NewInstance();
};

TEST_F(DropInIpc, CallsMethodsThroughItsSlots) {
    std::string result;
    EXPECT_EQ(Slot<TCall>(client, CALL)(client, "ASK", "a", result), 7);
    EXPECT_EQ(result, "ASK of a");
}

TEST_F(DropInIpc, TakesCallSettingsByTheirLayout) {
    SetMethodServerId(client, "*", "NOBODY");
    TCallSettings settings{"DROP_IN_SERVER", 20};
    std::string result;
    EXPECT_EQ(Slot<TSettingsCall>(client, CALL_WITH_SETTINGS)(client, "ASK", "b", result, &settings), 7);
    EXPECT_EQ(result, "ASK of b");
}

TEST_F(DropInIpc, DeliversEventsToAHandMadeListener) {
    Slot<TTwoTextAction>(client, SEND_EVENT)(client, "EVENT", "data");
    EXPECT_TRUE(support::Eventually([] { return HasHeard("EVENT=data;"); }));
}

TEST_F(DropInIpc, RemovesListenersAndHandlersThroughItsSlots) {
    EXPECT_EQ(ListenersNumber(server), 1);
    Slot<TRemoval>(server, REMOVE_LISTENER)(server, &listener);
    EXPECT_EQ(ListenersNumber(server), 0);
    Slot<TTextAction>(server, REMOVE_HANDLER)(server, "ASK");
    std::string result = "untouched";
    EXPECT_EQ(Slot<TCall>(client, CALL)(client, "ASK", "c", result), -1);
}

TEST_F(DropInIpc, IsListenerAndHandlerItself) {
    Slot<TTwoTextAction>(server, ON_EVENT)(server, "DIRECT", "1");
    EXPECT_TRUE(HasHeard("DIRECT=1;"));
    std::string result;
    EXPECT_EQ(Slot<TCall>(server, ON_METHOD_CALL)(server, "ASK", "d", result), 7);
    void* secondBase = static_cast<char*>(server) + handmade::POINTER;
    EXPECT_EQ(Slot<TCall>(secondBase, 0)(secondBase, "ASK", "e", result), 7);
    EXPECT_EQ(result, "ASK of e");
}

TEST_F(DropInIpc, HasItsMembersAtTheirOffsets) {
    const TSettings settings{3, 9, true};
    Configure(client, &settings);
    EXPECT_FALSE(Field<bool>(client, At(8, 16)));
    EXPECT_TRUE(Field<bool>(server, At(8, 16)));
    EXPECT_TRUE(Field<bool>(client, At(9, 17)));
    EXPECT_EQ(Field<std::string>(client, At(12, 24)), "DROP_IN_CLIENT");
    EXPECT_EQ(Field<int32_t>(client, At(36, 56)), 9000);
    EXPECT_EQ(Field<int32_t>(client, At(40, 60)), 3);
    EXPECT_NE(Field<void*>(client, At(184, 328)), nullptr);
    EXPECT_EQ(Field<std::string>(client, At(192, 344)), "com.Ulmet.Zelto.DROP_IN_CLIENT");
    EXPECT_EQ(Field<std::string>(client, At(216, 376)), "com.Ulmet.Zelto.Zelto");
    EXPECT_EQ(Field<std::string>(client, At(240, 408)), "/com/Ulmet/Zelto/DROP_IN_CLIENT");
    EXPECT_TRUE(Field<bool>(client, At(264, 440)));
    EXPECT_EQ(Field<int32_t>(client, At(268, 444)), -1);
}

TEST(DropIn, FindsTheNamesOfThePresenceEvents) {
    EXPECT_EQ(CONNECTED_EVENT, "APP_CONNECTED");
    EXPECT_EQ(DISCONNECTED_EVENT, "APP_DISCONNECTED");
}

TEST(DropIn, SharesOneTransport) {
    EXPECT_NE(GetInstance(), nullptr);
    EXPECT_EQ(GetInstance(), GetInstance());
}

} // namespace
