// zelto watch.

#include "e2e/Programs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

using e2e::TGateway;
using support::Eventually;
using support::TChildProcess;
using testing::MatchesRegex;

namespace {

// It listens from the moment when it has its name.
void WaitForWatcher(TGateway& gateway, const TChildProcess& watcher) {
    std::string name = "com.Ulmet.Zelto.ZELTO_CLI_" + std::to_string(watcher.Pid());
    ASSERT_TRUE(Eventually([&gateway, &name] { return gateway.Client().HasOwner(name); }));
}

} // namespace

TEST(CommandWatch, PrintsAChangeInOneLineWithItsTime) {
    TGateway gateway;
    TChildProcess watcher({ZELTO_COMMAND_PATH, "watch"});
    WaitForWatcher(gateway, watcher);
    ASSERT_EQ(gateway.Set("Device.WiFi.SSID.1.SSID", "Home\\nSweet"), 0);
    ASSERT_TRUE(watcher.WaitForOutput("\n")) << watcher.Errors();
    EXPECT_THAT(watcher.Output(), MatchesRegex("[0-9-]{10}T[0-9:]{8}\\.[0-9]{3}Z DATA_MODEL_CHANGED "
                                               "Device\\.WiFi\\.SSID\\.1\\.SSID=Home\\\\nSweet\n"));
}

TEST(CommandWatch, PrintsClientsAndUnknownEvents) {
    TGateway gateway;
    TChildProcess watcher({ZELTO_COMMAND_PATH, "watch"});
    WaitForWatcher(gateway, watcher);
    gateway.Client().Signal(
        {"", e2e::MANAGER_PATH, e2e::INTERFACE, "CLIENT_CONNECTED"},
        support::TRawArguments{std::string(R"({"MAC_ADDRESS": "aa:bb", "HOST_NAME": "pc"})")});
    gateway.Client().Signal({"", e2e::MANAGER_PATH, e2e::INTERFACE, "SOMETHING"},
                            support::TRawArguments{std::string("else")});
    ASSERT_TRUE(watcher.WaitForOutput("else\n"));
    EXPECT_THAT(watcher.Output(), MatchesRegex(".* CLIENT_CONNECTED aa:bb pc\n.* SOMETHING else\n"));
}

TEST(CommandWatch, EndsWithTheCodeOfTheSignal) {
    TGateway gateway;
    for (int number : {SIGTERM, SIGINT}) {
        TChildProcess watcher({ZELTO_COMMAND_PATH, "watch"});
        WaitForWatcher(gateway, watcher);
        watcher.Signal(number);
        EXPECT_EQ(watcher.WaitForExit(), 128 + number);
    }
}

TEST(CommandWatch, MayRunTwiceAtOnce) {
    TGateway gateway;
    TChildProcess first({ZELTO_COMMAND_PATH, "watch"});
    TChildProcess second({ZELTO_COMMAND_PATH, "watch"});
    WaitForWatcher(gateway, first);
    WaitForWatcher(gateway, second);
    ASSERT_EQ(gateway.Set("Device.WiFi.SSID.1.Enable", "false"), 0);
    EXPECT_TRUE(first.WaitForOutput("Enable=false\n"));
    EXPECT_TRUE(second.WaitForOutput("Enable=false\n"));
}

TEST(CommandWatch, GoesOnAfterTheBusCameBack) {
    TGateway gateway;
    TChildProcess watcher({ZELTO_COMMAND_PATH, "watch"});
    WaitForWatcher(gateway, watcher);
    support::TBusEnvironment::Bus().Restart();
    support::TRawPeer client(support::TBusEnvironment::Bus().Address());
    std::string name = "com.Ulmet.Zelto.ZELTO_CLI_" + std::to_string(watcher.Pid());
    ASSERT_TRUE(
        Eventually([&client, &name] { return client.HasOwner(name) && client.HasOwner(e2e::MANAGER_NAME); }));
    ASSERT_EQ(e2e::RunCommand({"set", "Device.WiFi.SSID.2.Enable=true"}).exitCode, 0);
    EXPECT_TRUE(watcher.WaitForOutput("Device.WiFi.SSID.2.Enable=true\n"));
}
