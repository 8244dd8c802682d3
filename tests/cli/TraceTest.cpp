// trace: what it shows of others, and how it ends.

#include "cli/Golden.h"
#include "cli/Parties.h"
#include "cli/Tracer.h"
#include "e2e/Programs.h"

#include "zelto/TZeltoJsonObject.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

using cli::ProgramOf;
using cli::RunZelto;
using cli::TApplication;
using cli::TTracer;
using e2e::TGateway;
using support::TBusEnvironment;
using support::TChildProcess;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";
const std::string TIME = "[0-9-]{10}T[0-9:]{8}\\.[0-9]{3}Z ";
const std::string QUICK = " in [0-9]+\\.[0-9]{3} ms";
const std::string MS = QUICK + "( SLOW)?"; // on a busy machine anything may be slow

std::string Self() {
    return std::to_string(getpid()) + "/" + ProgramOf(getpid());
}

std::string Manager(TGateway& gateway) {
    return std::to_string(gateway.Process().Pid()) + "/zelto-gateway";
}

bool IsStopped(const std::filesystem::path& thread) {
    std::ifstream file(thread / "stat");
    std::string line;
    std::getline(file, line);
    return line.find(") T ") != std::string::npos;
}

// Returns when no thread of it runs any more.
void Freeze(TChildProcess& process) {
    process.Signal(SIGSTOP);
    const std::filesystem::directory_iterator threads("/proc/" + std::to_string(process.Pid()) + "/task");
    for (const auto& thread : threads) {
        ASSERT_TRUE(support::Eventually([&thread] { return IsStopped(thread.path()); }));
    }
}

std::string Quoted(const std::string& text) {
    std::string quoted;
    for (const char c : text) {
        quoted += std::strchr(".[]*+?(){}|^$\\", c) == nullptr ? "" : "\\";
        quoted += c;
    }
    return quoted;
}

// Without times, durations and process ids, and without the name that a short process may have lost.
std::string WithoutNumbers(std::string text) {
    const std::pair<const char*, const char*> rules[] = {
        {"[0-9T:-]{19}\\.[0-9]{3}Z", "TIME"},
        {" in [0-9.]+ ms( SLOW)?", " in MS"},
        {"[0-9]+/zelto-gateway", "MANAGER"},
        {"(call|->) ([0-9]+(/zelto)?|:1\\.[0-9]+) ", "$1 CALLER "},
    };
    for (const auto& [numbers, word] : rules) {
        text = std::regex_replace(text, std::regex(numbers), word);
    }
    return text;
}

std::string ExampleOfManual() {
    std::ifstream file(MAN_PAGE_PATH);
    std::ostringstream content;
    content << file.rdbuf();
    const std::string begin = ".\\\" trace example\n.nf\n";
    const std::string page = content.str();
    const size_t start = page.find(begin) + begin.size();
    return std::regex_replace(page.substr(start, page.find(".fi\n", start) - start), std::regex("\\\\-"),
                              "-");
}

} // namespace

TEST(CommandTrace, ShowsASetOfAnotherProcessAndTheEventThatFollows) {
    TGateway gateway;
    TTracer tracer;
    ASSERT_EQ(gateway.Set(SSID_1, "Home"), 0);
    const std::string set = "SET_PARAM Device.WiFi.SSID.1.SSID=Home";
    EXPECT_THAT(
        tracer.LinesUntil(" code 0"),
        ElementsAre(
            MatchesRegex(TIME + Quoted("call " + Self() + " -> ZELTO_DISPATCHER " + set)),
            MatchesRegex(TIME +
                         Quoted("event " + Manager(gateway) + " DATA_MODEL_CHANGED " + SSID_1 + "=Home")),
            MatchesRegex(
                TIME + Quoted("reply " + Manager(gateway) + " -> " + Self() + " " + set + " code 0") + MS)));
}

TEST(CommandTrace, LooksAsTheManualShows) {
    TGateway gateway;
    TTracer tracer;
    const TChildProcess command({ZELTO_COMMAND_PATH, "set", SSID_1 + "=Home"});
    std::string shown;
    for (const std::string& line : tracer.LinesUntil(" code 0")) {
        shown += line + "\n";
    }
    EXPECT_EQ(WithoutNumbers(shown), WithoutNumbers(ExampleOfManual()));
}

TEST(CommandTrace, ShowsTheSameOnATerminal) {
    TGateway gateway;
    TTracer tracer({}, true);
    ASSERT_EQ(gateway.Set(SSID_1, "Home"), 0);
    EXPECT_THAT(tracer.LinesUntil(" code 0").at(0),
                MatchesRegex(TIME + "call " + Quoted(Self()) + " .*=Home"));
}

// Unless it has ended before anybody could ask.
TEST(CommandTrace, ShowsTheProcessOfACommandThatEnds) {
    TGateway gateway;
    TTracer tracer({SSID_1});
    TChildProcess command({ZELTO_COMMAND_PATH, "get", SSID_1});
    ASSERT_EQ(command.WaitForExit(), 0);
    const auto lines = tracer.LinesUntil(" code 0");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], HasSubstr("GET_PARAM Device.WiFi.SSID.1.SSID"));
    EXPECT_THAT(lines[0], testing::AnyOf(HasSubstr(" " + std::to_string(command.Pid()) + "/zelto "),
                                         HasSubstr(" " + std::to_string(command.Pid()) + " "),
                                         MatchesRegex(".* call :1\\.[0-9]+ -> .*")));
    EXPECT_THAT(lines[1], HasSubstr("GET_PARAM Device.WiFi.SSID.1.SSID=Ulmet code 0"));
}

struct TRequestCase {
    const char* title;
    const char* method;
    const char* body;
    const char* call;
    const char* reply;
};

class TracedRequest : public testing::TestWithParam<TRequestCase> {};
TEST_P(TracedRequest, IsShownByItsPathsAndValues) {
    TGateway gateway;
    TTracer tracer;
    (void)gateway.Request(GetParam().method, GetParam().body); // refused or not
    const std::string method = GetParam().method;
    const auto lines = tracer.LinesUntil(" code ");
    EXPECT_THAT(lines.front(), MatchesRegex(".* " + Quoted("ZELTO_DISPATCHER " + method + GetParam().call)));
    EXPECT_THAT(lines.back(), MatchesRegex(".* " + Quoted(method + GetParam().reply) + MS));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, TracedRequest,
    testing::Values(
        TRequestCase{"GetWildcard", "GET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID"})",
                     " Device.WiFi.SSID.*.SSID",
                     " Device.WiFi.SSID.1.SSID=Ulmet Device.WiFi.SSID.2.SSID=Ulmet-Guest code 0"},
        TRequestCase{"GetRefused", "GET_PARAM", R"({"NAME": "Device.X"})", " Device.X", " Device.X code -1"},
        TRequestCase{
            "GetArray", "GET_PARAM_ARRAY",
            R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID"}, {"NAME": "Device.WiFi.SSID.1.Enable"}]})",
            " Device.WiFi.SSID.1.SSID Device.WiFi.SSID.1.Enable",
            " Device.WiFi.SSID.1.SSID=Ulmet Device.WiFi.SSID.1.Enable=true code 0"},
        TRequestCase{"SetAndCommit", "SET_PARAM",
                     R"({"COMMIT": true, "VALUE": "a\nb", "NAME": "Device.WiFi.SSID.1.SSID"})",
                     " Device.WiFi.SSID.1.SSID=a\\nb (commit)",
                     " Device.WiFi.SSID.1.SSID=a\\nb (commit) code 0"},
        TRequestCase{"GetObject", "GET_OBJECT",
                     R"({"ROOT": "Device.WiFi.SSID.1.", "PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID"}]})",
                     " Device.WiFi.SSID.1. Device.WiFi.SSID.1.SSID", " Device.WiFi.SSID.1.SSID=Ulmet code 0"},
        TRequestCase{"Add", "ADD_OBJECT_INSTANCE", R"({"OBJ": "Device.NAT.PortMapping."})",
                     " Device.NAT.PortMapping.", " Device.NAT.PortMapping. 1 code 0"},
        TRequestCase{"Instances", "GET_OBJECT_INSTANCES", R"({"OBJ": "Device.WiFi.SSID."})",
                     " Device.WiFi.SSID.", " Device.WiFi.SSID. 1 2 code 0"},
        TRequestCase{"Unknown", "FROBNICATE", "no JSON", " no JSON", " no JSON code -1"},
        TRequestCase{"Empty", "FROBNICATE", "", "", " code -1"}),
    [](const auto& tested) { return tested.param.title; });

TEST(CommandTrace, NamesTheParameterOfALongValueAndCutsIt) {
    TGateway gateway;
    TTracer tracer;
    const auto answer =
        gateway.Request("GET_LONG_PARAM", R"({"NAME": "Device.DeviceInfo.X_ULMET_NetworkStatistics"})");
    ASSERT_GT(answer.text.size(), 300U);
    const auto lines = tracer.LinesUntil(" code 0");
    EXPECT_THAT(lines.back(),
                MatchesRegex(".* GET_LONG_PARAM Device\\.DeviceInfo\\.X_ULMET_NetworkStatistics=.*"
                             "\\.\\.\\.\\([0-9]+ bytes\\) code 0.*"));
    EXPECT_LT(lines.back().size(), 600U);
}

TEST(CommandTrace, ShowsTheErrorOfACallThatNobodyTakes) {
    TTracer tracer;
    ASSERT_EQ(RunZelto({"call", "--to", "NOBODY", "IS_APP_ACTIVE"}).exitCode, 4);
    const auto lines = tracer.LinesUntil("reply ");
    EXPECT_THAT(lines.front(), MatchesRegex(".* -> NOBODY IS_APP_ACTIVE"));
    EXPECT_THAT(lines.back(), MatchesRegex(TIME +
                                           "reply org\\.freedesktop\\.DBus -> .* IS_APP_ACTIVE "
                                           "org\\.freedesktop\\.DBus\\.Error\\.ServiceUnknown" +
                                           MS));
}

TEST(CommandTrace, ShowsThatTheManagerDiedInTheMiddle) {
    TGateway gateway;
    TTracer tracer;
    Freeze(gateway.Process());
    gateway.Client().Post({e2e::MANAGER_NAME, e2e::MANAGER_PATH, e2e::INTERFACE, "GET_INDEX_MAP"},
                          {std::string()});
    ASSERT_TRUE(tracer.WaitFor("GET_INDEX_MAP"));
    gateway.Process().Kill();
    const auto lines = tracer.LinesUntil("reply ");
    EXPECT_THAT(lines.back(), HasSubstr("GET_INDEX_MAP org.freedesktop.DBus.Error.NoReply in "));
}

TEST(CommandTrace, ShowsPartiesThatComeAndGo) {
    TTracer tracer;
    auto kesta = std::make_unique<TApplication>("ZELTO_KESTA");
    EXPECT_THAT(tracer.LinesUntil("ZELTO_KESTA"),
                ElementsAre(MatchesRegex(TIME + Quoted("event " + Self() + " APP_CONNECTED ZELTO_KESTA"))));
    kesta.reset();
    EXPECT_THAT(tracer.LinesUntil("APP_DISCONNECTED").back(),
                MatchesRegex(TIME + Quoted("event " + Self() + " APP_DISCONNECTED ZELTO_KESTA")));
}

TEST(CommandTrace, ShowsEventsOfAnyKind) {
    TGateway gateway;
    TTracer tracer;
    gateway.Client().Signal({"", e2e::MANAGER_PATH, e2e::INTERFACE, "CLIENT_CONNECTED"},
                            {std::string(R"({"MAC_ADDRESS": "aa:bb", "HOST_NAME": "pc"})")});
    EXPECT_THAT(tracer.LinesUntil("CLIENT_CONNECTED").back(),
                MatchesRegex(TIME + Quoted("event " + Self() + " CLIENT_CONNECTED aa:bb pc")));
}

TEST(CommandTrace, MarksSlowHandlers) {
    TApplication kesta("ZELTO_KESTA");
    TGateway gateway;
    {
        TTracer tracer({"--slow", "0"});
        ASSERT_EQ(RunZelto({"ping", "ZELTO_KESTA"}).exitCode, 0);
        EXPECT_THAT(tracer.LinesUntil(" code 0").back(), MatchesRegex(".* code 0" + QUICK + " SLOW"));
    }
    TTracer tracer({"--slow", "100000"});
    ASSERT_EQ(RunZelto({"ping", "ZELTO_KESTA"}).exitCode, 0);
    EXPECT_THAT(tracer.LinesUntil(" code 0").back(), MatchesRegex(".* code 0" + QUICK));
}

TEST(CommandTrace, ShowsOnlyWhatMatches) {
    TGateway gateway;
    TTracer tracer({"Device.WiFi.SSID.2.*", "GET_INDEX_MAP"});
    ASSERT_EQ(gateway.Set("Device.WiFi.SSID.1.Enable", "false"), 0);
    ASSERT_EQ(gateway.Set("Device.WiFi.SSID.2.Enable", "true"), 0);
    (void)gateway.Request("GET_INDEX_MAP", "");
    const auto lines = tracer.LinesUntil("GET_INDEX_MAP {");
    ASSERT_EQ(lines.size(), 5U); // call, event and reply; call and reply
    EXPECT_THAT(lines[0], HasSubstr("SSID.2.Enable"));
    EXPECT_THAT(lines[3], HasSubstr("GET_INDEX_MAP"));
}

TEST(CommandTrace, WritesAnObjectOnEachLine) {
    TGateway gateway;
    TTracer tracer({"-J"});
    ASSERT_EQ(gateway.Set(SSID_1, "Home"), 0);
    const auto lines = tracer.LinesUntil("\"reply\"");
    ASSERT_EQ(lines.size(), 3U);
    const std::string time = "\\{\"TIME\": \"" + TIME.substr(0, TIME.size() - 1) + "\", ";
    const std::string self = "\"PID\": " + std::to_string(getpid()) + ", \"PROCESS\": \"" +
                             Quoted(ProgramOf(getpid())) + "\", \"SENDER\": \"[:.0-9]+\", ";
    const std::string manager = "\"PID\": " + std::to_string(gateway.Process().Pid()) +
                                ", \"PROCESS\": \"zelto-gateway\", \"SENDER\": \"[:.0-9]+\", ";
    const std::string request = "\"METHOD\": \"SET_PARAM\", \"REQUEST\": "
                                "\\{\"NAME\": \"Device\\.WiFi\\.SSID\\.1\\.SSID\", \"VALUE\": \"Home\"\\}";
    EXPECT_THAT(lines[0], MatchesRegex(time + "\"KIND\": \"call\", " + self +
                                       "\"TARGET\": \"ZELTO_DISPATCHER\", " + request + "\\}"));
    EXPECT_THAT(lines[1], MatchesRegex(time + "\"KIND\": \"event\", " + manager +
                                       "\"EVENT\": \"DATA_MODEL_CHANGED\", \"DATA\": "
                                       "\\{\"DATA_MODEL_NAME\": \"Device\\.WiFi\\.SSID\\.1\\.SSID\", "
                                       "\"DATA_MODEL_VALUE\": \"Home\"\\}\\}"));
    EXPECT_THAT(lines[2], MatchesRegex(time + "\"KIND\": \"reply\", " + manager +
                                       "\"TARGET\": \"[:.0-9]+\", " + request +
                                       ", \"ANSWER\": \"\", \"CODE\": 0, \"MS\": [0-9.e-]+, "
                                       "\"SLOW\": (true|false)\\}"));
}

TEST(CommandTrace, ClosesTheDocumentWhenItIsStopped) {
    TGateway gateway;
    for (const int number : {SIGINT, SIGTERM}) {
        TTracer tracer({"-j"});
        ASSERT_EQ(gateway.Set(SSID_1, "Home"), 0);
        ASSERT_TRUE(tracer.WaitFor("\"reply\""));
        tracer.Process().Signal(number);
        EXPECT_EQ(tracer.Process().WaitForExit(), 128 + number);
        TZeltoJsonObject document;
        ASSERT_TRUE(document.DecodeFromString(tracer.Process().Output()));
        EXPECT_GE(document.GetJsonArraySize("TRACE"), 3U);
    }
}

TEST(CommandTrace, EndsAfterSoManyLines) {
    TGateway gateway;
    TTracer tracer({"-n", "2", "SET_PARAM"});
    ASSERT_EQ(gateway.Set(SSID_1, "Home"), 0);
    EXPECT_EQ(tracer.Process().WaitForExit(), 0);
    EXPECT_THAT(tracer.Process().Output(), MatchesRegex(".* call .*\n.* reply .*\n"));
}

TEST(CommandTrace, EndsAfterSoManySeconds) {
    const auto result = RunZelto({"trace", "--for", "1", "-j"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "{\"TRACE\": []}\n");
}

TEST(CommandTrace, TellsThatThereWereNotEnoughLinesInTime) {
    EXPECT_EQ(RunZelto({"trace", "--for", "1", "-n", "1"}).exitCode, 5);
}

TEST(CommandTrace, EndsWhenTheBusGoes) {
    TTracer tracer;
    TBusEnvironment::Bus().Kill();
    EXPECT_EQ(tracer.Process().WaitForExit(), 3);
    EXPECT_EQ(tracer.Process().Errors(), "zelto: trace: the bus has gone\n");
    TBusEnvironment::Bus().Restart(); // for the tests that follow
}

TEST(CommandTrace, EndsWhenNobodyReads) {
    TGateway gateway;
    TChildProcess reader(
        {"/bin/sh", "-c",
         std::string("{ ") + ZELTO_COMMAND_PATH + " trace; echo \"code $?\" >&2; } | head -n 1"});
    EXPECT_TRUE(support::Eventually([&] {
        (void)gateway.Set(SSID_1, "Home"); // until somebody has seen one
        return reader.Errors().find("code") != std::string::npos;
    }));
    EXPECT_EQ(reader.Errors(), "zelto: cannot write to standard output: Broken pipe\ncode 3\n");
}

TEST(CommandTrace, NeedsABus) {
    const auto result = RunZelto({"trace", "--bus", "unix:path=/nonexistent/bus"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, MatchesRegex("zelto: trace: no bus at unix:path=/nonexistent/bus: .*\n"));
}

TEST(CommandTrace, RefusesWrongOptions) {
    for (const cli::TLine& line :
         {cli::TLine{"trace", "-n", "0"}, cli::TLine{"trace", "-n", "x"}, cli::TLine{"trace", "--for", "-1"},
          cli::TLine{"trace", "--slow", "x"}, cli::TLine{"trace", "--frob"}}) {
        const auto result = RunZelto(line);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, MatchesRegex("zelto: .* \\(--help tells more\\)\n"));
    }
}
