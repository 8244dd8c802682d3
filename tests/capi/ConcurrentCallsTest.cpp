// Many threads of one application call at once while its callbacks are changed: no answer goes to the wrong
// caller, and no callback is called that is not subscribed.
#include "capi/CannedManager.h"

#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr int CALLERS = 16;
constexpr int CALLS = 100;

// Answers each read with the name as the value. The requests of this test need no escaping.
support::TRawArguments Echo(const support::TRawMessage& call) {
    const std::string prefix = "{\"NAME\": \"";
    const std::string body = call.Text(0);
    const std::string name = body.substr(prefix.size(), body.find('"', prefix.size()) - prefix.size());
    if (call.member == "GET_LONG_PARAM") {
        return {"{\"VALUE\": \"" + name + "\"}", std::int32_t{0}};
    }
    return {R"({"PARAMS": [{"NAME": ")" + name + R"(", "VALUE": ")" + name + "\"}]}", std::int32_t{0}};
}

bool GetGivesItsOwnName(const std::string& name) {
    tZeltoParamRequest request = {};
    capi::Fill(request.param.name, name);
    return zeltoAppLibGetParam(&request) == ZELTO_APP_OK && request.param.value == name;
}

bool GetLongGivesItsOwnName(const std::string& name) {
    tZeltoLongParamRequest request = {};
    capi::Fill(request.name, name);
    const bool right = zeltoAppLibGetLongParam(&request) == ZELTO_APP_OK && request.value == name;
    zeltoAppLibReleaseLongParamRequest(&request);
    return right;
}

std::atomic<int> delivered{0};

TEST(ConcurrentCalls, GetTheirOwnAnswersWhileCallbacksChange) {
    support::TRawPeer manager(support::TBusEnvironment::Bus().Address());
    manager.ServeWith(Echo);
    ASSERT_EQ(manager.OwnName(capi::MANAGER_NAME),
              static_cast<unsigned>(DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER));
    manager.SetRecording(false);
    zeltoAppLibInitWithString("CONCURRENT_CALLS");

    std::atomic<int> wrong{0};
    std::atomic<int> running{CALLERS};
    std::vector<std::thread> threads;
    for (int caller = 0; caller < CALLERS; ++caller) {
        threads.emplace_back([caller, &wrong, &running] {
            for (int call = 0; call < CALLS; ++call) {
                const std::string name = "Device." + std::to_string(caller) + "." + std::to_string(call);
                wrong += GetGivesItsOwnName(name) ? 0 : 1;
                wrong += GetLongGivesItsOwnName(name) ? 0 : 1;
            }
            --running;
        });
    }
    while (running > 0) {
        const int before = delivered;
        zeltoAppLibSubscribe(nullptr, [](const char*, const char*) { ++delivered; });
        manager.Signal({"", capi::MANAGER_PATH, capi::INTERFACE, "DATA_MODEL_CHANGED"},
                       {R"({"DATA_MODEL_NAME": "Device.A", "DATA_MODEL_VALUE": "1"})"});
        EXPECT_TRUE(support::Eventually([before] { return delivered > before; }));
        zeltoAppLibUnsubscribe();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
