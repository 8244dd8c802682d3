// add, del, ls, getobj, setobj, map, call and emit: what they print and how they end.

#include "cli/Golden.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

using cli::RunZelto;
using cli::TGolden;
using e2e::TGateway;
using testing::MatchesRegex;

namespace {

const std::string MAPPINGS = "Device.NAT.PortMapping.";
const std::string MAPPING_1 = MAPPINGS + "1.";
const std::string SSID = "Device.WiFi.SSID.";
const std::string REFUSED = ": refused by the manager\n";

} // namespace

class GoldenObjects : public testing::TestWithParam<TGolden> {};
TEST_P(GoldenObjects, IsAsDocumented) {
    cli::ExpectGolden(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Instances, GoldenObjects,
    testing::Values(
        TGolden{"Add", {"add", MAPPINGS}, 0, MAPPING_1 + "\n", ""},
        TGolden{"AddWithoutDot", {"add", "Device.NAT.PortMapping"}, 0, MAPPING_1 + "\n", ""},
        TGolden{
            "AddAsDocument", {"-j", "add", MAPPINGS}, 0, "{\"OBJ\": \"" + MAPPINGS + "\", \"ID\": 1}\n", ""},
        TGolden{"AddRefused", {"add", SSID}, 1, "", "zelto: add " + SSID + REFUSED},
        TGolden{"DelRefused", {"del", MAPPING_1}, 1, "", "zelto: del " + MAPPING_1 + REFUSED},
        TGolden{"Ls", {"ls", SSID}, 0, SSID + "1.\n" + SSID + "2.\n", ""},
        TGolden{"LsValues", {"ls", "-V", "Device.WiFi.SSID"}, 0, "1\n2\n", ""},
        TGolden{"LsLines",
                {"ls", "-J", SSID},
                0,
                R"({"OBJ": "Device.WiFi.SSID.1.", "ID": 1})"
                "\n"
                R"({"OBJ": "Device.WiFi.SSID.2.", "ID": 2})"
                "\n",
                ""},
        TGolden{"LsEmpty", {"ls", MAPPINGS}, 0, "", ""},
        TGolden{"LsEmptyAsDocument", {"-j", "ls", MAPPINGS}, 0, "{\"INSTANCES\": []}\n", ""},
        TGolden{"LsRefused", {"ls", "Device.X"}, 1, "", "zelto: ls Device.X." + REFUSED}),
    cli::TitleOf);

INSTANTIATE_TEST_SUITE_P(
    WholeObjects, GoldenObjects,
    testing::Values(
        TGolden{"Get",
                {"getobj", SSID + "1.", "SSID", SSID + "1.Enable"},
                0,
                SSID + "1.SSID=Ulmet\n" + SSID + "1.Enable=true\n",
                ""},
        TGolden{"GetValues", {"getobj", SSID + "1", "-V", "SSID"}, 0, "Ulmet\n", ""},
        TGolden{"GetAsDocument",
                {"-j", "getobj", SSID + "1.", "Enable"},
                0,
                R"({"PARAMS": [
{"NAME": "Device.WiFi.SSID.1.Enable", "VALUE": "true"}
]}
)",
                ""},
        TGolden{"GetRefused", {"getobj", SSID + "1.", "X"}, 1, "", "zelto: getobj " + SSID + "1." + REFUSED},
        TGolden{"Set", {"setobj", "-c", SSID + "1.", "SSID=x", "Enable=false"}, 0, "", ""},
        TGolden{"SetAsDocument",
                {"-j", "setobj", "-c", SSID + "1.", "SSID=x"},
                0,
                R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "x"}], )"
                R"("ROOT": "Device.WiFi.SSID.1.", "COMMIT": true})"
                "\n",
                ""},
        TGolden{"SetRefused",
                {"setobj", SSID + "1.", "SSID=x", "Enable=perhaps"},
                1,
                "",
                "zelto: setobj " + SSID + "1." + REFUSED}),
    cli::TitleOf);

INSTANTIATE_TEST_SUITE_P(
    Raw, GoldenObjects,
    testing::Values(
        TGolden{"Call",
                {"call", "GET_OBJECT_INSTANCES", R"({"OBJ": "Device.WiFi.SSID."})"},
                0,
                "{\"COUNT\": 2, \"IDS\": [1, 2]}\n",
                ""},
        TGolden{"CallAsDocument",
                {"-j", "call", "GET_OBJECT_INSTANCES", R"({"OBJ": "Device.WiFi.SSID."})"},
                0,
                R"({"METHOD": "GET_OBJECT_INSTANCES", "CODE": 0, "ANSWER": {"COUNT": 2, "IDS": [1, 2]}})"
                "\n",
                ""},
        TGolden{"CallRefused",
                {"call", "SING"},
                1,
                "",
                "zelto: call SING: refused by the manager with code -1\n"},
        TGolden{"CallRefusedAsDocument",
                {"-j", "call", "SING", "la"},
                1,
                R"({"METHOD": "SING", "CODE": -1, "ANSWER": ""})"
                "\n",
                "zelto: call SING: refused by the manager with code -1\n"},
        TGolden{"CallNobody",
                {"call", "IS_APP_ACTIVE", "--to", "NOBODY"},
                4,
                "",
                "zelto: call IS_APP_ACTIVE: there is no NOBODY on the bus\n"},
        TGolden{"Emit", {"emit", "LUNCH", "soup"}, 0, "", ""},
        TGolden{"EmitAsDocument",
                {"-j", "emit", "LUNCH", "soup"},
                0,
                R"({"EVENT": "LUNCH", "DATA": "soup"})"
                "\n",
                ""},
        TGolden{"MapPath", {"map", MAPPING_1}, 0, MAPPING_1 + "=" + MAPPING_1 + "\n", ""},
        TGolden{"MapPathAsDocument",
                {"-j", "map", "@" + MAPPING_1},
                0,
                R"({"APP_NAME": "Device.NAT.PortMapping.1.", "PLATFORM_NAME": "Device.NAT.PortMapping.1."})"
                "\n",
                ""}),
    cli::TitleOf);

TEST(Del, PrintsWhatItDeleted) {
    TGateway gateway;
    ASSERT_EQ(RunZelto({"add", MAPPINGS}).exitCode, 0);
    const auto result = RunZelto({"-j", "del", "Device.NAT.PortMapping.1"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "{\"OBJ\": \"" + MAPPING_1 + "\"}\n");
    EXPECT_EQ(RunZelto({"ls", MAPPINGS}).output, "");
}

TEST(Emit, SendsTheTextAsItIs) {
    TGateway gateway;
    ASSERT_EQ(RunZelto({"emit", "LUNCH", "{ soup"}).exitCode, 0);
    const auto event =
        gateway.Client().WaitFor([](const auto& message) { return message.member == "LUNCH"; });
    ASSERT_TRUE(event);
    EXPECT_EQ(event->Text(0), "{ soup");
}

// The first line of `zelto map`, as the names on both sides.
std::pair<std::string, std::string> FirstPair() {
    const std::string output = RunZelto({"map"}).output;
    const std::string line = output.substr(0, output.find('\n'));
    return {line.substr(0, line.find('=')), line.substr(line.find('=') + 1)};
}

TEST(Map, TranslatesANameEitherWay) {
    TGateway gateway;
    const auto [application, platform] = FirstPair();
    ASSERT_THAT(platform, MatchesRegex("Device\\.Ethernet\\.Interface\\.[0-9]+"));
    const std::string line = application + ".Name=" + platform + ".Name\n";
    EXPECT_EQ(RunZelto({"map", application + ".Name"}).output, line);
    EXPECT_EQ(RunZelto({"map", "@" + platform + ".Name"}).output, line);
}

TEST(Map, KeepsTheMarkOfANameThatApplicationsHaveNoNumberFor) {
    TGateway gateway;
    EXPECT_EQ(RunZelto({"map", "@Device.Ethernet.Interface.999999.Name"}).output,
              "@Device.Ethernet.Interface.999999.Name=Device.Ethernet.Interface.999999.Name\n");
}

TEST(Ls, PrintsNamesThatGetTakes) {
    TGateway gateway;
    const std::string output = RunZelto({"ls", "Device.Ethernet.Interface"}).output;
    const std::string first = output.substr(0, output.find('\n'));
    ASSERT_NE(first, "");
    EXPECT_EQ(RunZelto({"get", first + "Name"}).exitCode, 0) << first;
    EXPECT_EQ(first, FirstPair().first + ".");
}
