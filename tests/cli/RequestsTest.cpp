// What the command sends, and that it asks for no name.

#include "cli/Golden.h"
#include "e2e/Programs.h"

#include "support/BusRecorder.h"

#include <gmock/gmock.h>

using cli::RunZelto;
using cli::TLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";
const std::string SSID_2 = "Device.WiFi.SSID.2.SSID";

bool IsRequest(const support::TRawMessage& message) {
    return message.interface == e2e::INTERFACE && message.type == DBUS_MESSAGE_TYPE_METHOD_CALL;
}

// The requests that a run of the command makes of the gateway, each as its name and its body.
std::vector<std::string> RequestsOf(const TLine& arguments, const std::string& input = "") {
    e2e::TGateway gateway;
    support::TBusRecorder recorder(support::TBusEnvironment::Bus().Address());
    (void)RunZelto(arguments, false, input); // how it ends is not the question
    std::vector<std::string> requests;
    for (const auto& message : recorder.Messages(IsRequest)) {
        requests.push_back(message.member + " " + message.Text(0));
    }
    return requests;
}

} // namespace

TEST(Requests, OfGet) {
    EXPECT_THAT(RequestsOf({"get", SSID_1}), ElementsAre("GET_PARAM {\"NAME\": \"" + SSID_1 + "\"}"));
    EXPECT_THAT(RequestsOf({"get", SSID_1, SSID_2}),
                ElementsAre("GET_PARAM_ARRAY {\"PARAMS\": [{\"NAME\": \"" + SSID_1 + "\"}, {\"NAME\": \"" +
                            SSID_2 + "\"}]}"));
    EXPECT_THAT(RequestsOf({"get", "--long", SSID_1}),
                ElementsAre("GET_LONG_PARAM {\"NAME\": \"" + SSID_1 + "\"}"));
}

TEST(Requests, OfSet) {
    EXPECT_THAT(
        RequestsOf({"set", SSID_1 + "=x"}),
        ElementsAre(R"(SET_PARAM {"COMMIT": false, "VALUE": "x", "NAME": "Device.WiFi.SSID.1.SSID"})"));
    EXPECT_THAT(
        RequestsOf({"set", "-c", "--long", SSID_1 + "=x"}),
        ElementsAre(R"(SET_LONG_PARAM {"COMMIT": true, "VALUE": "x", "NAME": "Device.WiFi.SSID.1.SSID"})"));
}

TEST(Requests, OfSetHaveTheFlagInEachParameterOfAList) {
    for (const auto& [flag, value] : {std::pair("-c", "true"), std::pair("-q", "false")}) {
        const std::string commit = std::string("{\"COMMIT\": ") + value;
        EXPECT_THAT(RequestsOf({"set", flag, SSID_1 + "=x", SSID_2 + "=y"}),
                    ElementsAre("SET_PARAM_ARRAY {\"PARAMS\": [" + commit +
                                ", \"VALUE\": \"x\", \"NAME\": \"" + SSID_1 + "\"}, " + commit +
                                ", \"VALUE\": \"y\", \"NAME\": \"" + SSID_2 + "\"}]}"));
    }
}

TEST(Requests, OfSetFromLinesAreOne) {
    EXPECT_THAT(RequestsOf({"set", "-f", "-"}, SSID_1 + "=x\n" + SSID_2 + "=y\n").size(), 1U);
}

TEST(Requests, OfObjects) {
    EXPECT_THAT(RequestsOf({"setobj", "-c", "Device.WiFi.SSID.1", "SSID=x"}),
                ElementsAre(R"(SET_OBJECT {"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "x"}], )"
                            R"("ROOT": "Device.WiFi.SSID.1.", "COMMIT": true})"));
    EXPECT_THAT(
        RequestsOf({"getobj", "Device.WiFi.SSID.1.", "@Device.X"}),
        ElementsAre(R"(GET_OBJECT {"PARAMS": [{"NAME": "@Device.X"}], "ROOT": "Device.WiFi.SSID.1."})"));
    EXPECT_THAT(RequestsOf({"add", "Device.X"}), ElementsAre(R"(ADD_OBJECT_INSTANCE {"OBJ": "Device.X."})"));
    EXPECT_THAT(RequestsOf({"del", "Device.X.1."}),
                ElementsAre(R"(DELETE_OBJECT_INSTANCE {"OBJ": "Device.X.1."})"));
}

TEST(Requests, OfMapAndLs) {
    EXPECT_THAT(RequestsOf({"map", "Device.X"}), ElementsAre("GET_INDEX_MAP "));
    const std::string list = R"(GET_OBJECT_INSTANCES {"OBJ": "Device.WiFi.SSID."})";
    EXPECT_THAT(RequestsOf({"ls", "Device.WiFi.SSID."}), ElementsAre(list, "GET_INDEX_MAP "));
    EXPECT_THAT(RequestsOf({"ls", "-V", "Device.WiFi.SSID."}), ElementsAre(list));
}

TEST(Requests, OfCallAreWhatTheUserSays) {
    EXPECT_THAT(RequestsOf({"call", "GET_PARAM", "{ soup"}), ElementsAre("GET_PARAM { soup"));
    EXPECT_THAT(RequestsOf({"call", "SING"}), ElementsAre("SING "));
}

TEST(Requests, AreMadeWithoutAName) {
    e2e::TGateway gateway;
    support::TBusRecorder recorder(support::TBusEnvironment::Bus().Address());
    ASSERT_EQ(RunZelto({"get", SSID_1}).exitCode, 0);
    ASSERT_EQ(RunZelto({"set", "-c", SSID_1 + "=x"}).exitCode, 0);
    const auto asksForName = [](const auto& message) { return message.member == "RequestName"; };
    EXPECT_THAT(recorder.Messages(asksForName), IsEmpty());
}
