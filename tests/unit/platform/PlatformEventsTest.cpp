#include "ScriptedPlatform.h"

#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/RawPeer.h"
#include "utils/FixedText.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr int ERROR = 3;
constexpr int DEBUG = 7;

constexpr const char* LAST_EVENT = "CLIENT_BLOCKED_ATTEMPT";

const std::string LONG_NAME = "Test." + std::string(300, 'n');
const std::string CUT_NAME = "Test." + std::string(249, 'c');
const std::string FULL_NAME(256, 'f');

class PlatformEvents : public testing::Test {
protected:
    static void SetUpTestSuite() {
        using scripted::Entry;
        const scripted::THelperScript helper("exit 0");
        scripted::Install({
            Entry("Device.Ethernet.Interface.{i}.Enable", {PLT_REQUEST_SET_PARAM}, true),
            Entry(LONG_NAME.c_str(), {PLT_REQUEST_SET_PARAM}, true),
            Entry(CUT_NAME.c_str(), {PLT_REQUEST_SET_PARAM}, true),
            Entry(FULL_NAME.c_str(), {PLT_REQUEST_SET_PARAM}, true),
            Entry("Test.", {PLT_REQUEST_SET_OBJECT}),
        });
        listener = std::make_unique<support::TRawPeer>(support::TBusEnvironment::Bus().Address());
        ASSERT_TRUE(listener->AddMatch("type='signal',interface='com.Ulmet.Zelto.Zelto'"));
    }
    static void TearDownTestSuite() { listener.reset(); }
    void SetUp() override { listener->ClearReceived(); }

    static bool IsEvent(const support::TRawMessage& message) {
        return message.IsSignal() && message.interface == "com.Ulmet.Zelto.Zelto";
    }

    // The events up to now: one more is sent to know where they end.
    static std::vector<support::TRawMessage> Events() {
        const tZeltoPltClientEvent last{};
        zeltoPlatformLibSendEvent(PLT_EVENT_CLIENT_BLOCKED_ATTEMPT, &last);
        listener->WaitFor([](const support::TRawMessage& message) {
            return message.member == LAST_EVENT &&
                   message.Text(0) == R"({"MAC_ADDRESS": "", "HOST_NAME": ""})";
        });
        std::vector<support::TRawMessage> events = listener->Received(IsEvent);
        EXPECT_FALSE(events.empty());
        if (!events.empty()) {
            EXPECT_EQ(events.back().member, LAST_EVENT);
            events.pop_back();
        }
        return events;
    }

    static std::string OnlyBody() {
        const auto events = Events();
        EXPECT_EQ(events.size(), 1U);
        return events.empty() ? "" : events[0].Text(0);
    }

    static tZeltoPltClientEvent Client(const char* mac, const char* host) {
        tZeltoPltClientEvent record;
        zelto::CopyTerminated(record.macAddress, mac);
        zelto::CopyTerminated(record.hostName, host);
        return record;
    }

    static std::unique_ptr<support::TRawPeer> listener;
};

std::unique_ptr<support::TRawPeer> PlatformEvents::listener;

TEST_F(PlatformEvents, SendsEveryClientEventUnderItsName) {
    const tZeltoPltClientEvent record = Client("01:23:45:67:89:ab", "host");
    const char* const names[] = {"CLIENT_CONNECTED", "CLIENT_RECONNECTED", "CLIENT_DISCONNECTED",
                                 "CLIENT_UNAUTH_ATTEMPT"};
    for (int type = 0; type < 4; ++type) {
        zeltoPlatformLibSendEvent(static_cast<tZeltoPltEventType>(type), &record);
        EXPECT_TRUE(LogSpy::Contains(DEBUG, std::string("\"[zeltoPlatformLibSendEvent] Received event ") +
                                                names[type] + "\n\""));
    }
    const auto events = Events();
    ASSERT_EQ(events.size(), 4U);
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].member, names[i]);
        EXPECT_EQ(events[i].path, "/com/Ulmet/Zelto/ZELTO_DISPATCHER");
        EXPECT_EQ(events[i].signature, "s");
        EXPECT_EQ(events[i].Text(0), R"({"MAC_ADDRESS": "01:23:45:67:89:ab", "HOST_NAME": "host"})");
    }
}

TEST_F(PlatformEvents, SendsTheLastClientEventToo) {
    const tZeltoPltClientEvent record = Client("01:23:45:67:89:ab", "host");
    zeltoPlatformLibSendEvent(PLT_EVENT_CLIENT_BLOCKED_ATTEMPT, &record);
    EXPECT_EQ(OnlyBody(), R"({"MAC_ADDRESS": "01:23:45:67:89:ab", "HOST_NAME": "host"})");
    EXPECT_TRUE(
        LogSpy::Contains(DEBUG, "\"[zeltoPlatformLibSendEvent] Received event CLIENT_BLOCKED_ATTEMPT\n\""));
}

TEST_F(PlatformEvents, SendsAChangedParameter) {
    tZeltoPltDataModelEvent record;
    zelto::CopyTerminated(record.name, "Device.WiFi.SSID.1.SSID");
    zelto::CopyTerminated(record.value, "a \"quoted\" name");
    zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, &record);
    const auto events = Events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].member, "DATA_MODEL_CHANGED");
    EXPECT_EQ(events[0].Text(0),
              R"({"DATA_MODEL_NAME": "Device.WiFi.SSID.1.SSID", "DATA_MODEL_VALUE": "a \"quoted\" name"})");
}

TEST_F(PlatformEvents, SendsAnEmptyHostName) {
    const tZeltoPltClientEvent record = Client("", "");
    zeltoPlatformLibSendEvent(PLT_EVENT_CLIENT_CONNECTED, &record);
    EXPECT_EQ(OnlyBody(), R"({"MAC_ADDRESS": "", "HOST_NAME": ""})");
}

TEST_F(PlatformEvents, ReadsUnterminatedTextsToTheEndOfTheirFields) {
    tZeltoPltClientEvent record;
    std::memset(record.macAddress, 'm', sizeof(record.macAddress));
    std::memset(record.hostName, 'h', sizeof(record.hostName));
    zeltoPlatformLibSendEvent(PLT_EVENT_CLIENT_CONNECTED, &record);
    EXPECT_EQ(OnlyBody(), "{\"MAC_ADDRESS\": \"" + std::string(18, 'm') + "\", \"HOST_NAME\": \"" +
                              std::string(256, 'h') + "\"}");
}

TEST_F(PlatformEvents, SendsNullForATextThatIsNotUtf8) {
    const tZeltoPltClientEvent record = Client("01:23:45:67:89:ab", "caf\xe9");
    zeltoPlatformLibSendEvent(PLT_EVENT_CLIENT_CONNECTED, &record);
    EXPECT_EQ(OnlyBody(), R"({"MAC_ADDRESS": "01:23:45:67:89:ab", "HOST_NAME": null})");
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"The HOST_NAME of an event is not valid UTF-8\""));
}

TEST_F(PlatformEvents, SendsNothingForANullRecord) {
    zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, nullptr);
    EXPECT_TRUE(
        LogSpy::Contains(DEBUG, "\"[zeltoPlatformLibSendEvent] Received event DATA_MODEL_CHANGED\n\""));
    EXPECT_EQ(LogSpy::Messages().size(), 1U);
    zeltoPlatformLibSendEvent(PLT_EVENT_CLIENT_CONNECTED, nullptr);
    EXPECT_EQ(LogSpy::Messages().size(), 2U);
    EXPECT_TRUE(Events().empty());
}

TEST_F(PlatformEvents, SendsNothingForATypeThatIsNoEvent) {
    const tZeltoPltDataModelEvent record{};
    for (const int type : {6, 7, 1000, -1}) {
        LogSpy::Clear();
        zeltoPlatformLibSendEvent(static_cast<tZeltoPltEventType>(type), &record);
        EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"[zeltoPlatformLibSendEvent] Received event \n\"")) << type;
        EXPECT_EQ(LogSpy::Messages().size(), 1U) << type;
    }
    EXPECT_TRUE(Events().empty());
}

TEST_F(PlatformEvents, CarriesThePlatformsNumberAfterASet) {
    EXPECT_EQ(zeltoPlatLibSetParam("Device.Ethernet.Interface.1.Enable", "true", false, false), 0);
    EXPECT_EQ(OnlyBody(), R"({"DATA_MODEL_NAME": "Device.Ethernet.Interface.5.Enable", )"
                          R"("DATA_MODEL_VALUE": "true"})");
}

TEST_F(PlatformEvents, CarriesTheValueWhateverTheHandlerMadeOfIts) {
    scripted::Script(PLT_REQUEST_SET_PARAM, [](tZeltoPlatformRequest& request) {
        request.longValue[1] = '\0';
        return PLT_SUCCESS;
    });
    EXPECT_EQ(zeltoPlatLibSetParam("Device.Ethernet.Interface.1.Enable", "a,b", false, false), 0);
    scripted::Reset();
    EXPECT_EQ(OnlyBody(), R"({"DATA_MODEL_NAME": "Device.Ethernet.Interface.5.Enable", )"
                          R"("DATA_MODEL_VALUE": "a,b"})");
}

TEST_F(PlatformEvents, FollowsTheElementsAfterASetObject) {
    EXPECT_EQ(zeltoPlatLibSetObject("Test.",
                                    {{"Device.Ethernet.Interface.1.Enable", "a", false},
                                     {"Test.NoEntry", "b", false},
                                     {"Device.Ethernet.Interface.1.Enable", std::string(400, 'c'), true}},
                                    false),
              0);
    const auto events = Events();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].Text(0),
              R"({"DATA_MODEL_NAME": "Device.Ethernet.Interface.5.Enable", "DATA_MODEL_VALUE": "a"})");
    EXPECT_EQ(events[1].Text(0),
              R"({"DATA_MODEL_NAME": "Device.Ethernet.Interface.1.Enable", "DATA_MODEL_VALUE": ")" +
                  std::string(255, 'c') + "\"}");
}

TEST_F(PlatformEvents, FollowsAnElementWhoseNameIsCutAtACharacter) {
    EXPECT_EQ(zeltoPlatLibSetObject("Test.", {{CUT_NAME + "\xc3\xa9", "v", false}}, false), 0);
    EXPECT_EQ(OnlyBody(), R"({"DATA_MODEL_NAME": ")" + CUT_NAME + R"(", "DATA_MODEL_VALUE": "v"})");
}

TEST_F(PlatformEvents, ReadsANameThatTheHandlerWroteToTheEndOfItsField) {
    scripted::ScriptObject(PLT_REQUEST_SET_OBJECT, [](tZeltoPlatformObjectRequest& request) {
        (void)FULL_NAME.copy(request.params[0].paramName, ZELTO_TEXT_SIZE);
        return PLT_SUCCESS;
    });
    EXPECT_EQ(zeltoPlatLibSetObject("Test.", {{"Test.A", "v", false}}, false), 0);
    scripted::Reset();
    EXPECT_EQ(OnlyBody(),
              R"({"DATA_MODEL_NAME": ")" + FULL_NAME.substr(0, 255) + R"(", "DATA_MODEL_VALUE": "v"})");
}

TEST_F(PlatformEvents, CutsALongValueAtTheLastWholeCharacter) {
    const struct {
        std::string value;
        std::string sent;
    } rows[] = {
        {std::string(255, 'a'), std::string(255, 'a')},
        {std::string(256, 'a'), std::string(255, 'a')},
        {std::string(253, 'a') + "\xc3\xa9", std::string(253, 'a') + "\xc3\xa9"},
        {std::string(254, 'a') + "\xc3\xa9", std::string(254, 'a')},
        {std::string(255, 'a') + "\xc3\xa9", std::string(255, 'a')},
        {std::string(252, 'a') + "\xe2\x82\xac" + "b", std::string(252, 'a') + "\xe2\x82\xac"},
        {std::string(253, 'a') + "\xe2\x82\xac", std::string(253, 'a')},
        {std::string(252, 'a') + "\xf0\x9f\x98\x80", std::string(252, 'a')},
        {std::string(254, 'a') + "\xf0\x9f\x98\x80", std::string(254, 'a')},
    };
    for (const auto& row : rows) {
        listener->ClearReceived();
        EXPECT_EQ(zeltoPlatLibSetParam("Device.Ethernet.Interface.2.Enable", row.value, false, false), 0);
        EXPECT_EQ(OnlyBody(), R"({"DATA_MODEL_NAME": "Device.Ethernet.Interface.1.Enable", )"
                              R"("DATA_MODEL_VALUE": ")" +
                                  row.sent + "\"}");
    }
    EXPECT_EQ(LogSpy::Count(ERROR), 0U);
}

TEST_F(PlatformEvents, CutsALongNameAsWell) {
    EXPECT_EQ(zeltoPlatLibSetParam(LONG_NAME, "v", false, false), 0);
    EXPECT_EQ(OnlyBody(),
              "{\"DATA_MODEL_NAME\": \"" + LONG_NAME.substr(0, 255) + "\", \"DATA_MODEL_VALUE\": \"v\"}");
}

} // namespace
