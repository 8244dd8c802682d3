// Wrong command lines, and values that are odd or cannot be sent.

#include "cli/Golden.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

using cli::BothWays;
using cli::RunZelto;
using cli::TGolden;
using cli::TLine;
using e2e::TGateway;
using testing::StartsWith;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";
const std::string LONG_PATH = "Device." + std::string(293, 'x');
const std::string MEMBER_RULE = "1 to 255 letters, digits and '_', not beginning with a digit\n";
const std::string REFUSED = ": refused by the manager\n";

} // namespace

class WrongLine : public testing::TestWithParam<TLine> {};

TEST_P(WrongLine, EndsWithTwoAndOneMessage) {
    BothWays([](bool isOnTerminal) {
        const auto result = RunZelto(GetParam(), isOnTerminal);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, StartsWith("zelto: "));
        EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1);
    });
}

INSTANTIATE_TEST_SUITE_P(
    WithoutArguments, WrongLine,
    testing::Values(TLine{}, TLine{"get"}, TLine{"set"}, TLine{"getobj"}, TLine{"setobj"}, TLine{"add"},
                    TLine{"del"}, TLine{"ls"}, TLine{"call"}, TLine{"emit"}, TLine{"remote"},
                    TLine{"getobj", "Device.X."}, TLine{"setobj", "Device.X."}, TLine{"emit", "X"},
                    TLine{"remote", "127.0.0.1"}, TLine{"remote", "127.0.0.1", "get"},
                    TLine{"remote", "127.0.0.1", "set"}, TLine{"remote", "127.0.0.1", "file"}));

INSTANTIATE_TEST_SUITE_P(WithSurplusArguments, WrongLine,
                         testing::Values(TLine{"add", "A", "B"}, TLine{"del", "A", "B"},
                                         TLine{"ls", "A", "B"}, TLine{"map", "A", "B"},
                                         TLine{"call", "A", "B", "C"}, TLine{"emit", "A", "B", "C"},
                                         TLine{"remote", "127.0.0.1", "file", "A", "B"}));

INSTANTIATE_TEST_SUITE_P(
    WithWrongOptions, WrongLine,
    testing::Values(TLine{"sing"}, TLine{"get", "--sing", "X"}, TLine{"-j", "-J", "get", "X"},
                    TLine{"-t", "0", "get", "X"}, TLine{"-t", "86401", "get", "X"},
                    TLine{"-t", "x", "get", "X"}, TLine{"--as", "1A", "get", "X"},
                    TLine{"--as", "", "get", "X"}, TLine{"--as", "A.B", "get", "X"},
                    TLine{"--as", std::string(201, 'A'), "get", "X"}, TLine{"-q", "get"},
                    TLine{"watch", "-n", "0"}, TLine{"watch", "-n", "x"}, TLine{"watch", "--for", "0"},
                    TLine{"call", "X", "--to", "A-B"}, TLine{"get", "-o", "/dev/null", "X"},
                    TLine{"get", "-V", "--long", "X"}, TLine{"set", "--long", "--dry-run", "X=1"},
                    TLine{"set", "--rollback", "--dry-run", "X=1"}, TLine{"remote", "localhost", "get", "X"},
                    TLine{"remote", "127.0.0.1", "sing"}, TLine{"-j", "remote", "127.0.0.1", "file", "X"}));

// As of a variable of the shell that is not set.
INSTANTIATE_TEST_SUITE_P(WithEmptyOptions, WrongLine,
                         testing::Values(TLine{"get", "--long", "-o", "", "X"}, TLine{"set", "-f", "", "X=1"},
                                         TLine{"--bus", "", "get", "X"},
                                         TLine{"remote", "127.0.0.1", "file", "-o", "", "X"},
                                         TLine{"doctor", "--index-map", ""}));

INSTANTIATE_TEST_SUITE_P(WithWrongAssignments, WrongLine,
                         testing::Values(TLine{"set", "X"}, TLine{"set", "=1"}, TLine{"set", ""},
                                         TLine{"set", "A=1", "B"}, TLine{"set", "A=-", "B=-"},
                                         TLine{"setobj", "A.", "B"},
                                         TLine{"remote", "127.0.0.1", "set", "X"}));

class GoldenBadInput : public testing::TestWithParam<TGolden> {};
TEST_P(GoldenBadInput, IsAsDocumented) {
    cli::ExpectGolden(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Paths, GoldenBadInput,
    testing::Values(
        TGolden{"GetEmpty", {"get", ""}, 1, "", "zelto: get : refused by the manager\n"},
        TGolden{"GetLong", {"get", LONG_PATH}, 1, "", "zelto: get " + LONG_PATH + REFUSED},
        TGolden{"GetRelative", {"get", "WiFi.SSID.1.SSID"}, 1, "", "zelto: get WiFi.SSID.1.SSID" + REFUSED},
        TGolden{"GetNoUtf8",
                {"get", "Device.\xff"},
                3,
                "",
                "zelto: cannot be sent, since it is not UTF-8: Device.\xff\n"},
        TGolden{"GetControlBytes",
                {"get", "Device.\n\x1b[31m"},
                1,
                "",
                "zelto: get Device.\\n\\033[31m" + REFUSED},
        TGolden{"LongValueEmpty", {"get", "--long", ""}, 1, "", "zelto: get " + REFUSED},
        TGolden{"SetLong", {"set", LONG_PATH + "=1"}, 1, "", "zelto: set " + LONG_PATH + REFUSED},
        TGolden{"SetRelative", {"set", "X=1"}, 1, "", "zelto: set X" + REFUSED},
        TGolden{"SetNoUtf8",
                {"set", SSID_1 + "=\xff"},
                3,
                "",
                "zelto: cannot be sent, since it is not UTF-8: \xff\n"},
        TGolden{"AddEmpty", {"add", ""}, 1, "", "zelto: add ." + REFUSED},
        TGolden{"AddLong", {"add", LONG_PATH}, 1, "", "zelto: add " + LONG_PATH + "." + REFUSED},
        TGolden{"AddRelative", {"add", "X"}, 1, "", "zelto: add X." + REFUSED},
        TGolden{"DelEmpty", {"del", ""}, 1, "", "zelto: del ." + REFUSED},
        TGolden{"DelLong", {"del", LONG_PATH}, 1, "", "zelto: del " + LONG_PATH + "." + REFUSED},
        TGolden{"DelRelative", {"del", "X.1."}, 1, "", "zelto: del X.1." + REFUSED},
        TGolden{"LsEmpty", {"ls", ""}, 1, "", "zelto: ls ." + REFUSED},
        TGolden{"LsLong", {"ls", LONG_PATH}, 1, "", "zelto: ls " + LONG_PATH + "." + REFUSED},
        TGolden{"GetObjEmpty", {"getobj", "", ""}, 1, "", "zelto: getobj ." + REFUSED},
        TGolden{
            "GetObjLong", {"getobj", LONG_PATH, "X"}, 1, "", "zelto: getobj " + LONG_PATH + "." + REFUSED},
        TGolden{"SetObjEmpty", {"setobj", "", "X=1"}, 1, "", "zelto: setobj ." + REFUSED},
        TGolden{"MapEmpty", {"map", ""}, 0, "=\n", ""}, TGolden{"MapMark", {"map", "@"}, 0, "=\n", ""},
        TGolden{"MapLong", {"map", LONG_PATH}, 0, LONG_PATH + "=" + LONG_PATH + "\n", ""},
        TGolden{"GetBrackets", {"get", "[a,b]"}, 1, "", "zelto: get [a,b]" + REFUSED},
        TGolden{"GetEmptyBrackets", {"get", "[]"}, 1, "", "zelto: get []" + REFUSED},
        TGolden{"GetBraces", {"get", "--long", "{}"}, 1, "", "zelto: get {}" + REFUSED},
        TGolden{"GetPlusses", {"get", "++"}, 1, "", "zelto: get ++" + REFUSED},
        TGolden{"SetBrackets", {"set", "[a=1,b=2]"}, 1, "", "zelto: set [a" + REFUSED},
        TGolden{"SetObjBrackets", {"setobj", "A", "[b=1,c=2]"}, 1, "", "zelto: setobj A." + REFUSED},
        TGolden{"MapControlByte", {"map", "\x01"}, 0, "\\001=\\001\n", ""},
        TGolden{"MapControlByteAndBracket", {"map", "\x01[]"}, 0, "\\001[]=\\001[]\n", ""},
        TGolden{"NoVerb",
                {"sing", "[a,b]"},
                2,
                "",
                "zelto: The following arguments were not expected: sing [a,b] (--help tells more)\n"},
        TGolden{"NoOption",
                {"get", "--sing"},
                2,
                "",
                "zelto: The following argument was not expected: --sing (--help tells more)\n"},
        TGolden{"NoNumber",
                {"-t", "[5]", "get", "A"},
                2,
                "",
                "zelto: --timeout: Value [5] not in range 1 to 86400 (--help tells more)\n"},
        TGolden{"CallNoMethod",
                {"call", "NO METHOD"},
                3,
                "",
                "zelto: call NO METHOD: 'NO METHOD' is not a valid method name: " + MEMBER_RULE},
        TGolden{"EmitNoEvent",
                {"emit", "", "{}"},
                3,
                "",
                "zelto: emit : '' is not a valid event name: " + MEMBER_RULE}),
    cli::TitleOf);

// The content of standard input becomes a value.
class OddValue : public testing::TestWithParam<const char*> {};

TEST_P(OddValue, IsReadAsItWasWritten) {
    TGateway gateway;
    const std::string value = GetParam();
    const auto set = RunZelto({"set", SSID_1 + "=-"}, false, value);
    EXPECT_EQ(set.exitCode, 0) << set.errors;
    EXPECT_EQ(RunZelto({"get", "--long", SSID_1}).output, value);
    const auto again = cli::RunShell("zelto get " + SSID_1 + " | zelto set -f -");
    EXPECT_EQ(again.exitCode, 0) << again.errors;
    EXPECT_EQ(RunZelto({"get", "--long", SSID_1}).output, value);
}

INSTANTIATE_TEST_SUITE_P(Values, OddValue,
                         testing::Values("\n", "a\nb\n", "\"'`$(x)\"", "\\", "\\n", "\\101", "=", "@x", "-",
                                         " ", "\r\n\t", "\x7f", "\xc2\x85", "\xf0\x9f\x98\x80",
                                         "{\"a\": [1]}", "%s%n"));

TEST(BadFile, WithANulIsNotSent) {
    TGateway gateway;
    const auto result = RunZelto({"set", SSID_1 + "=-"}, false, std::string("a\0b", 3));
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: cannot be sent, since it has a NUL byte after: a\n");
    EXPECT_EQ(gateway.Get(SSID_1), "Ulmet");
}

TEST(BadFile, ThatIsMissingOrAFolderEndsWithThree) {
    support::TTempDir directory;
    const auto missing = RunZelto({"set", SSID_1 + "=@" + directory.File("none")});
    EXPECT_EQ(missing.exitCode, 3);
    EXPECT_EQ(missing.errors,
              "zelto: cannot read " + directory.File("none") + ": No such file or directory\n");
    const auto folder = RunZelto({"set", "-f", directory.Path()});
    EXPECT_EQ(folder.exitCode, 3);
    EXPECT_EQ(folder.errors, "zelto: cannot read " + directory.Path() + ": Is a directory\n");
}

TEST(BadFile, WithAWrongLineChangesNothing) {
    TGateway gateway;
    for (const char* wrong : {"no assignment", "=1", "A=\\", "A=\\x41", "A=\\8", "A=\\400", "A=\\12"}) {
        const auto result = RunZelto({"set", "-f", "-"}, false, SSID_1 + "=x\n" + wrong + "\n");
        EXPECT_EQ(result.exitCode, 2) << wrong;
        EXPECT_THAT(result.errors, StartsWith("zelto: set: line 2 is not of the form PATH=VALUE: ")) << wrong;
    }
    EXPECT_EQ(gateway.Get(SSID_1), "Ulmet");
}

TEST(BadFile, WithoutLinesEndsWithSix) {
    const auto result = RunZelto({"set", "-f", "-"}, false, "\n\n");
    EXPECT_EQ(result.exitCode, 6);
    EXPECT_EQ(result.errors, "zelto: set: there is nothing to set\n");
}

TEST(BadOutput, ThatIsFullEndsWithThree) {
    TGateway gateway;
    for (const std::string& arguments :
         {"get " + SSID_1, std::string("-j map"), "get --long " + SSID_1, std::string("ls Device.WiFi.SSID."),
          std::string("get --help"), std::string("--version")}) {
        const auto result = cli::RunShell("zelto " + arguments + " >/dev/full");
        EXPECT_EQ(result.exitCode, 3) << arguments;
        EXPECT_EQ(result.errors, "zelto: cannot write to standard output: No space left on device\n")
            << arguments;
    }
}

TEST(BadOutput, ThatIsClosedEndsWithThree) {
    TGateway gateway;
    const auto result = cli::RunShell("zelto get " + SSID_1 + " >&-");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: cannot write to standard output: Bad file descriptor\n");
}

TEST(BadOutput, WithoutAReaderEndsWithThree) {
    TGateway gateway;
    support::TTempDir directory;
    const std::string pipe = directory.File("pipe");
    const auto result = cli::RunShell("mkfifo " + pipe + "; exec 3<>" + pipe + " 4>" + pipe +
                                      " 3<&-; zelto get " + SSID_1 + " >&4");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: cannot write to standard output: Broken pipe\n");
}

TEST(BadOutput, OfAFileLeavesItAsItWas) {
    TGateway gateway;
    support::TTempDir directory;
    const std::string name = "Device.DeviceInfo.X_ULMET_NetworkStatistics";
    const std::string file = directory.Write("value", "old");
    // No file may grow beyond the size of a block.
    const auto result =
        cli::RunShell("ulimit -f 0; trap '' XFSZ; zelto get --long " + name + " -o " + file + "; echo $?");
    EXPECT_EQ(result.output, "3\n");
    EXPECT_EQ(result.errors, "zelto: cannot write " + file + ": File too large\n");
    EXPECT_EQ(directory.Read("value"), "old");
    EXPECT_EQ(cli::RunShell("ls " + directory.Path()).output, "value\n");
}

TEST(BadOutput, ThroughALinkReplacesWhatItStandsFor) {
    TGateway gateway;
    support::TTempDir directory;
    const std::string file = directory.Write("value", "old");
    ASSERT_EQ(symlink("value", directory.File("link").c_str()), 0);
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    EXPECT_EQ(RunZelto({"get", "--long", SSID_1, "-o", directory.File("link")}).exitCode, 0);
    EXPECT_EQ(directory.Read("value"), "Ulmet");
    struct stat status = {};
    ASSERT_EQ(lstat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{S_IFREG | 0640});
}

TEST(BadOutput, ToADeviceOrAFolderEndsWithThree) {
    TGateway gateway;
    const auto full = RunZelto({"get", "--long", SSID_1, "-o", "/dev/full"});
    EXPECT_EQ(full.exitCode, 3);
    EXPECT_EQ(full.errors, "zelto: cannot write /dev/full: No space left on device\n");
    support::TTempDir directory;
    EXPECT_EQ(RunZelto({"get", "--long", SSID_1, "-o", directory.Path()}).exitCode, 3);
    EXPECT_EQ(RunZelto({"get", "--long", SSID_1, "-o", directory.File("none/value")}).exitCode, 3);
    EXPECT_EQ(RunZelto({"get", "--long", SSID_1, "-o", "/dev/null"}).exitCode, 0);
}
