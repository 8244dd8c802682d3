#include "support/ChildProcess.h"
#include "utils/UniqueFd.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <sys/socket.h>

using support::RunProgram;
using support::TChildProcess;
using support::TRunResult;

namespace {

TRunResult Probe(const std::vector<std::string>& arguments,
                 const TChildProcess::TEnvironment& environment = {}, int errorDescriptor = -1) {
    std::vector<std::string> command{LOGGING_PROBE_PATH};
    command.insert(command.end(), arguments.begin(), arguments.end());
    TChildProcess::TEnvironment all{{"QV_LOGGING_LEVEL", ""}, {"QV_LOGGING_SYSLOG", ""}};
    all.insert(all.end(), environment.begin(), environment.end());
    return RunProgram(command, {all, "", errorDescriptor});
}

std::string WithoutProcess(const std::string& line) {
    return std::regex_replace(line, std::regex("\\[[0-9]+\\] "), "");
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

struct TThresholdCase {
    const char* threshold;
    int highestPassing;
};

std::ostream& operator<<(std::ostream& out, const TThresholdCase& row) {
    return out << '"' << row.threshold << '"';
}

class LoggingThreshold : public testing::TestWithParam<TThresholdCase> {};

} // namespace

TEST(Logging, WritesLevelAndTextAsOneLine) {
    EXPECT_EQ("error: \"text\"\n", WithoutProcess(Probe({"3", "text"}).errors));
}

TEST(Logging, NamesTheProcessInEachLine) {
    EXPECT_TRUE(std::regex_match(Probe({"5", "text"}).errors, std::regex("\\[[0-9]+\\] notice: \"text\"\n")));
}

TEST_P(LoggingThreshold, PassesOnlyLevelsUpToIt) {
    const std::vector<std::string> lines =
        Lines(Probe({"levels"}, {{"QV_LOGGING_LEVEL", GetParam().threshold}}).errors);
    ASSERT_EQ(static_cast<size_t>(GetParam().highestPassing + 2), lines.size()); // from -1 on
    EXPECT_NE(std::string::npos, lines.back().find('"' + std::to_string(GetParam().highestPassing) + '"'));
}

INSTANTIATE_TEST_SUITE_P(Environment, LoggingThreshold,
                         testing::Values(TThresholdCase{"", 5}, TThresholdCase{"7", 7},
                                         TThresholdCase{"3", 3}, TThresholdCase{"0", 0},
                                         TThresholdCase{"8", 5}, TThresholdCase{"-1", 5},
                                         TThresholdCase{"debug", 5}, TThresholdCase{"33", 5}));

TEST(Logging, NamesEachLevel) {
    const std::vector<std::string> expected{"emergency: \"-1\"", "emergency: \"0\"", "alert: \"1\"",
                                            "critical: \"2\"",   "error: \"3\"",     "warning: \"4\"",
                                            "notice: \"5\"",     "info: \"6\"",      "debug: \"7\""};
    std::vector<std::string> seen;
    for (const std::string& line : Lines(Probe({"levels"}, {{"QV_LOGGING_LEVEL", "7"}}).errors)) {
        seen.push_back(WithoutProcess(line));
    }
    EXPECT_EQ(expected, seen);
}

TEST(Logging, KeepsControlCharactersOfTheTextInsideTheLine) {
    EXPECT_EQ("error: \"a\\nb\\tc\\rd\\x1be\\x7f\"\n", WithoutProcess(Probe({"3", "a\nb\tc\rd\x1b"
                                                                                  "e\x7f"})
                                                                          .errors));
}

TEST(Logging, EscapesTheControlsBeyondAscii) {
    EXPECT_EQ("error: \"\\x80a\\x9b;\\x9f\"\n", WithoutProcess(Probe({"3", "\xc2\x80"
                                                                           "a\xc2\x9b;\xc2\x9f"})
                                                                   .errors));
}

TEST(Logging, LeavesUtf8AsItIs) {
    const std::string text = "h\xc3\xa9 \xc3\x9b \xc2\xa0 \xe2\x82\xac \xc2"; // the last one is cut off
    EXPECT_EQ("error: \"" + text + "\"\n", WithoutProcess(Probe({"3", text}).errors));
}

TEST(Logging, WritesLongTextsWhole) {
    EXPECT_EQ("error: \"" + std::string(100000, 'x') + "\"\n", WithoutProcess(Probe({"long"}).errors));
}

TEST(Logging, WritesTextsOfEveryLengthAroundItsOwnBufferWhole) {
    const std::vector<std::string> lines = Lines(Probe({"lengths"}).errors);
    ASSERT_EQ(402U, lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string text(900 + i / 2, 'y');
        ASSERT_EQ("error: " + text + (i % 2 == 0 ? "" : "\\n"), WithoutProcess(lines[i]));
    }
}

// Every write on a sequenced-packet socket arrives as a packet of its own.
TEST(Logging, WritesALineWithOneCall) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends));
    const zelto::TUniqueFd reader(ends[0]);
    zelto::TUniqueFd writer(ends[1]);
    ASSERT_EQ(0, Probe({"3", std::string(5000, 'z')}, {}, writer.Get()).exitCode);
    writer.Reset();
    char packet[8192];
    const ssize_t size = recv(reader.Get(), packet, sizeof(packet), 0);
    ASSERT_GT(size, 5000);
    EXPECT_EQ('\n', packet[size - 1]);
    EXPECT_EQ(0, recv(reader.Get(), packet, sizeof(packet), 0));
}

TEST(Logging, KeepsLinesOfSeveralThreadsApart) {
    const std::vector<std::string> lines = Lines(Probe({"threads"}).errors);
    ASSERT_EQ(400U, lines.size());
    for (const std::string& line : lines) {
        const std::string text = WithoutProcess(line);
        EXPECT_EQ("notice: \"" + std::string(500, text[9]) + "\"", text);
    }
}

TEST(Logging, GoesToSyslogInsteadWhenAsked) {
    const TRunResult result = Probe({"5", "a\nb"}, {{"QV_LOGGING_SYSLOG", "1"}});
    EXPECT_EQ("syslog 5 \"a\nb\"\n", result.output);
    EXPECT_EQ("", result.errors);
}

TEST(Logging, FiltersForSyslogToo) {
    EXPECT_EQ("", Probe({"7", "text"}, {{"QV_LOGGING_SYSLOG", "1"}}).output);
}

TEST(Logging, StaysOnStandardErrorWhenSyslogIsSwitchedOff) {
    const TRunResult result = Probe({"5", "text"}, {{"QV_LOGGING_SYSLOG", "0"}});
    EXPECT_EQ("", result.output);
    EXPECT_EQ("notice: \"text\"\n", WithoutProcess(result.errors));
}

TEST(Logging, LeavesErrnoAlone) {
    const TRunResult result = Probe({"errno"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("error: \"kept\"\n", WithoutProcess(result.errors));
}

TEST(Logging, SurvivesAClosedStandardError) {
    EXPECT_EQ(0, Probe({"closed-stderr"}).exitCode);
}

TEST(Logging, SurvivesAStandardErrorThatNobodyReads) {
    EXPECT_EQ(0, Probe({"abandoned-pipe"}).exitCode);
}

TEST(Logging, ShowsTheFormatWhenItCannotBePrinted) {
    EXPECT_EQ("error: \"%ls\"\n", WithoutProcess(Probe({"unprintable"}).errors));
}

#if !defined(ZELTO_SANITIZED) && !defined(ZELTO_EMULATED)
// Sanitizers need memory themselves.
TEST(Logging, CutsALongTextRatherThanFailWithoutMemory) {
    const TRunResult result = Probe({"long-without-memory"});
    EXPECT_EQ(0, result.exitCode);
    const std::string line = WithoutProcess(result.errors);
    EXPECT_EQ("error: \"xxx", line.substr(0, 11));
    EXPECT_LT(line.size(), 2048U);
    EXPECT_EQ('\n', line.back());
}
#endif
