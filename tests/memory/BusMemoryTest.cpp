// Parties on the bus while memory runs out: nobody loses a lock, a thread or its name.

#include "WithoutMemory.h"
#include "unit/platform/ScriptedPlatform.h"

#include "support/BusEnvironment.h"
#include "zelto/TZeltoIpc.h"

#include <atomic>
#include <cstring>
#include <memory>

using memory::TOutcome;
using memory::TSpared;
using memory::TWithoutMemory;

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

// Longer than what a std::string holds itself.
constexpr const char* SERVER = "A_PARTY_THAT_ANSWERS_CALLS";
constexpr const char* METHOD = "A_METHOD_THAT_GIVES_BACK";
constexpr const char* EVENT = "AN_EVENT_FOR_EVERY_PARTY";
constexpr const char* TEXT = "a text that is on the heap";
constexpr int32_t TIMEOUT = 600; // a call that is not answered at all outlasts the test

// Gives back what it is called with, and counts the events that it hears.
class TServer : public IZeltoIpcMethodHandler, public IZeltoIpcEventListener {
public:
    explicit TServer(const char* identity) : party(newZeltoIpcInstance()) {
        party->AddMethodHandler(METHOD, this);
        party->AddEventLstener("", this);
        party->Init(identity);
        party->Run();
    }

    int OnMethodCall(const std::string& /*method*/, const std::string& request,
                     std::string& result) override {
        result = request;
        return 0;
    }

    void OnEvent(const std::string& eventName, const std::string& eventData) override {
        heard += eventName == EVENT && eventData == TEXT ? 1 : 0;
    }

    int Heard() const { return heard; }
    TZeltoIpc& Party() { return *party; }

private:
    std::atomic<int> heard{0};
    const std::unique_ptr<TZeltoIpc> party;
};

TOutcome Call(TZeltoIpc& caller, const char* server) {
    TZeltoIpc::TMethodSettings settings{server, TIMEOUT};
    std::string result;
    const int code = caller.CallMethod(METHOD, TEXT, result, settings);
    const TSpared own;
    return std::to_string(code) + " " + result;
}

class BusWithoutMemory : public testing::Test {
protected:
    void Examine(const memory::TRequest& request, const TOutcome& expected) {
        TWithoutMemory(request, expected).Examine();
    }

    const TOutcome echoed = std::string("0 ") + TEXT;
    TServer server{SERVER};
    const std::unique_ptr<TZeltoIpc> caller{newZeltoIpcInstance()};
};

TEST_F(BusWithoutMemory, AnswersEveryCall) {
    Examine([this] { return Call(*caller, SERVER); }, echoed);
}

// The call that follows the event finds it handed on.
TEST_F(BusWithoutMemory, HearsTheNextEvent) {
    const auto send = [this] {
        const int before = server.Heard();
        caller->SendEvent(EVENT, TEXT);
        const TOutcome outcome = Call(*caller, SERVER);
        const TSpared own;
        return server.Heard() > before ? outcome : TOutcome("lost");
    };
    Examine(send, echoed);
}

TEST_F(BusWithoutMemory, StartsAndStopsAPartyOrLeavesNothingOfIt) {
    const auto live = [] {
        const std::unique_ptr<TZeltoIpc> party(newZeltoIpcInstance());
        party->Init("A_PARTY_WITH_A_SHORT_LIFE");
        party->Run();
        party->Stop();
        return TOutcome("0 ");
    };
    Examine(live, "0 ");
}

TEST_F(BusWithoutMemory, StopsARunningParty) {
    const auto restart = [this] {
        server.Party().Stop();
        const TSpared own;
        server.Party().Run();
        return Call(*caller, SERVER);
    };
    Examine(restart, echoed);
}

TEST_F(BusWithoutMemory, ServesUnderOneOfBothNames) {
    constexpr const char* IDENTITIES[] = {"A_PARTY_WITH_ONE_OF_2_NAMES", "A_PARTY_WITH_TWO_OF_2_NAMES"};
    unsigned turn = 0;
    const auto rename = [&] {
        const char* const identity = IDENTITIES[++turn % 2];
        server.Party().Init(identity);
        const TSpared own;
        return Call(*caller, identity);
    };
    Examine(rename, echoed);
}

int32_t GiveValue(void* record) {
    (void)std::strcpy(static_cast<tZeltoPlatformRequest*>(record)->value, "a value");
    return PLT_SUCCESS;
}

// Whatever allocation of a second start fails, the next one serves.
TEST_F(BusWithoutMemory, StartsThePlatformSideAgain) {
    constexpr std::size_t MOST_ALLOCATIONS = 1000;
    const scripted::THelperScript helper("exit 0");
    const std::string maps = helper.Directory().Write(
        "map", R"({"DATA_MODELS": [{"NAME": "Device.Ethernet.Interface.", "INDEX_MAP": [{"1": "5"}]}]})");
    tZeltoPltFunctionTable entry{};
    entry.name = "*";
    entry.handlers[0] = {PLT_REQUEST_GET_PARAM, GiveValue};
    const tZeltoPlatformLibTable table{&entry, 1, maps.c_str()};
    zeltoPlatformLibInit(&table);
    LogSpy::SetRecording(false);
    bool hasFailed = true;
    for (std::size_t n = 1; hasFailed && !HasFailure(); ++n) {
        ASSERT_LT(n, MOST_ALLOCATIONS);
        memory::FailAt(n, memory::ONCE);
        zeltoPlatformLibInit(&table);
        hasFailed = memory::Stop();
        zeltoPlatformLibInit(&table);
        TZeltoIpc::TMethodSettings settings{"ZELTO_DISPATCHER", TIMEOUT};
        std::string value;
        EXPECT_EQ(0, caller->CallMethod("GET_LONG_PARAM", R"({"NAME": "A"})", value, settings)) << n;
        EXPECT_EQ(R"({"VALUE": "a value"})", value) << n;
    }
    LogSpy::SetRecording(true);
    getZeltoIpcInstance()->Stop(); // or it would take the failures of the next test
}

// Whatever allocation fails in the attempts to. The last one is the very first, after a loss that ended well.
TEST_F(BusWithoutMemory, GetsTheBusBack) {
    constexpr std::size_t ALLOCATIONS = 4;
    const auto call = [this] { return Call(*caller, SERVER); };
    ASSERT_EQ(echoed, call());
    LogSpy::SetRecording(false);
    for (std::size_t n = ALLOCATIONS; n > 0; --n) {
        memory::FailAt(n, memory::ONCE);
        {
            const TSpared own;
            support::TBusEnvironment::Bus().Kill();
        }
        EXPECT_TRUE(support::Eventually(memory::HasFailed)) << n;
        (void)memory::Stop();
        support::TBusEnvironment::Bus().Restart();
        EXPECT_TRUE(support::Eventually([&] { return memory::Try(call) == echoed; })) << n;
    }
    LogSpy::SetRecording(true);
}

} // namespace
