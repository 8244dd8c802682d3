#include "PlainIpc.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <limits>

using namespace plain;

namespace {

constexpr int32_t MOST = std::numeric_limits<int32_t>::max();
constexpr int32_t LEAST = std::numeric_limits<int32_t>::min();

TZeltoIpc::TZeltoIpcSettings SettingsOf(const TZeltoIpc& ipc) {
    TZeltoIpc::TZeltoIpcSettings settings{-5, -5, true};
    ipc.GetSettings(settings);
    return settings;
}

std::string ServerOf(const TZeltoIpc& ipc, const std::string& method) {
    std::string server = "before";
    ipc.GetMethodServerId(method, server);
    return server;
}

} // namespace

TEST(Construction, LeavesEverythingAtItsInitialValue) {
    const TPlainIpc ipc;
    EXPECT_FALSE(ipc.running);
    EXPECT_FALSE(ipc.monitor);
    EXPECT_EQ("", ipc.identity);
    EXPECT_EQ(60000, ipc.methodTimeoutMs);
    EXPECT_EQ(1, ipc.threadCount);
    EXPECT_TRUE(ipc.threads.empty());
    EXPECT_EQ(0, ipc.GetEventListenersNumber());
    EXPECT_TRUE(LogSpy::Messages().empty());
}

TEST(PresenceEvents, HaveTheirNames) {
    EXPECT_EQ("APP_CONNECTED", TZeltoIpc::ON_APP_CONNECTED_EVENT);
    EXPECT_EQ("APP_DISCONNECTED", TZeltoIpc::ON_APP_DISCONNECTED_EVENT);
}

TEST(Init, TakesTheIdentity) {
    TPlainIpc ipc;
    ipc.Init("ZELTO_MANAGER");
    EXPECT_EQ("ZELTO_MANAGER", ipc.identity);
    ipc.Init("OTHER");
    EXPECT_EQ("OTHER", ipc.identity);
}

TEST(GetSettings, ReportsTheInitialSettings) {
    const TPlainIpc ipc;
    const TZeltoIpc::TZeltoIpcSettings settings = SettingsOf(ipc);
    EXPECT_EQ(1, settings.threadCount);
    EXPECT_EQ(60, settings.methodTimeout);
    EXPECT_FALSE(settings.monitor);
}

TEST(Configure, IsReportedByGetSettings) {
    TPlainIpc ipc;
    ipc.Configure({3, 5, true});
    const TZeltoIpc::TZeltoIpcSettings settings = SettingsOf(ipc);
    EXPECT_EQ(3, settings.threadCount);
    EXPECT_EQ(5, settings.methodTimeout);
    EXPECT_TRUE(settings.monitor);
    EXPECT_EQ(5000, ipc.methodTimeoutMs);
}

TEST(Configure, MaySwitchTheMonitorOffAgain) {
    TPlainIpc ipc;
    ipc.Configure({1, 5, true});
    ipc.Configure({1, 5, false});
    EXPECT_FALSE(SettingsOf(ipc).monitor);
}

struct TTimeoutCase {
    int32_t seconds;
    int32_t milliseconds;
    int32_t reported;
};

class MethodTimeout : public testing::TestWithParam<TTimeoutCase> {};

TEST_P(MethodTimeout, SaturatesInMilliseconds) {
    TPlainIpc ipc;
    ipc.Configure({1, GetParam().seconds, false});
    EXPECT_EQ(GetParam().milliseconds, ipc.methodTimeoutMs);
    EXPECT_EQ(GetParam().reported, SettingsOf(ipc).methodTimeout);
}

INSTANTIATE_TEST_SUITE_P(
    Bounds, MethodTimeout,
    testing::Values(TTimeoutCase{0, 0, 0}, TTimeoutCase{1, 1000, 1}, TTimeoutCase{-1, -1000, -1},
                    TTimeoutCase{2147483, 2147483000, 2147483}, TTimeoutCase{2147484, MOST, 2147483},
                    TTimeoutCase{MOST, MOST, 2147483}, TTimeoutCase{-2147484, LEAST, -2147483},
                    TTimeoutCase{LEAST, LEAST, -2147483}));

TEST(MethodSettings, BeginWithoutAServerAndWithoutATimeout) {
    const TZeltoIpc::TMethodSettings settings;
    EXPECT_EQ("", settings.serverId);
    EXPECT_EQ(0, settings.timeout);
}

TEST(GetMethodServerId, LeavesOutputUnchangedWhenTableIsEmpty) {
    const TPlainIpc ipc;
    EXPECT_EQ("before", ServerOf(ipc, "GET"));
}

TEST(GetMethodServerId, GivesTheServerOfTheMethod) {
    TPlainIpc ipc;
    ipc.SetMethodServerId("GET", "SERVER");
    EXPECT_EQ("SERVER", ServerOf(ipc, "GET"));
}

TEST(GetMethodServerId, GivesTheServerOfTheAsteriskToEveryOtherMethod) {
    TPlainIpc ipc;
    ipc.SetMethodServerId("*", "ANY");
    ipc.SetMethodServerId("SET", "SETTER");
    EXPECT_EQ("ANY", ServerOf(ipc, "GET"));
    EXPECT_EQ("ANY", ServerOf(ipc, ""));
    EXPECT_EQ("ANY", ServerOf(ipc, "*"));
    EXPECT_EQ("SETTER", ServerOf(ipc, "SET"));
}

TEST(GetMethodServerId, EmptiesTheOutputWhenTheTableHasNeitherMethodNorAsterisk) {
    TPlainIpc ipc;
    ipc.SetMethodServerId("SET", "SETTER");
    EXPECT_EQ("", ServerOf(ipc, "GET"));
}

TEST(GetMethodServerId, GivesAnEmptyServerThatWasSetSo) {
    TPlainIpc ipc;
    ipc.SetMethodServerId("*", "ANY");
    ipc.SetMethodServerId("GET", "");
    EXPECT_EQ("", ServerOf(ipc, "GET"));
}

TEST(SetMethodServerId, OverwritesAnEarlierServer) {
    TPlainIpc ipc;
    ipc.SetMethodServerId("GET", "FIRST");
    ipc.SetMethodServerId("GET", "SECOND");
    EXPECT_EQ("SECOND", ServerOf(ipc, "GET"));
}
