// get and set: what they print and how they end.

#include "cli/Golden.h"
#include "e2e/Programs.h"

using cli::BothWays;
using cli::RunZelto;
using cli::TGolden;
using e2e::TGateway;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";
const std::string SSID_2 = "Device.WiFi.SSID.2.SSID";
const std::string ENABLE_1 = "Device.WiFi.SSID.1.Enable";
const std::string ALL_SSIDS = "Device.WiFi.SSID.*.SSID";
const std::string REFUSED = ": refused by the manager\n";

const std::string JSON_1 = R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "Ulmet"})";
const std::string JSON_2 = R"({"NAME": "Device.WiFi.SSID.2.SSID", "VALUE": "Ulmet-Guest"})";

std::string SetRecord(const std::string& commit, const std::string& value, const std::string& name) {
    return R"({"COMMIT": )" + commit + R"(, "VALUE": ")" + value + R"(", "NAME": ")" + name + "\"}";
}

} // namespace

class GoldenGet : public testing::TestWithParam<TGolden> {};
TEST_P(GoldenGet, IsAsDocumented) {
    cli::ExpectGolden(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Get, GoldenGet,
    testing::Values(
        TGolden{"One", {"get", SSID_1}, 0, SSID_1 + "=Ulmet\n", ""},
        TGolden{"OptionsBehindTheVerb", {"get", SSID_1, "-J", "-t", "5"}, 0, JSON_1 + "\n", ""},
        TGolden{"Several", {"get", SSID_2, SSID_1}, 0, SSID_2 + "=Ulmet-Guest\n" + SSID_1 + "=Ulmet\n", ""},
        TGolden{"Values", {"get", "-V", ALL_SSIDS, ENABLE_1}, 0, "Ulmet\nUlmet-Guest\ntrue\n", ""},
        TGolden{"Document",
                {"-j", "get", ALL_SSIDS},
                0,
                "{\"PARAMS\": [\n" + JSON_1 + ",\n" + JSON_2 + "\n]}\n",
                ""},
        TGolden{"Lines", {"-J", "get", ALL_SSIDS}, 0, JSON_1 + "\n" + JSON_2 + "\n", ""},
        TGolden{"Quiet", {"-q", "get", SSID_1}, 0, "", ""},
        TGolden{"QuietRefusal", {"-q", "get", "Device.X"}, 1, "", ""},
        TGolden{"Refused", {"get", "Device.X"}, 1, "", "zelto: get Device.X" + REFUSED},
        TGolden{"RefusedAsDocument", {"-j", "get", "Device.X"}, 1, "", "zelto: get Device.X" + REFUSED},
        TGolden{"AllRefused",
                {"get", "Device.X", "Device.Y"},
                1,
                "",
                "zelto: get Device.X" + REFUSED + "zelto: get Device.Y" + REFUSED},
        TGolden{"SomeRefused",
                {"get", "Device.X", SSID_1},
                7,
                SSID_1 + "=Ulmet\n",
                "zelto: get Device.X" + REFUSED},
        TGolden{"SomeRefusedAsDocument",
                {"-j", "get", "Device.X", SSID_1},
                7,
                "{\"PARAMS\": [\n" + JSON_1 + "\n]}\n",
                "zelto: get Device.X" + REFUSED},
        TGolden{"NothingMatches",
                {"get", "Device.NAT.PortMapping.*.Enable"},
                6,
                "",
                "zelto: get Device.NAT.PortMapping.*.Enable: nothing matches\n"},
        TGolden{"SomeMatch",
                {"get", "Device.NAT.PortMapping.*.Enable", SSID_1},
                7,
                SSID_1 + "=Ulmet\n",
                "zelto: get Device.NAT.PortMapping.*.Enable: nothing matches\n"},
        TGolden{"NothingMatchesOrIsThere",
                {"get", "Device.NAT.PortMapping.*.Enable", "Device.X"},
                1,
                "",
                "zelto: get Device.NAT.PortMapping.*.Enable: nothing matches\nzelto: get Device.X" + REFUSED},
        TGolden{"Long", {"get", "--long", SSID_1}, 0, "Ulmet", ""},
        TGolden{"LongAsJson", {"-J", "get", "--long", SSID_1}, 0, JSON_1 + "\n", ""},
        TGolden{"LongQuiet", {"-q", "get", "--long", SSID_1}, 0, "", ""},
        TGolden{"LongRefused", {"get", "--long", "Device.X"}, 1, "", "zelto: get Device.X" + REFUSED},
        TGolden{"LongOfSeveral",
                {"get", "--long", SSID_1, SSID_2},
                2,
                "",
                "zelto: get: --long reads one parameter\n"}),
    cli::TitleOf);

class GoldenSet : public testing::TestWithParam<TGolden> {};
TEST_P(GoldenSet, IsAsDocumented) {
    cli::ExpectGolden(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Set, GoldenSet,
    testing::Values(
        TGolden{"One", {"set", SSID_1 + "=Home"}, 0, "", ""},
        TGolden{"OneAsJson",
                {"-J", "set", "-c", SSID_1 + "=Home"},
                0,
                SetRecord("true", "Home", SSID_1) + "\n",
                ""},
        TGolden{"SeveralAsDocument",
                {"-j", "set", SSID_1 + "=a=b", SSID_2 + "=Two"},
                0,
                "{\"PARAMS\": [\n" + SetRecord("false", "a=b", SSID_1) + ",\n" +
                    SetRecord("false", "Two", SSID_2) + "\n]}\n",
                ""},
        TGolden{"Refused", {"set", ENABLE_1 + "=perhaps"}, 1, "", "zelto: set " + ENABLE_1 + REFUSED},
        TGolden{"FirstRefused",
                {"set", ENABLE_1 + "=perhaps", SSID_1 + "=Home"},
                1,
                "",
                "zelto: set " + ENABLE_1 + REFUSED + "zelto: set " + SSID_1 + ": not tried\n"},
        TGolden{"SomeRefused",
                {"-J", "set", SSID_1 + "=Home", ENABLE_1 + "=perhaps", SSID_2 + "=Two"},
                7,
                SetRecord("false", "Home", SSID_1) + "\n",
                "zelto: set " + SSID_1 + ": done\nzelto: set " + ENABLE_1 + REFUSED + "zelto: set " + SSID_2 +
                    ": not tried\n"},
        TGolden{"NothingMatches",
                {"set", "Device.NAT.PortMapping.*.Enable=true"},
                6,
                "",
                "zelto: set Device.NAT.PortMapping.*.Enable: nothing matches\n"},
        TGolden{
            "Long", {"-J", "set", "--long", SSID_1 + "=L"}, 0, SetRecord("false", "L", SSID_1) + "\n", ""},
        TGolden{"DryRun",
                {"set", "--dry-run", ALL_SSIDS + "=x"},
                0,
                SSID_1 + ": Ulmet -> x\n" + SSID_2 + ": Ulmet-Guest -> x\n",
                ""},
        TGolden{"DryRunAsJson",
                {"-J", "set", "--dry-run", SSID_1 + "=x"},
                0,
                R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "x", "OLD_VALUE": "Ulmet"})"
                "\n",
                ""},
        TGolden{"DryRunOfUnknown",
                {"set", "--dry-run", SSID_1 + "=x", "Device.X=1"},
                7,
                SSID_1 + ": Ulmet -> x\n",
                "zelto: set Device.X" + REFUSED},
        TGolden{"RollBack",
                {"-J", "set", "--rollback", SSID_1 + "=x", ENABLE_1 + "=perhaps"},
                1,
                "",
                "zelto: set " + ENABLE_1 + REFUSED + "zelto: set: everything is as it was\n"},
        TGolden{"RollBackUnneeded", {"set", "--rollback", SSID_1 + "=x", SSID_2 + "=y"}, 0, "", ""},
        TGolden{"RollBackOfUnknown",
                {"set", "--rollback", SSID_1 + "=x", "Device.X=1"},
                1,
                "",
                "zelto: set Device.X" + REFUSED + "zelto: set: nothing is changed\n"}),
    cli::TitleOf);

TEST(Set, WritesNothingInADryRun) {
    TGateway gateway;
    ASSERT_EQ(RunZelto({"set", "--dry-run", SSID_1 + "=x"}).exitCode, 0);
    EXPECT_EQ(gateway.Get(SSID_1), "Ulmet");
}

TEST(Set, RollsBackAllThatWasWritten) {
    TGateway gateway;
    ASSERT_EQ(RunZelto({"set", "--rollback", ALL_SSIDS + "=x", ENABLE_1 + "=perhaps"}).exitCode, 1);
    EXPECT_EQ(gateway.Get(SSID_1), "Ulmet");
    EXPECT_EQ(gateway.Get(SSID_2), "Ulmet-Guest");
}

TEST(Set, WritesUpToTheOneThatIsRefused) {
    TGateway gateway;
    ASSERT_EQ(RunZelto({"set", SSID_1 + "=x", ENABLE_1 + "=perhaps", SSID_2 + "=y"}).exitCode, 7);
    EXPECT_EQ(gateway.Get(SSID_1), "x");
    EXPECT_EQ(gateway.Get(SSID_2), "Ulmet-Guest");
}

TEST(Set, TakesValuesFromFilesAndStandardInput) {
    TGateway gateway;
    support::TTempDir directory;
    const std::string file = directory.Write("value", "from a file");
    const auto result = RunZelto({"set", SSID_1 + "=@" + file, SSID_2 + "=-"}, false, "from input");
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(gateway.Get(SSID_1), "from a file");
    EXPECT_EQ(gateway.Get(SSID_2), "from input");
}

TEST(Set, TakesLinesAsGetPrintsThem) {
    TGateway gateway;
    const std::string odd = "@\\ a\tb\nc\x01\x7f\xc2\x9b \"'=\xc3\xa4";
    ASSERT_EQ(RunZelto({"set", SSID_1 + "=x", SSID_2 + "=-"}, false, odd).exitCode, 0);
    const auto printed = RunZelto({"get", ALL_SSIDS});
    EXPECT_EQ(printed.output,
              SSID_1 + "=x\n" + SSID_2 + "=@\\\\ a\\tb\\nc\\001\\177\\302\\233 \"'=\xc3\xa4\n");
    ASSERT_EQ(RunZelto({"set", SSID_1 + "=other", SSID_2 + "=other"}).exitCode, 0);
    const auto result = RunZelto({"set", "-f", "-"}, false, "\n" + printed.output + "\n");
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(RunZelto({"get", ALL_SSIDS}).output, printed.output);
    EXPECT_EQ(RunZelto({"get", "--long", SSID_2}).output, odd);
}

TEST(Set, LeavesTheModelAsItWasWhenItGetsWhatGetPrints) {
    TGateway gateway;
    const auto before = RunZelto({"get", ALL_SSIDS}).output;
    const auto result = cli::RunShell("zelto get 'Device.WiFi.SSID.*.SSID' | zelto set -f -");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output + result.errors, "");
    EXPECT_EQ(RunZelto({"get", ALL_SSIDS}).output, before);
}

TEST(Get, WritesALongValueToAFile) {
    TGateway gateway;
    support::TTempDir directory;
    const std::string name = "Device.DeviceInfo.SoftwareVersion";
    const auto result = RunZelto({"get", "--long", name, "-o", directory.File("value")});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(directory.Read("value"), gateway.Get(name));
}

TEST(Get, TellsInJsonWhatItWroteToAFile) {
    TGateway gateway;
    support::TTempDir directory;
    const auto result = RunZelto({"-J", "get", "--long", SSID_1, "-o", directory.File("value")});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "{\"NAME\": \"" + SSID_1 + "\", \"SIZE\": 5}\n");
    EXPECT_EQ(directory.Read("value"), "Ulmet");
}
