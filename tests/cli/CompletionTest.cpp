// Completion: what the command offers, and what bash makes of it.

#include "cli/Golden.h"
#include "cli/Parties.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

using cli::RunZelto;
using cli::TLine;
using e2e::TGateway;
using testing::HasSubstr;

namespace {

struct TOffer {
    const char* title;
    TLine words;
    const char* offered;
};

// What bash offers for a line whose words are given, with a history.
std::string OffersOfBash(const TLine& words, const std::string& history = "") {
    std::string line =
        "PATH=" + std::string(ZELTO_COMMAND_PATH) + "/..:$PATH; compopt() { echo \"$1 $2\"; }; ";
    line += "set -o history; " + std::string(history.empty() ? "" : "history -s '" + history + "'; ");
    line += std::string("source ") + COMPLETION_PATH + "; COMP_WORDS=(" + ZELTO_COMMAND_PATH;
    for (const std::string& word : words) {
        line += " '" + word + "'";
    }
    line += "); COMP_CWORD=" + std::to_string(words.size()) + "; _zelto; printf '%s\\n' \"${COMPREPLY[@]}\"";
    const auto result = support::RunProgram({"bash", "--norc", "-c", line});
    EXPECT_EQ(result.errors, "");
    return result.output;
}

} // namespace

class Completion : public testing::TestWithParam<TOffer> {};
TEST_P(Completion, OffersWhatMayFollow) {
    TGateway gateway;
    TLine line = {"complete", "--"};
    line.insert(line.end(), GetParam().words.begin(), GetParam().words.end());
    const auto result = RunZelto(line);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, GetParam().offered);
    EXPECT_EQ(result.errors, "");
}

INSTANTIATE_TEST_SUITE_P(
    Lines, Completion,
    testing::Values(
        TOffer{"Verbs", {"se"}, "set\nsetobj\n"}, TOffer{"VerbsBehindAnOption", {"-t", "5", "pi"}, "ping\n"},
        TOffer{"NoSuchVerb", {"frob"}, ""}, TOffer{"HidesItself", {"comp"}, ""},
        TOffer{"Options",
               {"set", "--"},
               "--as\n--bus\n--commit\n--dry-run\n--file\n--help\n--json\n--json-lines\n--long\n--quiet\n--"
               "rollback\n"
               "--timeout\n--verbose\n--version\n"},
        TOffer{"OptionsOfNoVerb", {"--j"}, "--json\n--json-lines\n"},
        TOffer{"Identities", {"ping", ""}, "ZELTO_DISPATCHER\n"},
        TOffer{"IdentityOfAnOption", {"--as", "Z"}, "ZELTO_DISPATCHER\n"},
        TOffer{"NothingForANumber", {"-t", ""}, ""},
        TOffer{"Instances", {"get", "Device.WiFi.SSID."}, "Device.WiFi.SSID.1.\nDevice.WiFi.SSID.2.\n"},
        TOffer{"BehindAFlag", {"get", "-V", "Device.WiFi.SSID.2"}, "Device.WiFi.SSID.2.\n"},
        TOffer{"Tables", {"ls", "Device.Eth"}, "Device.Ethernet.Interface.\n"},
        TOffer{"NoInstances", {"get", "Device.X."}, ""},
        TOffer{"VerbsOfAPeer", {"remote", "::1", ""}, "file\nget\nset\n"},
        TOffer{"NothingForAVerbWithoutArguments", {"apps", ""}, ""}),
    [](const auto& tested) { return tested.param.title; });

TEST(CompletionWithoutBus, OffersWhatNeedsNone) {
    EXPECT_EQ(RunZelto({"complete", "--", "--bus", "nonsense", "ping", ""}).output, "");
    EXPECT_EQ(RunZelto({"complete", "--", "--bus", "nonsense", "get", "D"}).output, "Device.\n");
    EXPECT_EQ(RunZelto({"complete", "--"}).exitCode, 0);
}

TEST(CompletionOfNoText, EndsAsARequestDoes) {
    TGateway gateway;
    const auto result = RunZelto({"complete", "--", "get", "Device.\xff."});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: cannot be sent, since it is not UTF-8: Device.\xff.\n");
}

TEST(CompletionOfBash, OffersWhatTheCommandOffers) {
    TGateway gateway;
    EXPECT_EQ(OffersOfBash({"se"}), "set\nsetobj\n");
    EXPECT_EQ(OffersOfBash({"ping", ""}), "ZELTO_DISPATCHER\n");
}

TEST(CompletionOfBash, LeavesTheWordOpenWhereItGoesOn) {
    TGateway gateway;
    EXPECT_EQ(OffersOfBash({"get", "Device.WiFi.SSID.2"}), "-o nospace\nDevice.WiFi.SSID.2.\n");
}

TEST(CompletionOfBash, OffersPathsOfItsHistory) {
    TGateway gateway;
    EXPECT_EQ(OffersOfBash({"get", "Device.WiFi.Ra"}, "zelto set Device.WiFi.Radio.1.Channel=6"),
              "Device.WiFi.Radio.1.Channel\n");
}

TEST(CompletionOfBash, OffersNoValues) {
    TGateway gateway;
    EXPECT_EQ(OffersOfBash({"set", "Device.WiFi.SSID.1.SSID", "=", "D"}), "\n");
}
