// Events while memory runs out: sent by the manager, heard by observers and callbacks.

#include "ScriptedIpc.h"
#include "WithoutMemory.h"

#include "zelto/TZeltoApplication.h"
#include "zelto/ZeltoAppLib.h"
#include "zelto/ZeltoPlatformLib.h"

#include <cstdio>
#include <cstring>

using memory::TWithoutMemory;

namespace {

// What was heard last; hearing allocates nothing.
char heard[600];

void OnClientState(int state, const char* macAddress, const char* hostName) {
    (void)std::snprintf(heard, sizeof(heard), "%d %s %s", state, macAddress, hostName);
}

void OnDataModelChange(const char* name, const char* value) {
    (void)std::snprintf(heard, sizeof(heard), "%s=%s", name, value);
}

memory::TOutcome Hear(const char* event, const char* payload) {
    heard[0] = '\0';
    {
        const std::string name(event);
        const std::string data(payload);
        fuzz::Ipc().OnEvent(name, data);
    }
    const memory::TSpared own;
    return std::string("0 ") + heard;
}

class EventWithoutMemory : public testing::Test {
protected:
    // Until there is memory enough, the application can be initialised again.
    static void SetUpTestSuite() {
        memory::Install();
        zeltoAppLibSubscribe(OnClientState, OnDataModelChange);
        LogSpy::SetRecording(false);
        for (std::size_t n = 1; fuzz::Ipc().GetEventListenersNumber() == 0 && n < 100; ++n) {
            memory::FailAt(n, memory::FROM_THEN_ON);
            (void)memory::Try([] {
                zeltoAppLibInitWithString("AN_APPLICATION_WITH_A_NAME");
                return memory::TOutcome();
            });
            (void)memory::Stop();
        }
        zeltoAppLibInitWithString("AN_APPLICATION_WITH_A_NAME");
        LogSpy::SetRecording(true);
    }
};

TEST_F(EventWithoutMemory, FindsTheApplicationInitialised) {
    EXPECT_EQ(1, fuzz::Ipc().GetEventListenersNumber());
    std::string answer;
    EXPECT_EQ(0, fuzz::Ipc().OnMethodCall("IS_APP_ACTIVE", "", answer));
}

TEST_F(EventWithoutMemory, ReachesTheCallbacksWholeOrNotAtAll) {
    TWithoutMemory(
        [] { return Hear("CLIENT_CONNECTED", R"({"MAC_ADDRESS": "a\u0061", "HOST_NAME": "pc"})"); },
        "0 0 aa pc")
        .Examine();
    TWithoutMemory(
        [] {
            return Hear("DATA_MODEL_CHANGED",
                        R"({"DATA_MODEL_NAME": "Device.WiFi.SSID.1.SSID", "DATA_MODEL_VALUE": "Home"})");
        },
        "0 Device.WiFi.SSID.1.SSID=Home")
        .Examine();
}

// Its callers are C programs: nothing leaves it.
TEST_F(EventWithoutMemory, IsNotSentButNothingIsThrown) {
    tZeltoPltDataModelEvent record{};
    (void)std::strcpy(record.name, "Device.WiFi.SSID.1.SSID");
    const auto send = [&record] {
        zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, &record);
        fuzz::Ipc().events.clear();
        return memory::TOutcome("0 ");
    };
    TWithoutMemory(send, "0 ").Examine();
}

TEST_F(EventWithoutMemory, LeavesTheTablesOfListenersAndHandlersUsable) {
    TZeltoApplication& handler = TZeltoApplication::GetInstance();
    const auto serve = [&handler] {
        const std::string method("A_METHOD_WITH_A_LONG_NAME");
        fuzz::Ipc().AddMethodHandler(method, &handler);
        fuzz::Ipc().RemoveMethodHandler(method);
        return memory::TOutcome("0 ");
    };
    TWithoutMemory(serve, "0 ").Examine();
}

} // namespace
