// The platform side used by many threads of the manager at once. The handlers take no lock, which would keep
// the threads in step.

#include "unit/platform/Requests.h"
#include "unit/platform/ScriptedPlatform.h"

#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/RawPeer.h"
#include "utils/FixedText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

int32_t Get(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    zelto::CopyTerminated(request.value, request.paramName);
    return PLT_SUCCESS;
}

int32_t Accept(void* /*record*/) {
    return PLT_SUCCESS;
}

int32_t GetObject(void* record) {
    auto& request = *static_cast<tZeltoPlatformObjectRequest*>(record);
    for (int32_t i = 0; i < request.paramCount; ++i) {
        zelto::CopyTerminated(request.params[i].value, request.params[i].paramName);
    }
    return PLT_SUCCESS;
}

int32_t GetIds(void* record) {
    const int32_t numbers[] = {2, 1, 5};
    std::memcpy(static_cast<tZeltoPlatformRequest*>(record)->value, numbers, sizeof(numbers));
    return PLT_SUCCESS;
}

tZeltoPltFunctionTable Entry(const char* name, bool paramChangeEvent) {
    tZeltoPltFunctionTable entry{};
    entry.name = name;
    entry.handlerName = "handler";
    entry.paramChangeEvent = paramChangeEvent;
    const tZeltoPltHandlerSlot slots[] = {{PLT_REQUEST_GET_PARAM, Get},
                                          {PLT_REQUEST_SET_PARAM, Accept},
                                          {PLT_REQUEST_GET_OBJECT, GetObject},
                                          {PLT_REQUEST_GET_OBJECT_IDS, GetIds}};
    std::copy(std::begin(slots), std::end(slots), entry.handlers);
    return entry;
}

struct TRequestRow {
    const char* method;
    const char* input;
    scripted::TAnswer answer;
};

const TRequestRow ROWS[] = {
    {"GET_PARAM",
     R"({"NAME": "Device.Ethernet.Interface.1.Enable"})",
     {0, R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.1.Enable", )"
         R"("VALUE": "Device.Ethernet.Interface.1.Enable"}]})"}},
    {"GET_PARAM",
     R"({"NAME": "Test.Unknown"})",
     {0, R"({"PARAMS": [{"NAME": "Test.Unknown", "VALUE": "Test.Unknown"}]})"}},
    {"GET_PARAM_ARRAY",
     R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.*.Quiet"}]})",
     {0, R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.2.Quiet", )"
         R"("VALUE": "Device.Ethernet.Interface.2.Quiet"}, )"
         R"({"NAME": "Device.Ethernet.Interface.1.Quiet", )"
         R"("VALUE": "Device.Ethernet.Interface.1.Quiet"}]})"}},
    {"SET_PARAM", R"({"NAME": "Device.Ethernet.Interface.*.Quiet", "VALUE": "v"})", scripted::DONE},
    {"GET_OBJECT",
     R"({"ROOT": "Device.Ethernet.Interface.", "PARAMS": [{"NAME": "Device.Ethernet.Interface.3.Quiet"}]})",
     {0, R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.3.Quiet", )"
         R"("VALUE": "Device.Ethernet.Interface.3.Quiet"}]})"}},
    {"GET_OBJECT_INSTANCES",
     R"({"OBJ": "Device.Ethernet.Interface."})",
     {0, R"({"COUNT": 2, "IDS": [1, 5]})"}},
    {"UNKNOWN", "{}", scripted::FAILED},
};

constexpr int THREADS = 4;

// Runs a body on several threads, which begin at the same time.
class TCrowd {
public:
    explicit TCrowd(const std::function<void(int)>& body) {
        for (int number = 0; number < THREADS; ++number) {
            threads.emplace_back([this, body, number] {
                ++arrived;
                while (arrived < THREADS) {
                    std::this_thread::yield();
                }
                body(number);
            });
        }
    }
    ~TCrowd() {
        std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
    }
    TCrowd(const TCrowd&) = delete;
    TCrowd& operator=(const TCrowd&) = delete;

private:
    std::atomic<int> arrived{0};
    std::vector<std::thread> threads;
};

class PlatformThreads : public testing::Test {
protected:
    static void SetUpTestSuite() {
        const scripted::THelperScript helper("exit 0");
        scripted::Install({Entry("Device.Ethernet.Interface.{i}.Enable", true),
                           Entry("Device.Ethernet.Interface.{i}.Quiet", false),
                           Entry("Device.Ethernet.Interface.", false), Entry("*", false)});
    }
    void SetUp() override {
        ASSERT_TRUE(BUS_READY);
        LogSpy::SetRecording(false);
    }
    void TearDown() override { LogSpy::SetRecording(true); }
};

TEST_F(PlatformThreads, GetTheirOwnAnswersFromTheDispatcher) {
    constexpr std::size_t ROUNDS = 200;
    std::atomic<int> wrong{0};
    {
        const TCrowd crowd([&wrong](int number) {
            for (std::size_t round = 0; round < ROUNDS; ++round) {
                // Each thread begins with another one.
                const TRequestRow& row = ROWS[(round + static_cast<std::size_t>(number)) % std::size(ROWS)];
                wrong += scripted::Request(row.method, row.input) == row.answer ? 0 : 1;
            }
        });
    }
    EXPECT_EQ(0, wrong);
    for (const TRequestRow& row : ROWS) {
        EXPECT_EQ(row.answer, scripted::Request(row.method, row.input));
    }
}

TEST_F(PlatformThreads, SendTheirEventsBesideSetsFromTheBus) {
    constexpr std::size_t EACH = 50;
    TRawPeer listener(TBusEnvironment::Bus().Address());
    ASSERT_TRUE(listener.AddMatch("type='signal',interface='com.Ulmet.Zelto.Zelto'"));
    TRawPeer client(TBusEnvironment::Bus().Address());
    std::size_t failed = 0;
    {
        const TCrowd crowd([](int number) {
            tZeltoPltDataModelEvent record{};
            zelto::CopyTerminated(record.name, "Test.Thread");
            zelto::CopyTerminated(record.value, std::to_string(number));
            for (std::size_t sent = 0; sent < EACH; ++sent) {
                zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, &record);
            }
        });
        for (std::size_t set = 0; set < EACH; ++set) {
            const auto reply = client.Call(
                {"com.Ulmet.Zelto.ZELTO_DISPATCHER", "/com/Ulmet/Zelto/ZELTO_DISPATCHER",
                 "com.Ulmet.Zelto.Zelto", "SET_PARAM"},
                {std::string(R"({"NAME": "Device.Ethernet.Interface.1.Enable", "VALUE": "on"})")});
            failed += reply && reply->IsReturn() && reply->Int(1) == 0 ? 0 : 1;
        }
    }
    EXPECT_EQ(0U, failed);
    const auto heard = [&listener](const std::string& body) {
        return listener.WaitForCount(
            [&body](const TRawMessage& message) {
                return message.member == "DATA_MODEL_CHANGED" && message.Text(0) == body;
            },
            EACH);
    };
    for (int number = 0; number < THREADS; ++number) {
        EXPECT_TRUE(heard(R"({"DATA_MODEL_NAME": "Test.Thread", "DATA_MODEL_VALUE": ")" +
                          std::to_string(number) + "\"}"));
    }
    EXPECT_TRUE(
        heard(R"({"DATA_MODEL_NAME": "Device.Ethernet.Interface.5.Enable", "DATA_MODEL_VALUE": "on"})"));
}

} // namespace
