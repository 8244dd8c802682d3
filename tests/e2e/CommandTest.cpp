// What the zelto command prints and how it ends.

#include "e2e/Programs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

using e2e::RunCommand;
using e2e::TGateway;
using support::TBusEnvironment;
using support::TChildProcess;
using support::TRawPeer;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";

} // namespace

struct TCase {
    const char* title;
    std::vector<std::string> arguments;
    int exitCode;
    const char* output;
    const char* errors;
};

class Command : public testing::TestWithParam<TCase> {};

TEST_P(Command, PrintsAndEndsAsDocumented) {
    TGateway gateway;
    auto result = RunCommand(GetParam().arguments);
    EXPECT_EQ(result.exitCode, GetParam().exitCode);
    EXPECT_EQ(result.output, GetParam().output);
    EXPECT_EQ(result.errors, GetParam().errors);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, Command,
    testing::Values(
        TCase{"Get", {"get", SSID_1}, 0, "Device.WiFi.SSID.1.SSID=Ulmet\n", ""},
        TCase{"GetValue", {"get", "-V", SSID_1}, 0, "Ulmet\n", ""},
        TCase{"GetSeveral",
              {"get", "Device.WiFi.SSID.2.Enable", SSID_1},
              0,
              "Device.WiFi.SSID.2.Enable=false\nDevice.WiFi.SSID.1.SSID=Ulmet\n",
              ""},
        TCase{"GetWildcard",
              {"get", "Device.WiFi.SSID.*.SSID"},
              0,
              "Device.WiFi.SSID.1.SSID=Ulmet\nDevice.WiFi.SSID.2.SSID=Ulmet-Guest\n",
              ""},
        TCase{"GetUnknown",
              {"get", "Device.No.Such.Name"},
              1,
              "",
              "zelto: get Device.No.Such.Name: refused by the manager\n"},
        TCase{"GetOneOfTwoUnknown",
              {"get", SSID_1, "Device.X"},
              7,
              "Device.WiFi.SSID.1.SSID=Ulmet\n",
              "zelto: get Device.X: refused by the manager\n"},
        TCase{"GetFromEmptyTable",
              {"get", "Device.NAT.PortMapping.*.Enable"},
              6,
              "",
              "zelto: get Device.NAT.PortMapping.*.Enable: nothing matches\n"},
        TCase{"GetEmptyPath", {"get", ""}, 1, "", "zelto: get : refused by the manager\n"},
        TCase{"GetNoText",
              {"get", "Device.\xff"},
              3,
              "",
              "zelto: cannot be sent, since it is not UTF-8: Device.\xff\n"},
        TCase{"Set", {"set", "Device.WiFi.SSID.1.SSID=a=b"}, 0, "", ""},
        TCase{"SetRefused",
              {"set", "Device.WiFi.SSID.1.Enable=perhaps"},
              1,
              "",
              "zelto: set Device.WiFi.SSID.1.Enable: refused by the manager\n"},
        TCase{"SetWithoutValue",
              {"set", SSID_1},
              2,
              "",
              "zelto: set: not of the form PATH=VALUE: Device.WiFi.SSID.1.SSID\n"},
        TCase{"SetWithoutPath", {"set", "=1"}, 2, "", "zelto: set: not of the form PATH=VALUE: =1\n"},
        TCase{"Add", {"add", "Device.NAT.PortMapping"}, 0, "Device.NAT.PortMapping.1.\n", ""},
        TCase{"AddRefused",
              {"add", "Device.WiFi.SSID."},
              1,
              "",
              "zelto: add Device.WiFi.SSID.: refused by the manager\n"},
        TCase{"DelMissing",
              {"del", "Device.NAT.PortMapping.1."},
              1,
              "",
              "zelto: del Device.NAT.PortMapping.1.: refused by the manager\n"}),
    [](const auto& testCase) { return std::string(testCase.param.title); });

TEST(CommandLine, EndsWithTwoWhenItIsWrong) {
    const std::vector<std::vector<std::string>> lines = {{},
                                                         {"get"},
                                                         {"set"},
                                                         {"add"},
                                                         {"sing"},
                                                         {"get", "--no-such-option"},
                                                         {"-t", "0", "get", "X"},
                                                         {"watch", "-n", "none"},
                                                         {"map", "one", "surplus"}};
    for (const auto& line : lines) {
        auto result = RunCommand(line);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(line);
        EXPECT_EQ(result.output, "") << testing::PrintToString(line);
        EXPECT_NE(result.errors, "") << testing::PrintToString(line);
    }
}

TEST(CommandLine, ShowsHelpAndVersion) {
    auto help = RunCommand({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.output, HasSubstr("watch"));
    auto version = RunCommand({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.output, MatchesRegex("zelto [0-9.]+\n"));
}

TEST(CommandSet, WritesSeveralInOrder) {
    TGateway gateway;
    auto result = RunCommand({"set", "Device.WiFi.SSID.1.SSID=One", "Device.WiFi.SSID.2.SSID=Two"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(gateway.Get("Device.WiFi.SSID.1.SSID"), "One");
    EXPECT_EQ(gateway.Get("Device.WiFi.SSID.2.SSID"), "Two");
}

TEST(CommandGet, PrintsControlBytesAndBackslashesEscaped) {
    TGateway gateway;
    ASSERT_EQ(RunCommand({"set", "Device.WiFi.SSID.1.SSID=a\nb\\c\t\x01"}).exitCode, 0);
    EXPECT_EQ(RunCommand({"get", "-V", SSID_1}).output, "a\\nb\\\\c\\t\\001\n");
}

TEST(CommandGet, PrintsALongValueInOneLine) {
    TGateway gateway;
    auto result = RunCommand({"get", "-V", "Device.DeviceInfo.X_ULMET_NetworkStatistics"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_GT(result.output.size(), 300U);
    EXPECT_EQ(result.output.find('\n'), result.output.size() - 1);
}

TEST(CommandGet, EndsWithThreeWhenItCannotWrite) {
    TGateway gateway;
    auto result = support::RunProgram(
        {"/bin/sh", "-c", std::string(ZELTO_COMMAND_PATH) + " get " + SSID_1 + " > /dev/full"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("cannot write"));
}

TEST(CommandMap, PrintsBothNamesOfEachInterface) {
    TGateway gateway;
    auto result = RunCommand({"map"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, MatchesRegex("(Device\\.Ethernet\\.Interface\\.[0-9]+="
                                            "Device\\.Ethernet\\.Interface\\.[0-9]+\n)+"));
}

TEST(CommandDel, DeletesWhatAddMade) {
    TGateway gateway;
    ASSERT_EQ(RunCommand({"add", "Device.NAT.PortMapping."}).output, "Device.NAT.PortMapping.1.\n");
    EXPECT_EQ(RunCommand({"del", "Device.NAT.PortMapping.1"}).exitCode, 0);
    EXPECT_EQ(RunCommand({"get", "Device.NAT.PortMapping.1.Enable"}).exitCode, 1);
}

TEST(CommandFailure, IsFourWithoutAManager) {
    auto result = RunCommand({"get", SSID_1});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.errors, "zelto: get Device.WiFi.SSID.1.SSID: there is no manager on the bus\n");
}

TEST(CommandFailure, IsThreeWithoutABus) {
    for (const char* verb : {"get", "watch"}) {
        std::vector<std::string> arguments = {"--bus", "unix:path=/nonexistent/bus", verb};
        if (std::string(verb) == "get") {
            arguments.push_back(SSID_1);
        }
        auto result = RunCommand(arguments);
        EXPECT_EQ(result.exitCode, 3) << verb;
        EXPECT_EQ(result.output, "") << verb;
        EXPECT_THAT(result.errors, HasSubstr("/nonexistent/bus")) << verb;
    }
}

TEST(CommandFailure, IsFiveWhenTheManagerDoesNotAnswer) {
    TRawPeer silent(TBusEnvironment::Bus().Address());
    ASSERT_NE(silent.OwnName(e2e::MANAGER_NAME), 0U);
    auto result = RunCommand({"-t", "1", "get", SSID_1});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_EQ(result.errors, "zelto: get Device.WiFi.SSID.1.SSID: no answer within 1 s\n");
}

TEST(CommandFailure, IsFourWhenTheManagerDiesInTheMiddle) {
    auto manager = std::make_unique<TRawPeer>(TBusEnvironment::Bus().Address());
    ASSERT_NE(manager->OwnName(e2e::MANAGER_NAME), 0U);
    TChildProcess command({ZELTO_COMMAND_PATH, "get", SSID_1});
    ASSERT_TRUE(manager->WaitFor([](const auto& message) { return message.member == "GET_PARAM"; }));
    manager.reset();
    EXPECT_EQ(command.WaitForExit(), 4) << command.Errors();
}

TEST(CommandVerbose, ShowsTheLibrarysLog) {
    TGateway gateway;
    EXPECT_EQ(RunCommand({"get", SSID_1}).errors, "");
    EXPECT_NE(RunCommand({"-v", "get", SSID_1}).errors, "");
}
