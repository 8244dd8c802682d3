// doctor: what it finds, what it advises and how it ends.

#include "cli/Golden.h"
#include "cli/Parties.h"
#include "e2e/Programs.h"

#include "zelto/TZeltoJsonObject.h"

#include <gmock/gmock.h>

#include <sstream>

using cli::BothWays;
using cli::RunZelto;
using cli::TApplication;
using e2e::TGateway;
using support::TBusEnvironment;
using testing::Contains;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

struct TCloser {
    void operator()(DBusConnection* connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};
using TConnection = std::unique_ptr<DBusConnection, TCloser>;

TConnection Connect() {
    TConnection connection(dbus_connection_open_private(TBusEnvironment::Bus().Address().c_str(), nullptr));
    EXPECT_TRUE(connection && dbus_bus_register(connection.get(), nullptr) != FALSE);
    dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    return connection;
}

// As the manager is given it: {"1": "5"} for each pair.
std::string FileOf(const std::string& answer) {
    TZeltoJsonObject file;
    file.DecodeFromString(answer);
    std::string text = file.EncodeToString();
    for (const char* word : {"\"APP_INDEX\": ", ", \"PLATFORM_INDEX\""}) {
        for (size_t at = text.find(word); at != std::string::npos; at = text.find(word)) {
            text.erase(at, std::string(word).size());
        }
    }
    std::string quoted; // {1: 5} to {"1": "5"}
    for (size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
        const bool wasDigit = i > 0 && std::isdigit(static_cast<unsigned char>(text[i - 1])) != 0;
        quoted += (isDigit != wasDigit ? "\"" : "") + std::string(1, text[i]);
    }
    return quoted;
}

} // namespace

TEST(CommandDoctor, FindsEverythingWell) {
    BothWays([](bool isOnTerminal) {
        TGateway gateway;
        const auto result = RunZelto({"doctor"}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errors, "");
        const std::string process = std::to_string(gateway.Process().Pid());
        EXPECT_THAT(
            LinesOf(result.output),
            testing::ElementsAre(
                "ok bus: answers at " + TBusEnvironment::Bus().Address(),
                MatchesRegex("ok own: the policy lets us own com\\.Ulmet\\.Zelto\\.ZELTO_CLI_[0-9]+"),
                "ok monitor: the bus lets us monitor",
                MatchesRegex("ok manager: ZELTO_DISPATCHER is process " + process +
                             " \\(zelto-gateway\\) of user [^ ]+ as :1\\.[0-9]+"),
                "ok call: the manager answers",
                MatchesRegex("ok index-map: tables that the manager serves: 1, pairs in them: [0-9]+; "
                             "--index-map FILE checks its file"),
                MatchesRegex("ok connections: [0-9]+ of 2048 connections, [0-9]+ of 256 of user [^ ]+ "
                             "\\(stock limits\\)"),
                MatchesRegex(
                    "ok statistics: [0-9]+ of 512 names of one connection, [0-9]+ of 512 match rules "
                    "of one connection \\(stock limits\\)")));
    });
}

TEST(CommandDoctor, TellsTheSameWithKeys) {
    TGateway gateway;
    const auto result = RunZelto({"doctor", "-j"});
    TZeltoJsonObject document;
    ASSERT_TRUE(document.DecodeFromString(result.output)) << result.output;
    EXPECT_EQ(document.GetJsonArraySize("FINDINGS"), 8U);
    EXPECT_THAT(
        LinesOf(RunZelto({"doctor", "-J"}).output),
        Contains(R"({"CHECK": "call", "STATE": "ok", "FINDING": "the manager answers", "ADVICE": ""})"));
}

TEST(CommandDoctor, LeavesNothingBehind) {
    TGateway gateway;
    const std::string before = RunZelto({"apps"}).output;
    ASSERT_EQ(RunZelto({"doctor"}).exitCode, 0);
    EXPECT_EQ(RunZelto({"apps"}).output, before);
}

TEST(CommandDoctor, MissesTheManager) {
    BothWays([](bool isOnTerminal) {
        const auto result = RunZelto({"doctor"}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 4);
        const auto lines = LinesOf(result.output);
        EXPECT_THAT(lines,
                    Contains("bad manager: nobody on the bus is ZELTO_DISPATCHER; start the manager; if it "
                             "runs, its log tells why it does not get the name"));
        EXPECT_THAT(lines, Contains(StartsWith("unknown call: there is no manager on the bus; ")));
        EXPECT_THAT(lines, Contains(StartsWith("unknown index-map: ")));
        EXPECT_THAT(lines, Contains(StartsWith("ok connections: ")));
    });
}

TEST(CommandDoctor, FindsAManagerThatDoesNotAnswer) {
    TApplication manager("ZELTO_DISPATCHER", TApplication::SILENT);
    const auto result = RunZelto({"doctor", "-t", "1"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(LinesOf(result.output),
                Contains(StartsWith("bad call: no answer within 1 s; a handler may hang")));
}

TEST(CommandDoctor, MissesTheBus) {
    BothWays([](bool isOnTerminal) {
        const auto result = RunZelto({"doctor", "--bus", "unix:path=/nonexistent/bus"}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(
            result.output,
            MatchesRegex("bad bus: no bus at unix:path=/nonexistent/bus: .*; start dbus-daemon, or name its "
                         "address with --bus\n"));
    });
    const auto document = RunZelto({"doctor", "-j", "--bus", "nonsense"});
    EXPECT_EQ(document.exitCode, 3);
    EXPECT_TRUE(TZeltoJsonObject().DecodeFromString(document.output)) << document.output;
}

TEST(CommandDoctor, FindsABusThatHangs) {
    TBusEnvironment::Bus().Hang();
    const auto result = RunZelto({"doctor"});
    TBusEnvironment::Bus().Resume();
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.output, HasSubstr(": no answer within 5 s; "));
}

TEST(CommandDoctor, TellsThatItCannotWrite) {
    const auto result = cli::RunShell("zelto doctor >/dev/full");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: cannot write to standard output: No space left on device\n");
}

TEST(CommandDoctor, WarnsBeforeThereAreTooManyConnections) {
    std::vector<TConnection> connections;
    for (int i = 0; i < 210; ++i) {
        connections.push_back(Connect());
    }
    const auto lines = LinesOf(RunZelto({"doctor"}).output);
    EXPECT_THAT(lines,
                Contains(MatchesRegex("warning connections: .* 2[0-9][0-9] of 256 of user .* \\(stock "
                                      "limits\\); raise max_connections_per_user in the configuration of "
                                      "the bus")));
}

struct TFileCase {
    const char* title;
    const char* content;
    const char* fault;
};

class RefusedIndexMap : public testing::TestWithParam<TFileCase> {};
TEST_P(RefusedIndexMap, IsFound) {
    TGateway gateway;
    support::TTempDir directory;
    const std::string path = directory.Write("map.json", GetParam().content);
    const auto result = RunZelto({"doctor", "--index-map", path});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(LinesOf(result.output), Contains("bad index-map: " + path + GetParam().fault +
                                                 "; the manager keeps its built-in tables until the file is "
                                                 "mended and it is started anew"));
}

INSTANTIATE_TEST_SUITE_P(
    Files, RefusedIndexMap,
    testing::Values(
        TFileCase{"Empty", "", " cannot be read or is no JSON document"},
        TFileCase{"NoJson", "{", " cannot be read or is no JSON document"},
        TFileCase{"NoNumber", R"({"DATA_MODELS": [{"NAME": "Device.A.", "INDEX_MAP": [{"1": "x"}]}]})",
                  " is refused: Device.A.: \"x\" is no number"},
        TFileCase{"TwoPairs",
                  R"({"DATA_MODELS": [{"NAME": "Device.A.", "INDEX_MAP": [{"1": "1", "2": "2"}]}]})",
                  " is refused: Device.A.: an element is no single pair of numbers"},
        TFileCase{"TooManyTables", R"({"DATA_MODELS": [{}, {}, {}, {}, {}]})",
                  " is refused: more than 4 tables"}),
    [](const auto& tested) { return tested.param.title; });

TEST(CommandDoctor, FindsNoIndexMapFile) {
    const auto result = RunZelto({"doctor", "--index-map", "/nonexistent"});
    EXPECT_THAT(LinesOf(result.output), Contains(StartsWith("bad index-map: /nonexistent cannot be read")));
}

TEST(CommandDoctor, ComparesTheIndexMapFileWithWhatIsServed) {
    TGateway gateway;
    support::TTempDir directory;
    const std::string served =
        directory.Write("served.json", FileOf(gateway.Request("GET_INDEX_MAP", "").text));
    auto result = RunZelto({"doctor", "--index-map", served});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(LinesOf(result.output),
                Contains("ok index-map: " + served + " is valid and is what the manager serves"));
    const std::string other = directory.Write("other.json", R"({"DATA_MODELS": []})");
    result = RunZelto({"doctor", "--index-map", other});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(LinesOf(result.output), Contains("warning index-map: " + other +
                                                 " is valid but is not what the manager serves; start the "
                                                 "manager anew, with this file"));
}

TEST(CommandDoctor, RefusesWhatIsTooMuch) {
    const auto result = RunZelto({"doctor", "x"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errors, "zelto: The following argument was not expected: x (--help tells more)\n");
}
