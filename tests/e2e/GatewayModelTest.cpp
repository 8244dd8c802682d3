// What a client without any code of the library gets from the manager.

#include "e2e/Programs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>

#include <net/if.h>

using e2e::TGateway;
using support::TRawMessage;
using testing::MatchesRegex;

namespace {

bool IsChange(const TRawMessage& message) {
    return message.IsSignal() && message.member == "DATA_MODEL_CHANGED";
}

} // namespace

TEST(GatewayAnswer, IsATextAndACode) {
    TGateway gateway;
    auto answer = gateway.Request("GET_PARAM", R"({"NAME": "Device.WiFi.SSID.1.SSID"})");
    EXPECT_EQ(answer.signature, "si");
    EXPECT_EQ(answer.text, R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "Ulmet"}]})");
    EXPECT_EQ(answer.code, 0);
}

TEST(GatewayAnswer, HasOneEntryForEachInstanceOfAWildcard) {
    TGateway gateway;
    auto answer = gateway.Request("GET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.Enable"})");
    EXPECT_EQ(answer.text, R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.1.Enable", "VALUE": "true"}, )"
                           R"({"NAME": "Device.WiFi.SSID.2.Enable", "VALUE": "false"}]})");
}

struct TRefusal {
    const char* title;
    const char* method;
    const char* body;
    const char* reason; // in the manager's log; a method that nobody handles leaves none
};

class GatewayRefuses : public testing::TestWithParam<TRefusal> {};

TEST_P(GatewayRefuses, WithAnEmptyTextAndMinusOne) {
    TGateway gateway;
    auto answer = gateway.Request(GetParam().method, GetParam().body);
    EXPECT_EQ(answer.signature, "si");
    EXPECT_EQ(answer.text, "");
    EXPECT_EQ(answer.code, -1);
    EXPECT_TRUE(gateway.Process().WaitForErrors(GetParam().reason)) << gateway.Process().Errors();
}

INSTANTIATE_TEST_SUITE_P(
    Requests, GatewayRefuses,
    testing::Values(
        TRefusal{"UnknownMethod", "GET_NOTHING", "{}", ""},
        TRefusal{"UnknownName", "GET_PARAM", R"({"NAME": "Device.No.Such.Name"})",
                 "zeltoPlatLibGetParam(Device.No.Such.Name) failed"},
        TRefusal{"NoJson", "GET_PARAM", "no JSON", "The request of GET_PARAM is no JSON"},
        TRefusal{"MissingInstance", "GET_PARAM", R"({"NAME": "Device.WiFi.SSID.3.SSID"})", "'PLT_NOT_FOUND'"},
        TRefusal{"HugeInstance", "GET_PARAM",
                 R"({"NAME": "Device.WiFi.SSID.123456789012345678901234567890.SSID"})",
                 "An instance number in Device.WiFi.SSID.123456789012345678901234567890.SSID is too large"},
        TRefusal{"EmptyTable", "GET_PARAM", R"({"NAME": "Device.NAT.PortMapping.*.Enable"})",
                 "No instance matches Device.NAT.PortMapping.*.Enable"},
        TRefusal{"ReadOnly", "SET_PARAM", R"({"NAME": "Device.DeviceInfo.UpTime", "VALUE": "1"})",
                 "'PLT_NONWRITABLE'"},
        TRefusal{"EmptySsid", "SET_PARAM", R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": ""})",
                 "'PLT_INVALID_PARAM_VALUE'"},
        TRefusal{"LongSsid", "SET_PARAM",
                 R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "123456789012345678901234567890123"})",
                 "'PLT_INVALID_PARAM_VALUE'"},
        TRefusal{"NoBoolean", "SET_PARAM", R"({"NAME": "Device.WiFi.SSID.1.Enable", "VALUE": "yes"})",
                 "'PLT_INVALID_PARAM_VALUE'"},
        TRefusal{"AddToFixedTable", "ADD_OBJECT_INSTANCE", R"({"OBJ": "Device.WiFi.SSID."})",
                 "'PLT_NOT_SUPPORTED'"},
        TRefusal{"DeleteFixedInstance", "DELETE_OBJECT_INSTANCE", R"({"OBJ": "Device.WiFi.SSID.1."})",
                 "'PLT_NOT_SUPPORTED'"}),
    [](const auto& testCase) { return std::string(testCase.param.title); });

TEST(GatewaySet, IsSeenByTheNextReadAndAsAnEvent) {
    TGateway gateway;
    ASSERT_EQ(gateway.Set("Device.WiFi.SSID.2.SSID", "Home"), 0);
    EXPECT_EQ(gateway.Get("Device.WiFi.SSID.2.SSID"), "Home");
    auto event = gateway.Client().WaitFor(IsChange);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->Text(0),
              R"({"DATA_MODEL_NAME": "Device.WiFi.SSID.2.SSID", "DATA_MODEL_VALUE": "Home"})");
}

TEST(GatewaySet, TakesAnSsidOf32Bytes) {
    TGateway gateway;
    const std::string longest(32, 'x');
    EXPECT_EQ(gateway.Set("Device.WiFi.SSID.1.SSID", longest), 0);
    EXPECT_EQ(gateway.Get("Device.WiFi.SSID.1.SSID"), longest);
}

TEST(GatewaySet, ReadsBackABooleanInItsOneForm) {
    TGateway gateway;
    EXPECT_EQ(gateway.Set("Device.WiFi.SSID.1.Enable", "0"), 0);
    EXPECT_EQ(gateway.Get("Device.WiFi.SSID.1.Enable"), "false");
}

TEST(GatewaySet, SendsNoEventWhenItIsRefused) {
    TGateway gateway;
    ASSERT_EQ(gateway.Set("Device.WiFi.SSID.1.SSID", ""), -1);
    ASSERT_EQ(gateway.Set("Device.WiFi.SSID.1.SSID", "After"), 0);
    ASSERT_TRUE(gateway.Client().WaitFor(IsChange));
    EXPECT_EQ(gateway.Client().Received(IsChange).size(), 1U);
}

TEST(GatewayDeviceInfo, TellsOfThisMachine) {
    TGateway gateway;
    EXPECT_THAT(gateway.Get("Device.DeviceInfo.ManufacturerOUI"), MatchesRegex("[0-9A-F]{6}"));
    EXPECT_THAT(gateway.Get("Device.DeviceInfo.UpTime"), MatchesRegex("[0-9]+"));
    EXPECT_THAT(gateway.Get("Device.DeviceInfo.ModelName"), MatchesRegex("[^(].*"));
    EXPECT_THAT(gateway.Get("Device.DeviceInfo.SoftwareVersion"), MatchesRegex("[^(].*"));
    EXPECT_THAT(gateway.Get("Device.DeviceInfo.HardwareVersion"), MatchesRegex("[^(].*"));
    unsigned long total = std::stoul(gateway.Get("Device.DeviceInfo.MemoryStatus.Total"));
    EXPECT_GT(total, 0U);
    EXPECT_LT(std::stoul(gateway.Get("Device.DeviceInfo.MemoryStatus.Free")), total);
}

TEST(GatewayDeviceInfo, HasTheMachineIdAsSerialNumber) {
    std::string machineId;
    if (!(std::ifstream("/etc/machine-id") >> machineId)) {
        GTEST_SKIP() << "this machine has no id";
    }
    TGateway gateway;
    EXPECT_EQ(gateway.Get("Device.DeviceInfo.SerialNumber"), machineId);
}

TEST(GatewayDeviceInfo, GivesProcessorUseInPercent) {
    if (!std::ifstream("/proc/stat")) {
        GTEST_SKIP() << "this machine tells no processor times";
    }
    TGateway gateway;
    for (int i = 0; i < 3; ++i) {
        EXPECT_LE(std::stoul(gateway.Get("Device.DeviceInfo.ProcessStatus.CPUUsage")), 100U);
    }
}

TEST(GatewayDeviceInfo, ServesALongValueWhole) {
    TGateway gateway;
    auto answer =
        gateway.Request("GET_LONG_PARAM", R"({"NAME": "Device.DeviceInfo.X_ULMET_NetworkStatistics"})");
    EXPECT_EQ(answer.code, 0);
    EXPECT_GT(answer.text.size(), 300U);
    EXPECT_NE(answer.text.find(" rx_packets "), std::string::npos);
}

TEST(GatewayEthernet, NumbersInterfacesFromOneForApplications) {
    TGateway gateway;
    auto indexMap = gateway.Request("GET_INDEX_MAP", "").text;
    std::smatch match;
    ASSERT_TRUE(std::regex_search(indexMap, match,
                                  std::regex("\"Device.Ethernet.Interface.\", \"INDEX_MAP\": "
                                             "\\[\\{\"APP_INDEX\": 1, \"PLATFORM_INDEX\": ([0-9]+)\\}")))
        << indexMap;
    std::string name = gateway.Get("Device.Ethernet.Interface.1.Name");
    EXPECT_EQ(std::to_string(if_nametoindex(name.c_str())), match[1]);
    EXPECT_EQ(gateway.Get("@Device.Ethernet.Interface." + match[1].str() + ".Name"), name);
}

TEST(GatewayEthernet, TellsOfAnInterfaceInTheWordsOfTheModel) {
    TGateway gateway;
    const std::string root = "Device.Ethernet.Interface.1.";
    EXPECT_THAT(gateway.Get(root + "Enable"), MatchesRegex("true|false"));
    EXPECT_THAT(gateway.Get(root + "Status"), MatchesRegex("Up|Down|Dormant|NotPresent|LowerLayerDown"));
    EXPECT_THAT(gateway.Get(root + "MACAddress"), MatchesRegex("([0-9A-F]{2}:){5}[0-9A-F]{2}"));
    EXPECT_THAT(gateway.Get(root + "MaxBitRate"), MatchesRegex("-1|[0-9]+"));
    for (const char* counter :
         {"BytesSent", "BytesReceived", "PacketsSent", "PacketsReceived", "ErrorsSent", "ErrorsReceived"}) {
        EXPECT_THAT(gateway.Get(root + "Stats." + counter), MatchesRegex("[0-9]+")) << counter;
    }
}
