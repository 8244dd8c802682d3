// What the command says and how it ends when the bus, the manager or the time is missing.

#include "cli/Golden.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

#include <csignal>

using cli::BothWays;
using cli::RunZelto;
using cli::TLine;
using support::TBusEnvironment;
using support::TChildProcess;
using support::TRawPeer;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";

// A command for each verb that asks the manager, and how its messages begin.
const std::vector<std::pair<TLine, std::string>> QUESTIONS = {
    {{"get", "Device.A"}, "get Device.A"},
    {{"get", "Device.A", "Device.B"}, "get Device.A and 1 more"},
    {{"get", "--long", "Device.A"}, "get Device.A"},
    {{"set", "Device.A=1"}, "set Device.A"},
    {{"set", "Device.A=1", "Device.B=1", "Device.C=1"}, "set Device.A and 2 more"},
    {{"set", "--long", "Device.A=1"}, "set Device.A"},
    {{"set", "--dry-run", "Device.A=1"}, "set Device.A"},
    {{"getobj", "Device.A.", "B"}, "getobj Device.A."},
    {{"setobj", "Device.A.", "B=1"}, "setobj Device.A."},
    {{"add", "Device.A."}, "add Device.A."},
    {{"del", "Device.A.1."}, "del Device.A.1."},
    {{"ls", "Device.A."}, "ls Device.A."},
    {{"map"}, "map"},
    {{"call", "SING"}, "call SING"}};

// A party that has the manager's name and does what a test says.
class TScriptedManager {
public:
    TScriptedManager() : peer(std::make_unique<TRawPeer>(TBusEnvironment::Bus().Address())) {
        EXPECT_NE(peer->OwnName(e2e::MANAGER_NAME), 0U);
    }

    // Waits until it is called.
    bool WaitForCall(const std::string& method) {
        return peer->WaitFor([&method](const auto& message) { return message.member == method; }).has_value();
    }
    void Die() { peer.reset(); }

private:
    std::unique_ptr<TRawPeer> peer;
};

std::unique_ptr<TChildProcess> Start(const TLine& arguments, bool isOnTerminal) {
    TLine command = {ZELTO_COMMAND_PATH};
    command.insert(command.end(), arguments.begin(), arguments.end());
    TChildProcess::TOptions options;
    options.isOnTerminals = isOnTerminal;
    return std::make_unique<TChildProcess>(command, options);
}

} // namespace

TEST(WithoutManager, EveryQuestionEndsWithFour) {
    BothWays([](bool isOnTerminal) {
        for (const auto& [arguments, prefix] : QUESTIONS) {
            const auto result = RunZelto(arguments, isOnTerminal);
            EXPECT_EQ(result.exitCode, 4) << prefix;
            EXPECT_EQ(result.output, "") << prefix;
            EXPECT_EQ(result.errors, "zelto: " + prefix + ": there is no manager on the bus\n");
        }
    });
}

TEST(WithoutManager, ARollBackIsNotBegun) {
    const auto result = RunZelto({"set", "--rollback", "Device.A=1"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.errors,
              "zelto: set Device.A: there is no manager on the bus\nzelto: set: nothing is changed\n");
}

TEST(WithoutBus, EveryQuestionEndsWithThree) {
    const std::string reason = "dbus_bus_get_private - Failed to connect to socket /nonexistent/bus";
    BothWays([&reason](bool isOnTerminal) {
        for (const auto& [arguments, prefix] : QUESTIONS) {
            TLine line = {"--bus", "unix:path=/nonexistent/bus"};
            line.insert(line.end(), arguments.begin(), arguments.end());
            const auto result = RunZelto(line, isOnTerminal);
            EXPECT_EQ(result.exitCode, 3) << prefix;
            EXPECT_EQ(result.output, "") << prefix;
            EXPECT_THAT(result.errors, StartsWith("zelto: " + prefix + ": " + reason));
        }
    });
}

TEST(WithoutBus, WatchEmitAndAnIdentityEndWithThree) {
    for (const TLine& verb :
         {TLine{"watch"}, TLine{"emit", "A", "{}"}, TLine{"--as", "ME", "get", "Device.A"}}) {
        TLine line = {"--bus", "unix:path=/nonexistent/bus"};
        line.insert(line.end(), verb.begin(), verb.end());
        const auto result = RunZelto(line);
        EXPECT_EQ(result.exitCode, 3) << verb[0];
        EXPECT_THAT(result.errors, HasSubstr("Failed to connect")) << verb[0];
    }
}

TEST(WithoutAnswer, TheCommandEndsWithFive) {
    const TScriptedManager manager;
    BothWays([](bool isOnTerminal) {
        const auto result = RunZelto({"-t", "1", "get", SSID_1}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 5);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, "zelto: get Device.WiFi.SSID.1.SSID: no answer within 1 s\n");
    });
}

TEST(WithoutAnswer, ALongWaitIsToldOnATerminalOnly) {
    const TScriptedManager manager;
    const std::string end = "zelto: get Device.WiFi.SSID.1.SSID: no answer within 3 s\n";
    const auto onTerminal = RunZelto({"-t", "3", "get", SSID_1}, true);
    EXPECT_EQ(onTerminal.exitCode, 5);
    EXPECT_EQ(onTerminal.errors, "zelto: waiting for the manager, at most 3 s\n" + end);
    const auto withoutTerminal = RunZelto({"-t", "3", "get", SSID_1}, false);
    EXPECT_EQ(withoutTerminal.exitCode, 5);
    EXPECT_EQ(withoutTerminal.errors, end);
}

TEST(ManagerThatDies, EndsTheCommandWithFour) {
    BothWays([](bool isOnTerminal) {
        TScriptedManager manager;
        const auto command = Start({"set", "Device.A=1"}, isOnTerminal);
        ASSERT_TRUE(manager.WaitForCall("SET_PARAM"));
        manager.Die();
        EXPECT_EQ(command->WaitForExit(), 4);
        EXPECT_EQ(command->Errors(), "zelto: set Device.A: there is no manager on the bus\n");
    });
}

TEST(BusThatDies, EndsTheCommandWithThree) {
    BothWays([](bool isOnTerminal) {
        TScriptedManager manager;
        const auto command = Start({"get", "Device.A"}, isOnTerminal);
        ASSERT_TRUE(manager.WaitForCall("GET_PARAM"));
        TBusEnvironment::Bus().Kill();
        EXPECT_EQ(command->WaitForExit(), 3);
        EXPECT_EQ(command->Errors(), "zelto: get Device.A: the bus is gone\n");
        TBusEnvironment::Bus().Restart();
    });
}

TEST(Signal, EndsAWaitWithItsNumber) {
    for (const int number : {SIGINT, SIGTERM}) {
        BothWays([number](bool isOnTerminal) {
            TScriptedManager manager;
            const auto command = Start({"get", "Device.A"}, isOnTerminal);
            ASSERT_TRUE(manager.WaitForCall("GET_PARAM"));
            command->Signal(number);
            EXPECT_EQ(command->WaitForExit(), 128 + number);
            EXPECT_EQ(command->Output() + command->Errors(), "");
        });
    }
}

TEST(TwoAtOnce, DoNotDisturbEachOther) {
    e2e::TGateway gateway;
    std::vector<std::unique_ptr<TChildProcess>> commands;
    for (int i = 0; i < 8; ++i) {
        commands.push_back(Start({"get", SSID_1}, false));
    }
    for (const auto& command : commands) {
        EXPECT_EQ(command->WaitForExit(), 0) << command->Errors();
        EXPECT_EQ(command->Output(), "Device.WiFi.SSID.1.SSID=Ulmet\n");
    }
}

TEST(Identity, IsHeldWhileTheCommandRuns) {
    TScriptedManager manager;
    TRawPeer observer(TBusEnvironment::Bus().Address());
    const auto command = Start({"--as", "ZELTO_KESTA", "get", "Device.A"}, false);
    ASSERT_TRUE(manager.WaitForCall("GET_PARAM"));
    EXPECT_TRUE(e2e::Owns(observer, command->Pid(), "com.Ulmet.Zelto.ZELTO_KESTA"));
}
