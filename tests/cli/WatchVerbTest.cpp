// watch: patterns, ends and JSON.

#include "cli/Golden.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

#include <csignal>

using cli::BothWays;
using cli::TLine;
using support::Eventually;
using support::TChildProcess;
using testing::MatchesRegex;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";
const std::string ENABLE_1 = "Device.WiFi.SSID.1.Enable";
const std::string TIME = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\\.[0-9]{3}Z";

// Listens from the moment when it has its name.
class TWatcher {
public:
    TWatcher(e2e::TGateway& gateway, const TLine& arguments, bool isOnTerminal = false) {
        TLine command = {ZELTO_COMMAND_PATH, "--as", "WATCHER", "watch"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        TChildProcess::TOptions options;
        options.isOnTerminals = isOnTerminal;
        process = std::make_unique<TChildProcess>(command, options);
        EXPECT_TRUE(Eventually(
            [&] { return e2e::Owns(gateway.Client(), process->Pid(), "com.Ulmet.Zelto.WATCHER"); }));
    }

    TChildProcess& Process() { return *process; }

private:
    std::unique_ptr<TChildProcess> process;
};

} // namespace

TEST(Watch, EndsAfterSoManyEvents) {
    BothWays([](bool isOnTerminal) {
        e2e::TGateway gateway;
        TWatcher watcher(gateway, {"-n", "2"}, isOnTerminal);
        for (const char* value : {"a", "b", "c"}) {
            ASSERT_EQ(gateway.Set(SSID_1, value), 0);
        }
        EXPECT_EQ(watcher.Process().WaitForExit(), 0);
        EXPECT_THAT(watcher.Process().Output(),
                    MatchesRegex(TIME + " DATA_MODEL_CHANGED Device\\.WiFi\\.SSID\\.1\\.SSID=a\n" + TIME +
                                 " DATA_MODEL_CHANGED Device\\.WiFi\\.SSID\\.1\\.SSID=b\n"));
        EXPECT_EQ(watcher.Process().Errors(), "");
    });
}

TEST(Watch, PrintsWhatMatchesAPattern) {
    e2e::TGateway gateway;
    TWatcher watcher(gateway, {"-n", "2", "Device.WiFi.*.Enable", "LUN*"});
    ASSERT_EQ(gateway.Set(SSID_1, "a"), 0);
    ASSERT_EQ(gateway.Set(ENABLE_1, "false"), 0);
    ASSERT_EQ(cli::RunZelto({"emit", "DINNER", "x"}).exitCode, 0);
    ASSERT_EQ(cli::RunZelto({"emit", "LUNCH", "x"}).exitCode, 0);
    EXPECT_EQ(watcher.Process().WaitForExit(), 0);
    EXPECT_THAT(watcher.Process().Output(),
                MatchesRegex(TIME + " DATA_MODEL_CHANGED Device\\.WiFi\\.SSID\\.1\\.Enable=false\n" + TIME +
                             " LUNCH x\n"));
}

TEST(Watch, EndsInTime) {
    e2e::TGateway gateway;
    const auto none = cli::RunZelto({"-j", "watch", "--for", "1"});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_EQ(none.output, "{\"EVENTS\": []}\n");
    EXPECT_EQ(none.errors, "");
    const auto fewer = cli::RunZelto({"watch", "--for", "1", "-n", "1"});
    EXPECT_EQ(fewer.exitCode, 5);
    EXPECT_EQ(fewer.output, "");
    EXPECT_EQ(fewer.errors, "zelto: watch: fewer events than 1 within 1 s\n");
}

TEST(Watch, CompletesTheDocumentAtASignal) {
    e2e::TGateway gateway;
    TWatcher watcher(gateway, {"-j"});
    ASSERT_EQ(gateway.Set(SSID_1, "a"), 0);
    ASSERT_TRUE(watcher.Process().WaitForOutput("}"));
    watcher.Process().Signal(SIGINT);
    EXPECT_EQ(watcher.Process().WaitForExit(), 130);
    EXPECT_THAT(
        watcher.Process().Output(),
        MatchesRegex("\\{\"EVENTS\": \\[\n\\{\"TIME\": \"" + TIME +
                     "\", \"EVENT\": \"DATA_MODEL_CHANGED\", \"DATA_MODEL_NAME\": "
                     "\"Device\\.WiFi\\.SSID\\.1\\.SSID\", \"DATA_MODEL_VALUE\": \"a\"\\}\n\\]\\}\n"));
}

TEST(Watch, PrintsAnEventThatIsNoJson) {
    e2e::TGateway gateway;
    TWatcher watcher(gateway, {"-J", "-n", "1"});
    ASSERT_EQ(cli::RunZelto({"emit", "LUNCH", "soup\n"}).exitCode, 0);
    EXPECT_EQ(watcher.Process().WaitForExit(), 0);
    EXPECT_THAT(
        watcher.Process().Output(),
        MatchesRegex("\\{\"TIME\": \"" + TIME + "\", \"EVENT\": \"LUNCH\", \"DATA\": \"soup\\\\n\"\\}\n"));
}
