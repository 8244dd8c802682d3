// How the manager starts and ends.

#include "e2e/Programs.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

using support::Eventually;
using support::TBusEnvironment;
using support::TChildProcess;
using support::TPrivateBus;
using support::TRawPeer;
using support::TTempDir;

namespace {

// Some tests here have further buses, so each process is told its own.
TChildProcess::TOptions OnBus(const std::string& address, const std::string& temporaryDirectory = "/tmp") {
    return {{{"DBUS_SYSTEM_BUS_ADDRESS", address}, {"TMPDIR", temporaryDirectory}}};
}

TChildProcess::TOptions OnBus() {
    return OnBus(TBusEnvironment::Bus().Address());
}

void WaitForManager(const TChildProcess& gateway, const std::string& address) {
    TRawPeer peer(address);
    ASSERT_TRUE(Eventually([&peer, &gateway] { return e2e::Owns(peer, gateway.Pid(), e2e::MANAGER_NAME); }));
}

} // namespace

class GatewayEnds : public testing::TestWithParam<int> {};

TEST_P(GatewayEnds, WithZeroAndWithoutItsDirectoryOnASignal) {
    TTempDir directory;
    TChildProcess gateway({ZELTO_GATEWAY_PATH, "--state-dir", directory.File("state")}, OnBus());
    ASSERT_TRUE(gateway.WaitForErrors("zelto-gateway: ready"));
    gateway.Signal(GetParam());
    EXPECT_EQ(gateway.WaitForExit(), 0) << gateway.Errors();
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

INSTANTIATE_TEST_SUITE_P(Signals, GatewayEnds, testing::Values(SIGTERM, SIGINT), [](const auto& testCase) {
    return testCase.param == SIGTERM ? "Term" : "Interrupt";
});

TEST(GatewayState, IsInATemporaryDirectoryOfItsOwnByDefault) {
    TTempDir directory;
    TChildProcess gateway({ZELTO_GATEWAY_PATH}, OnBus(TBusEnvironment::Bus().Address(), directory.Path()));
    WaitForManager(gateway, TBusEnvironment::Bus().Address());
    EXPECT_FALSE(std::filesystem::is_empty(directory.Path()));
    gateway.Signal(SIGTERM);
    EXPECT_EQ(gateway.WaitForExit(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

TEST(GatewayState, LeavesADirectoryThatWasThereAndItsFiles) {
    TTempDir directory;
    directory.Write("mine", "kept");
    TChildProcess gateway({ZELTO_GATEWAY_PATH, "--state-dir", directory.Path()}, OnBus());
    WaitForManager(gateway, TBusEnvironment::Bus().Address());
    EXPECT_TRUE(Eventually([&directory] { return !directory.Read("started").empty(); }))
        << "the helper script did not run";
    EXPECT_NE(directory.Read("index_map.json"), "");
    gateway.Signal(SIGTERM);
    EXPECT_EQ(gateway.WaitForExit(), 0);
    EXPECT_EQ(directory.Read("mine"), "kept");
    EXPECT_EQ(directory.Read("started"), "");
    EXPECT_EQ(directory.Read("index_map.json"), "");
}

TEST(GatewayStart, WaitsForABusThatIsNotThereYet) {
    TPrivateBus bus;
    bus.Kill();
    TChildProcess gateway({ZELTO_GATEWAY_PATH}, OnBus(bus.Address()));
    ASSERT_TRUE(gateway.WaitForErrors("waiting for the bus"));
    bus.Restart();
    WaitForManager(gateway, bus.Address());
    gateway.Signal(SIGTERM);
    EXPECT_EQ(gateway.WaitForExit(), 0);
}

TEST(GatewayStart, EndsOnASignalWhileItWaitsForTheBus) {
    TChildProcess gateway({ZELTO_GATEWAY_PATH}, OnBus("unix:path=/nonexistent/bus"));
    ASSERT_TRUE(gateway.WaitForErrors("waiting for the bus"));
    gateway.Signal(SIGTERM);
    EXPECT_EQ(gateway.WaitForExit(), 0);
}

TEST(GatewayStart, FailsWithThreeWhenItsDirectoryCannotBeMade) {
    auto result = support::RunProgram({ZELTO_GATEWAY_PATH, "--state-dir", "/nonexistent/state"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.errors.find("/nonexistent/state"), std::string::npos) << result.errors;
}

TEST(GatewayStart, FailsWithTwoOnAWrongCommandLine) {
    EXPECT_EQ(support::RunProgram({ZELTO_GATEWAY_PATH, "--no-such-option"}).exitCode, 2);
    EXPECT_EQ(support::RunProgram({ZELTO_GATEWAY_PATH, "--log-level", "8"}).exitCode, 2);
}

TEST(GatewayStart, TellsItsVersion) {
    auto result = support::RunProgram({ZELTO_GATEWAY_PATH, "--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output.substr(0, 14), "zelto-gateway ");
}

TEST(GatewayBus, IsServedAgainWhenItComesBack) {
    TPrivateBus bus;
    TChildProcess gateway({ZELTO_GATEWAY_PATH}, OnBus(bus.Address()));
    WaitForManager(gateway, bus.Address());
    bus.Restart();
    WaitForManager(gateway, bus.Address());
    TRawPeer client(bus.Address());
    auto reply = client.Call({e2e::MANAGER_NAME, e2e::MANAGER_PATH, e2e::INTERFACE, "GET_PARAM"},
                             support::TRawArguments{R"({"NAME": "Device.WiFi.SSID.1.SSID"})"});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->Int(1), 0);
    gateway.Signal(SIGTERM);
    EXPECT_EQ(gateway.WaitForExit(), 0);
}
