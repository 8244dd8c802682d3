// The command on buses whose policies let it do some things and not others. The policies hold for every user,
// so that no other user is needed.

#include "cli/Golden.h"
#include "install/PolicyBus.h"

#include <gmock/gmock.h>

using cli::TLine;
using support::TChildProcess;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";
const std::string MANAGER = "com.Ulmet.Zelto.ZELTO_DISPATCHER";
const std::string DENIED = ": denied by the policy of the bus: ";

// Lets everybody own the manager's name and nobody any other.
std::string Policy(const std::string& rules) {
    return "<busconfig><policy context=\"mandatory\"><allow own=\"" + MANAGER +
           "\"/><allow send_destination=\"" + MANAGER + "\"/>" + rules + "</policy></busconfig>\n";
}

class CommandUnderPolicy : public testing::Test {
protected:
    void StartBus(const std::string& rules) {
        bus = std::make_unique<policy::TPolicyBus>(directory.Write("policy.conf", Policy(rules)));
        manager = std::make_unique<TChildProcess>(
            TLine{ZELTO_GATEWAY_PATH, "--state-dir", directory.File("state")}, Options());
        ASSERT_TRUE(support::Eventually([this] { return Run({"map"}).exitCode != 4; })) << manager->Errors();
    }

    TChildProcess::TOptions Options() const {
        TChildProcess::TOptions options;
        options.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", bus->Address()}};
        return options;
    }

    support::TRunResult Run(const TLine& arguments, bool isOnTerminal = false) const {
        TLine command = {ZELTO_COMMAND_PATH};
        command.insert(command.end(), arguments.begin(), arguments.end());
        TChildProcess::TOptions options = Options();
        options.isOnTerminals = isOnTerminal;
        return support::RunProgram(command, options);
    }

    support::TTempDir directory;
    std::unique_ptr<policy::TPolicyBus> bus;
    std::unique_ptr<TChildProcess> manager;
};

} // namespace

TEST_F(CommandUnderPolicy, GetsAndSetsWithoutBeingGrantedAName) {
    StartBus("");
    EXPECT_EQ(Run({"set", SSID_1 + "=Home"}).exitCode, 0);
    const auto result = Run({"get", SSID_1});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, SSID_1 + "=Home\n");
}

TEST_F(CommandUnderPolicy, EndsWithEightWhenItNeedsANameAndGetsNone) {
    StartBus("");
    cli::BothWays([this](bool isOnTerminal) {
        for (const TLine& line : {TLine{"watch"}, TLine{"--as", "ZELTO_KESTA", "get", SSID_1}}) {
            const auto result = Run(line, isOnTerminal);
            EXPECT_EQ(result.exitCode, 8);
            EXPECT_EQ(result.output, "");
            EXPECT_THAT(result.errors, StartsWith("zelto: cannot be on the bus as ZELTO_"));
            EXPECT_THAT(result.errors, HasSubstr("not allowed to own the service"));
        }
    });
}

TEST_F(CommandUnderPolicy, EndsWithEightForTheRequestsThatAreDenied) {
    StartBus("<deny send_interface=\"com.Ulmet.Zelto.Zelto\" send_member=\"SET_PARAM\"/>");
    EXPECT_EQ(Run({"get", SSID_1}).exitCode, 0);
    const auto result = Run({"set", SSID_1 + "=Home"});
    EXPECT_EQ(result.exitCode, 8);
    EXPECT_THAT(result.errors, StartsWith("zelto: set " + SSID_1 + DENIED + "Rejected send message"));
}

TEST_F(CommandUnderPolicy, EndsWithEightWhenItMayAskNothing) {
    StartBus("<deny send_interface=\"com.Ulmet.Zelto.Zelto\" send_type=\"method_call\"/>");
    cli::BothWays([this](bool isOnTerminal) {
        const auto result = Run({"get", SSID_1, "Device.X"}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 8);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, StartsWith("zelto: get " + SSID_1 + " and 1 more" + DENIED));
    });
}

TEST_F(CommandUnderPolicy, EndsWithEightForAStrangerUnderOurOwn) {
    if (!policy::Obstacle().empty()) {
        GTEST_SKIP() << policy::Obstacle();
    }
    // The manager belongs to another user, so root is a stranger.
    bus = std::make_unique<policy::TPolicyBus>(OTHER_MANAGER_POLICY);
    const auto peer = bus->ConnectAs(policy::OTHER_MANAGER);
    ASSERT_NE(peer->OwnName(MANAGER), 0U);
    EXPECT_EQ(Run({"get", SSID_1}).exitCode, 8);
    EXPECT_EQ(Run({"set", SSID_1 + "=x"}).exitCode, 8);
    EXPECT_EQ(Run({"watch"}).exitCode, 8);
}

TEST_F(CommandUnderPolicy, EndsWithEightWhenItMayNotMonitor) {
    StartBus("<deny send_interface=\"org.freedesktop.DBus.Monitoring\"/>");
    cli::BothWays([this](bool isOnTerminal) {
        const auto result = Run({"trace"}, isOnTerminal);
        EXPECT_EQ(result.exitCode, 8);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, StartsWith("zelto: trace: denied by the policy of the bus: Rejected"));
    });
}

TEST_F(CommandUnderPolicy, TellsWhoIsThereWithoutBeingGrantedAnything) {
    StartBus("<deny send_interface=\"com.Ulmet.Zelto.Zelto\"/>");
    EXPECT_EQ(Run({"apps"}).exitCode, 0);
    EXPECT_EQ(Run({"wait", "ZELTO_DISPATCHER"}).exitCode, 0);
    const auto result = Run({"ping", "ZELTO_DISPATCHER"});
    EXPECT_EQ(result.exitCode, 8);
    EXPECT_THAT(result.errors, StartsWith("zelto: ping ZELTO_DISPATCHER" + DENIED));
}

TEST_F(CommandUnderPolicy, IsExaminedByTheDoctor) {
    StartBus("");
    const auto noName = Run({"doctor"});
    EXPECT_EQ(noName.exitCode, 8);
    EXPECT_THAT(noName.output,
                HasSubstr("\nbad own: the policy does not let us own com.Ulmet.Zelto.ZELTO_CLI_"));
    EXPECT_THAT(noName.output, HasSubstr("\nok call: "));
    StartBus("<allow own_prefix=\"com.Ulmet.Zelto\"/><deny send_interface=\"com.Ulmet.Zelto.Zelto\"/>");
    const auto noCall = Run({"doctor"});
    EXPECT_EQ(noCall.exitCode, 8);
    EXPECT_THAT(noCall.output, HasSubstr("\nok own: "));
    EXPECT_THAT(noCall.output, HasSubstr("\nbad call: the policy does not let us call the manager; run as "));
}

TEST_F(CommandUnderPolicy, IsNoWorseForTheDoctorWhenOnlyAFewMayLookDeeper) {
    StartBus(
        "<allow own_prefix=\"com.Ulmet.Zelto\"/><deny send_interface=\"org.freedesktop.DBus.Monitoring\"/>"
        "<deny send_interface=\"org.freedesktop.DBus.Debug.Stats\"/>");
    const auto result = Run({"doctor"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output,
                HasSubstr("\nwarning monitor: the bus does not let us monitor; trace as root "));
    EXPECT_THAT(result.output,
                HasSubstr("\nunknown statistics: the bus does not tell its names and match rules: "));
}
