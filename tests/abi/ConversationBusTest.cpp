// What the platform side puts on the bus in the recorded conversation: replies and events.

#include "abi/Transcript.h"
#include "unit/platform/ScriptedPlatform.h"

#include "support/BusEnvironment.h"
#include "support/RawPeer.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr const char* INTERFACE = "com.Ulmet.Zelto.Zelto";
constexpr const char* LAST_HOST = "last";

const std::vector<std::pair<const char*, const char*>> REQUESTS = {
    {"GET_PARAM", R"({"NAME": "Device.WiFi.SSID.1.SSID"})"},
    {"GET_PARAM", R"({"NAME": "Device.Ethernet.Interface.*.X"})"},
    {"GET_LONG_PARAM", R"({"NAME": "Device.X"})"},
    {"SET_PARAM", R"({"NAME": "Device.X", "VALUE": "1", "COMMIT": true})"},
    {"SET_PARAM", R"({"NAME": "Device.Ethernet.Interface.1.X", "VALUE": "\u00fc"})"},
    {"SET_OBJECT",
     R"({"ROOT": "Device.", "PARAMS": [{"NAME": "Device.A", "VALUE": "2"}, {"NAME": "Device.B"}]})"},
    {"GET_OBJECT_INSTANCES", R"({"OBJ": "Device.T"})"},
    {"ADD_OBJECT_INSTANCE", R"({"OBJ": "Device.T"})"},
    {"DELETE_OBJECT_INSTANCE", R"({"OBJ": "Device.T.1."})"},
    {"GET_INDEX_MAP", ""},
    {"NO_SUCH_METHOD", "{}"},
};

bool IsEvent(const support::TRawMessage& message) {
    return message.IsSignal() && message.interface == INTERFACE;
}

bool IsLastEvent(const support::TRawMessage& message) {
    return IsEvent(message) && message.Text(0).find(LAST_HOST) != std::string::npos;
}

void SendClientEvent(tZeltoPltEventType type, const char* host) {
    tZeltoPltClientEvent record{};
    std::strcpy(record.macAddress, "01:23:45:67:89:ab");
    std::strcpy(record.hostName, host);
    zeltoPlatformLibSendEvent(type, &record);
}

class ConversationBus : public testing::Test {
protected:
    ConversationBus() : peer(support::TBusEnvironment::Bus().Address()) {
        peer.AddMatch(std::string("interface='") + INTERFACE + "'");
        scripted::Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
            scripted::Answer(request, std::string("value of ") + request.paramName);
            return PLT_SUCCESS;
        });
        scripted::Script(PLT_REQUEST_ADD_OBJECT, [](tZeltoPlatformRequest& request) {
            scripted::AnswerNumbers(request, {2147483647});
            return PLT_SUCCESS;
        });
        scripted::Script(PLT_REQUEST_GET_OBJECT_IDS, [](tZeltoPlatformRequest& request) {
            scripted::AnswerNumbers(request, {3, 5, 1, -4});
            return PLT_SUCCESS;
        });
        scripted::Install({scripted::FullEntry("*", true)});
    }

    void Call(const char* method, const char* body) {
        const auto reply = peer.Call(
            {"com.Ulmet.Zelto.ZELTO_DISPATCHER", "/com/Ulmet/Zelto/ZELTO_DISPATCHER", INTERFACE, method},
            support::TRawArguments{std::string(body)});
        ASSERT_TRUE(reply.has_value()) << method;
        transcript.Add(std::string("call ") + method + " " + body);
        transcript.Add("  reply " + reply->signature + " " + reply->Text(0) + " " +
                       std::to_string(reply->Int(1)));
    }

    void AddEvents() {
        for (const support::TRawMessage& event : peer.Received(IsEvent)) {
            transcript.Add("event " + event.path + " " + event.member + " " + event.signature + " " +
                           event.Text(0));
        }
    }

    support::TRawPeer peer;
    contract::TTranscript transcript;
};

TEST_F(ConversationBus, OfThePlatformSideIsTheRecordedOne) {
    for (const auto& [method, body] : REQUESTS) {
        Call(method, body);
    }
    for (int type = 0; type <= 4; ++type) {
        SendClientEvent(static_cast<tZeltoPltEventType>(type), "h\xc3\xb6st \"1\"");
    }
    SendClientEvent(PLT_EVENT_CLIENT_CONNECTED, LAST_HOST);
    ASSERT_TRUE(peer.WaitFor(IsLastEvent).has_value());
    AddEvents();
    transcript.ExpectRecorded("conversation_bus.txt");
}

} // namespace
