// apps, ping and wait: what they print and how they end.

#include "cli/Golden.h"
#include "cli/Parties.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

#include <csignal>

using cli::BothWays;
using cli::LineOfParty;
using cli::RunZelto;
using cli::TApplication;
using cli::TGolden;
using e2e::TGateway;
using support::TBusEnvironment;
using support::TChildProcess;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

const char NO_BUS[] = "unix:path=/nonexistent/bus";

} // namespace

class GoldenParties : public testing::TestWithParam<TGolden> {};
TEST_P(GoldenParties, IsAsDocumented) {
    cli::ExpectGolden(GetParam());
}

const std::string USAGE_END = " (--help tells more)\n";
const std::string SURPLUS = "zelto: The following argument was not expected: x" + USAGE_END;

INSTANTIATE_TEST_SUITE_P(
    WrongLines, GoldenParties,
    testing::Values(TGolden{"AppsSurplus", {"apps", "x"}, 2, "", SURPLUS},
                    TGolden{"PingNobody", {"ping"}, 2, "", "zelto: ID is required" + USAGE_END},
                    TGolden{"PingSurplus", {"ping", "A", "x"}, 2, "", SURPLUS},
                    TGolden{"WaitNobody", {"wait"}, 2, "", "zelto: ID is required" + USAGE_END},
                    TGolden{"WaitSurplus", {"wait", "A", "x"}, 2, "", SURPLUS}),
    cli::TitleOf);

INSTANTIATE_TEST_SUITE_P(
    Absent, GoldenParties,
    testing::Values(
        TGolden{"Ping", {"ping", "NOBODY"}, 4, "", "zelto: ping NOBODY: there is no NOBODY on the bus\n"},
        TGolden{"PingAsDocument",
                {"ping", "-j", "NOBODY"},
                4,
                "",
                "zelto: ping NOBODY: there is no NOBODY on the bus\n"},
        TGolden{"PingQuiet", {"ping", "-q", "NOBODY"}, 4, "", ""},
        TGolden{
            "Wait", {"wait", "NOBODY", "-t", "1"}, 5, "", "zelto: wait NOBODY: not on the bus within 1 s\n"}),
    cli::TitleOf);

TEST(PartyVerbs, RefuseWhatIsNoIdentity) {
    for (const std::string verb : {"ping", "wait"}) {
        for (const std::string identity : {"", "A-B", "A.B", "1A", "my app", "\xff"}) {
            const auto result = RunZelto({verb, identity});
            EXPECT_EQ(result.exitCode, 2) << verb << " " << identity;
            EXPECT_THAT(result.errors, StartsWith("zelto: "));
        }
        EXPECT_EQ(RunZelto({verb, std::string(300, 'A')}).exitCode, 2) << verb;
    }
}

TEST(PartyVerbs, NeedABus) {
    BothWays([](bool isOnTerminal) {
        for (const cli::TLine& line :
             {cli::TLine{"apps"}, cli::TLine{"ping", "A"}, cli::TLine{"wait", "A"}}) {
            cli::TLine arguments = {"--bus", NO_BUS};
            arguments.insert(arguments.end(), line.begin(), line.end());
            const auto result = RunZelto(arguments, isOnTerminal);
            EXPECT_EQ(result.exitCode, 3);
            EXPECT_EQ(result.output, "");
            EXPECT_THAT(result.errors, HasSubstr("/nonexistent/bus"));
        }
    });
}

TEST(CommandApps, PrintsWhoIsOnTheBus) {
    BothWays([](bool isOnTerminal) {
        TGateway gateway;
        TApplication kesta("ZELTO_KESTA");
        const auto result = RunZelto({"apps"}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.output, LineOfParty(gateway.Client(), "ZELTO_DISPATCHER") + "\n" +
                                     LineOfParty(gateway.Client(), "ZELTO_KESTA") + "\n");
        EXPECT_EQ(result.errors, "");
    });
}

TEST(CommandApps, PrintsTheSameWithKeys) {
    BothWays([](bool isOnTerminal) {
        TGateway gateway;
        const auto lines = RunZelto({"apps", "-J"}, isOnTerminal);
        EXPECT_THAT(lines.output, MatchesRegex("\\{\"IDENTITY\": \"ZELTO_DISPATCHER\", \"PID\": [0-9]+, "
                                               "\"USER\": \"[^\"]+\", \"UNIQUE_NAME\": \":1\\.[0-9]+\", "
                                               "\"PROCESS\": \"zelto-gateway\"\\}\n"));
        const auto document = RunZelto({"apps", "-j"}, isOnTerminal);
        EXPECT_EQ(document.output, "{\"APPS\": [\n" + lines.output + "]}\n");
    });
}

TEST(CommandApps, PrintsNothingWhenNobodyIsThere) {
    EXPECT_EQ(RunZelto({"apps"}).output, "");
    EXPECT_EQ(RunZelto({"apps", "-j"}).output, "{\"APPS\": []}\n");
    EXPECT_EQ(RunZelto({"apps"}).exitCode, 0);
}

TEST(CommandApps, TellsThatItCannotWrite) {
    TGateway gateway;
    const auto result = cli::RunShell("zelto apps >/dev/full");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: cannot write to standard output: No space left on device\n");
}

TEST(CommandPing, TellsThatAPartyIsActive) {
    BothWays([](bool isOnTerminal) {
        TGateway gateway;
        TApplication kesta("ZELTO_KESTA");
        for (const std::string identity : {"ZELTO_DISPATCHER", "ZELTO_KESTA"}) {
            const auto result = RunZelto({"ping", identity}, isOnTerminal);
            EXPECT_EQ(result.exitCode, 0);
            EXPECT_THAT(result.output, MatchesRegex(identity + " is active: [0-9]+\\.[0-9]{3} ms\n"));
            EXPECT_EQ(result.errors, "");
        }
    });
}

TEST(CommandPing, TellsTheSameWithKeys) {
    TGateway gateway;
    for (const std::string format : {"-j", "-J"}) {
        EXPECT_THAT(RunZelto({"ping", format, "ZELTO_DISPATCHER"}).output,
                    MatchesRegex("\\{\"IDENTITY\": \"ZELTO_DISPATCHER\", \"ACTIVE\": true, "
                                 "\"MS\": [0-9.e-]+\\}\n"));
    }
}

TEST(CommandPing, AsksAsApplicationsDo) {
    TApplication kesta("ZELTO_KESTA");
    ASSERT_EQ(RunZelto({"ping", "ZELTO_KESTA"}).exitCode, 0);
    const auto calls = kesta.Calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].member, "IS_APP_ACTIVE");
}

TEST(CommandPing, TellsThatAPartyRefuses) {
    BothWays([](bool isOnTerminal) {
        TApplication kesta("ZELTO_KESTA", -1);
        const auto result = RunZelto({"ping", "ZELTO_KESTA"}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, "zelto: ping ZELTO_KESTA: refused by ZELTO_KESTA\n");
    });
}

TEST(CommandPing, TellsThatAPartyIsSilent) {
    TApplication kesta("ZELTO_KESTA", TApplication::SILENT);
    const auto result = RunZelto({"ping", "-t", "1", "ZELTO_KESTA"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_EQ(result.errors, "zelto: ping ZELTO_KESTA: no answer within 1 s\n");
}

TEST(CommandPing, TellsThatAPartyLeftBeforeItAnswered) {
    auto kesta = std::make_unique<TApplication>("ZELTO_KESTA", TApplication::SILENT);
    TChildProcess ping({ZELTO_COMMAND_PATH, "ping", "ZELTO_KESTA"});
    ASSERT_TRUE(kesta->WaitForCall("IS_APP_ACTIVE"));
    kesta.reset();
    EXPECT_EQ(ping.WaitForExit(), 4);
    EXPECT_EQ(ping.Errors(), "zelto: ping ZELTO_KESTA: there is no ZELTO_KESTA on the bus\n");
}

TEST(CommandWait, PrintsWhoIsThereAlready) {
    BothWays([](bool isOnTerminal) {
        TGateway gateway;
        const auto result = RunZelto({"wait", "ZELTO_DISPATCHER"}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.output, LineOfParty(gateway.Client(), "ZELTO_DISPATCHER") + "\n");
        EXPECT_EQ(result.errors, "");
        for (const std::string format : {"-j", "-J"}) {
            EXPECT_THAT(RunZelto({"wait", format, "ZELTO_DISPATCHER"}).output,
                        MatchesRegex("\\{\"IDENTITY\": \"ZELTO_DISPATCHER\", \"PID\": .*\\}\n"));
        }
    });
}

TEST(CommandWait, EndsWhenThePartyComes) {
    cli::TBusView view(TBusEnvironment::Bus().Address());
    TChildProcess wait({ZELTO_COMMAND_PATH, "wait", "ZELTO_KESTA"});
    ASSERT_TRUE(view.WaitForMatch("com.Ulmet.Zelto.ZELTO_KESTA"));
    EXPECT_TRUE(wait.IsRunning());
    TApplication kesta("ZELTO_KESTA");
    EXPECT_EQ(wait.WaitForExit(), 0) << wait.Errors();
    EXPECT_EQ(wait.Output(), LineOfParty(kesta.Peer(), "ZELTO_KESTA") + "\n");
}

TEST(CommandWait, EndsWithTheCodeOfTheSignal) {
    for (const int number : {SIGINT, SIGTERM}) {
        cli::TBusView view(TBusEnvironment::Bus().Address());
        TChildProcess wait({ZELTO_COMMAND_PATH, "wait", "ZELTO_KESTA"});
        ASSERT_TRUE(view.WaitForMatch("com.Ulmet.Zelto.ZELTO_KESTA"));
        wait.Signal(number);
        EXPECT_EQ(wait.WaitForExit(), 128 + number);
    }
}

TEST(CommandWait, EndsWhenTheBusGoes) {
    cli::TBusView view(TBusEnvironment::Bus().Address());
    TChildProcess wait({ZELTO_COMMAND_PATH, "wait", "ZELTO_KESTA"});
    ASSERT_TRUE(view.WaitForMatch("com.Ulmet.Zelto.ZELTO_KESTA"));
    TBusEnvironment::Bus().Kill();
    EXPECT_EQ(wait.WaitForExit(), 3);
    EXPECT_EQ(wait.Errors(), "zelto: wait ZELTO_KESTA: the bus has gone\n");
    TBusEnvironment::Bus().Restart(); // for the tests that follow
}

TEST(CommandWait, TellsOfALongWaitOnATerminalOnly) {
    const std::string end = "zelto: wait NOBODY: not on the bus within 3 s\n";
    EXPECT_EQ(RunZelto({"wait", "NOBODY", "-t", "3"}, false).errors, end);
    EXPECT_EQ(RunZelto({"wait", "NOBODY", "-t", "3"}, true).errors,
              "zelto: wait NOBODY: at most 3 s\n" + end);
}
