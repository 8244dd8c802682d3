// sh without a terminal: lines from standard input.

#include "cli/Golden.h"
#include "cli/Parties.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

#include <csignal>

using cli::BothWays;
using cli::RunZelto;
using e2e::TGateway;
using support::TBusEnvironment;
using support::TChildProcess;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";
const std::string GET_1 = "get -V " + SSID_1 + "\n";
const std::string REFUSED = "zelto: get Device.X: refused by the manager\n";
const std::string NOT_CLOSED = "zelto: sh: a quote is not closed: ";

struct TInput {
    const char* title;
    std::string input;
    int exitCode;
    std::string output;
    std::string errors;
};

} // namespace

class Shell : public testing::TestWithParam<TInput> {};
TEST_P(Shell, RunsLines) {
    BothWays([](bool isOnTerminal) {
        TGateway gateway;
        const auto result = RunZelto({"sh"}, isOnTerminal, GetParam().input);
        EXPECT_EQ(result.exitCode, GetParam().exitCode);
        EXPECT_EQ(result.output, GetParam().output);
        EXPECT_EQ(result.errors, GetParam().errors);
    });
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, Shell,
    testing::Values(
        TInput{"Nothing", "", 0, "", ""}, TInput{"EmptyLines", "\n  \n\t\n", 0, "", ""},
        TInput{"Comments", "# get Device.X\n" + GET_1, 0, "Ulmet\n", ""},
        TInput{"CommentBehind", "get -V " + SSID_1 + " # the first\n", 0, "Ulmet\n", ""},
        TInput{"Several", GET_1 + "ls Device.WiFi.SSID.\n", 0,
               "Ulmet\nDevice.WiFi.SSID.1.\nDevice.WiFi.SSID.2.\n", ""},
        TInput{"LastLineWithoutEnd", "get -V " + SSID_1, 0, "Ulmet\n", ""},
        TInput{"FailureInTheMiddle", "get Device.X\n" + GET_1, 0, "Ulmet\n", REFUSED},
        TInput{"FailureAtTheEnd", GET_1 + "get Device.X\n\n# end\n", 1, "Ulmet\n", REFUSED},
        TInput{"WrongLine", "get\n" + GET_1, 0, "Ulmet\n", "zelto: PATH is required (--help tells more)\n"},
        TInput{"Exit", "get Device.X\nexit\n" + GET_1, 1, "", REFUSED},
        TInput{"Quit", "quit\n" + GET_1, 0, "", ""},
        TInput{"SingleQuotes", "set '" + SSID_1 + "=a \"b\\'\n" + GET_1, 0, "a \"b\\\\\n", ""},
        TInput{"DoubleQuotes", "set \"" + SSID_1 + "=a 'b\\\" \\\\ \\n\"\n" + GET_1, 0, "a 'b\" \\\\ \\\\n\n",
               ""},
        TInput{"QuotesInside", "set " + SSID_1 + "=a' 'b\n" + GET_1, 0, "a b\n", ""},
        TInput{"Backslash", "set " + SSID_1 + "=a\\ b\\#c#d\n" + GET_1, 0, "a b#c#d\n", ""},
        TInput{"EmptyWord", "set " + SSID_1 + "= ''\n", 2, "", "zelto: set: not of the form PATH=VALUE: \n"},
        TInput{"OpenQuote", "get 'a\n", 2, "", NOT_CLOSED + "get 'a\n"},
        TInput{"OpenDoubleQuote", "get \"a\\\"\n" + GET_1, 0, "Ulmet\n", NOT_CLOSED + "get \"a\\\\\"\n"},
        TInput{"FlagsOfALineAreForgotten", GET_1 + "get " + SSID_1 + "\n", 0,
               "Ulmet\nDevice.WiFi.SSID.1.SSID=Ulmet\n", ""},
        TInput{"BusOfALineIsForgotten", "--bus nonsense -q ping ZELTO_DISPATCHER\n" + GET_1, 0, "Ulmet\n",
               ""},
        TInput{"VerbThatReadsOn", "set " + SSID_1 + "=-\nHome", 0, "", ""},
        TInput{"LinesForAVerb", "set -f -\n" + SSID_1 + "=Home\nDevice.WiFi.SSID.1.Enable=false\n", 0, "",
               ""},
        TInput{"Nested", "sh\n" + GET_1, 0, "Ulmet\n", ""}),
    [](const auto& tested) { return tested.param.title; });

TEST(CommandShell, LeavesWhatFollowsToTheVerb) {
    TGateway gateway;
    ASSERT_EQ(RunZelto({"sh"}, false, "set " + SSID_1 + "=-\nget Device.X").exitCode, 0);
    EXPECT_EQ(gateway.Get(SSID_1), "get Device.X");
}

TEST(CommandShell, HandsItsOptionsToTheLines) {
    TGateway gateway;
    const std::string line = "{\"OBJ\": \"Device.WiFi.SSID.1.\", \"ID\": 1}\n"
                             "{\"OBJ\": \"Device.WiFi.SSID.2.\", \"ID\": 2}\n";
    EXPECT_EQ(RunZelto({"-J", "sh"}, false, "ls Device.WiFi.SSID.\n").output, line);
    EXPECT_EQ(RunZelto({"--bus", "nonsense", "sh"}, false, GET_1).exitCode, 3);
    const auto quiet = RunZelto({"-q", "sh"}, false, "get Device.X\n");
    EXPECT_EQ(quiet.exitCode, 1);
    EXPECT_EQ(quiet.errors, "");
}

TEST(CommandShell, GivesEachLineTheIdentity) {
    TGateway gateway;
    const auto result = RunZelto({"--as", "ZELTO_KESTA", "sh"}, false, "apps\napps\n");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, testing::MatchesRegex("(ZELTO_DISPATCHER .*\nZELTO_KESTA .*\n){2}"));
}

TEST(CommandShell, RefusesWhatIsTooMuch) {
    EXPECT_EQ(RunZelto({"sh", "get"}).exitCode, 2);
}

TEST(CommandShell, EndsWithTheCodeOfTheSignalBetweenLines) {
    for (const int number : {SIGINT, SIGTERM}) {
        TGateway gateway;
        TChildProcess shell({ZELTO_COMMAND_PATH, "sh"});
        shell.WriteInput(GET_1);
        ASSERT_TRUE(shell.WaitForOutput("Ulmet\n"));
        shell.Signal(number);
        EXPECT_EQ(shell.WaitForExit(), 128 + number);
    }
}

TEST(CommandShell, EndsWithTheCodeOfTheSignalWithinALine) {
    for (const int number : {SIGINT, SIGTERM}) {
        TGateway gateway;
        cli::TBusView view(TBusEnvironment::Bus().Address());
        TChildProcess shell({ZELTO_COMMAND_PATH, "sh"});
        shell.WriteInput("wait ZELTO_KESTA\n" + GET_1);
        ASSERT_TRUE(view.WaitForMatch("com.Ulmet.Zelto.ZELTO_KESTA"));
        shell.Signal(number);
        EXPECT_EQ(shell.WaitForExit(), 128 + number);
        EXPECT_EQ(shell.Output(), "");
    }
}

TEST(CommandShell, TellsThatALineCannotWrite) {
    TGateway gateway;
    const auto result = cli::RunShell("echo 'get " + SSID_1 + "' | zelto sh >/dev/full");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: cannot write to standard output: No space left on device\n");
}

TEST(CommandShell, GoesOnWhenTheManagerDies) {
    auto gateway = std::make_unique<TGateway>();
    TChildProcess shell({ZELTO_COMMAND_PATH, "sh"});
    shell.WriteInput(GET_1);
    ASSERT_TRUE(shell.WaitForOutput("Ulmet\n"));
    gateway.reset();
    shell.WriteInput(GET_1);
    ASSERT_TRUE(shell.WaitForErrors("there is no manager on the bus\n"));
    gateway = std::make_unique<TGateway>();
    shell.WriteInput(GET_1);
    shell.CloseInput();
    EXPECT_EQ(shell.WaitForExit(), 0);
    EXPECT_EQ(shell.Output(), "Ulmet\nUlmet\n");
}
