// What the bus lets whom do when it has our policy, with nothing of the library in between.
#include "install/PolicyBus.h"

#include <gtest/gtest.h>

namespace {

using policy::FOREIGN_NAME;
using policy::MEMBER;
using policy::OTHER_MANAGER;
using policy::ROOT;
using policy::STRANGER;
using support::TRawArguments;
using support::TRawMessage;
using support::TRawPeer;

constexpr char MANAGER_NAME[] = "com.Ulmet.Zelto.ZELTO_DISPATCHER";
constexpr char APPLICATION_NAME[] = "com.Ulmet.Zelto.ZELTO_KESTA";
constexpr char PATH[] = "/com/Ulmet/Zelto/ZELTO_DISPATCHER";
constexpr char INTERFACE[] = "com.Ulmet.Zelto.Zelto";
constexpr char EVENT[] = "DATA_MODEL_CHANGED";
constexpr char ACCESS_DENIED[] = "org.freedesktop.DBus.Error.AccessDenied";

constexpr uint32_t OWNER = DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER;
constexpr uint32_t LIBRARY_FLAGS = DBUS_NAME_FLAG_ALLOW_REPLACEMENT | DBUS_NAME_FLAG_REPLACE_EXISTING;

// "ok" for an answer, or the name of the error.
std::string Outcome(const std::optional<TRawMessage>& reply) {
    if (!reply) {
        return "no answer";
    }
    return reply->IsReturn() ? "ok" : reply->errorName;
}

std::string Own(TRawPeer& peer, const std::string& name) {
    const auto reply = peer.Call({DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "RequestName"},
                                 {name, LIBRARY_FLAGS});
    return Outcome(reply) == "ok" && reply->arguments != TRawArguments{OWNER} ? "not owner" : Outcome(reply);
}

std::string Call(TRawPeer& peer, const std::string& destination, const std::string& interface = INTERFACE) {
    return Outcome(peer.Call({destination, PATH, interface, "GET_PARAM"}, {std::string("{}")}));
}

// Everything the peer sent before is with the bus when this returns.
void Settle(TRawPeer& peer) {
    (void)peer.HasOwner(MANAGER_NAME); // only the answer matters
}

bool HasText(const TRawMessage& message, const std::string& text) {
    return message.Text(0) == text;
}

class Policy : public testing::Test {
protected:
    void SetUp() override {
        if (!policy::Obstacle().empty()) {
            GTEST_SKIP() << policy::Obstacle();
        }
        Start(TESTED_POLICY);
    }

    void Start(const char* policyFile, const std::string& settings = "") {
        bus = std::make_unique<policy::TPolicyBus>(policyFile, settings);
        manager = bus->ConnectAs(ROOT);
        member = bus->ConnectAs(MEMBER);
        stranger = bus->ConnectAs(STRANGER);
        for (TRawPeer* peer : {manager.get(), member.get()}) {
            peer->ServeWith([](const TRawMessage&) { return TRawArguments{std::string(), int32_t{0}}; });
            ASSERT_TRUE(peer->AddMatch(std::string("interface='") + INTERFACE + "'"));
        }
    }

    void OwnNames() {
        ASSERT_EQ(Own(*manager, MANAGER_NAME), "ok");
        ASSERT_EQ(Own(*member, APPLICATION_NAME), "ok");
    }

    // Sends a genuine event and gives the texts of all signals that the peer has received when it is there.
    std::vector<std::string> SignalsUntilGenuineOne(TRawPeer& receiver) {
        manager->Signal({"", PATH, INTERFACE, EVENT}, {std::string("genuine")});
        EXPECT_TRUE(receiver.WaitFor([](const TRawMessage& message) { return HasText(message, "genuine"); }));
        std::vector<std::string> texts;
        for (const TRawMessage& message : receiver.Received()) {
            if (message.IsSignal() && message.sender != DBUS_SERVICE_DBUS) {
                texts.push_back(message.Text(0));
            }
        }
        return texts;
    }

    std::unique_ptr<policy::TPolicyBus> bus;
    std::unique_ptr<TRawPeer> manager;
    std::unique_ptr<TRawPeer> member;
    std::unique_ptr<TRawPeer> stranger;
};

TEST_F(Policy, LetsOnlyTheManagersUserOwnTheManagersName) {
    EXPECT_EQ(Own(*member, MANAGER_NAME), ACCESS_DENIED);
    EXPECT_EQ(Own(*stranger, MANAGER_NAME), ACCESS_DENIED);
    EXPECT_EQ(Own(*manager, MANAGER_NAME), "ok");
}

TEST_F(Policy, KeepsTheManagersNameFromBeingReplaced) {
    OwnNames();
    EXPECT_EQ(Own(*member, MANAGER_NAME), ACCESS_DENIED);
    EXPECT_EQ(Own(*stranger, MANAGER_NAME), ACCESS_DENIED);
    ASSERT_EQ(Call(*member, MANAGER_NAME), "ok");
    EXPECT_EQ(manager->Received([](const TRawMessage& message) { return message.IsCall(); }).size(), 1U);
}

TEST_F(Policy, LetsAManagerReplaceAnother) {
    OwnNames();
    const auto successor = bus->ConnectAs(ROOT);
    EXPECT_EQ(Own(*successor, MANAGER_NAME), "ok");
}

TEST_F(Policy, LetsMembersAndTheManagersUserOwnApplicationNames) {
    for (const char* const name : {"com.Ulmet.Zelto.ZELTO_LUMEN", "com.Ulmet.Zelto.any_other"}) {
        EXPECT_EQ(Own(*stranger, name), ACCESS_DENIED) << name;
        EXPECT_EQ(Own(*member, name), "ok") << name;
        EXPECT_EQ(Own(*manager, name), "ok") << name; // replaces the member
    }
}

TEST_F(Policy, OpensNoOtherNames) {
    for (const char* const name : {"com.Ulmet.Zeltor", "com.Ulmet", "com.example.Other"}) {
        EXPECT_EQ(Own(*member, name), ACCESS_DENIED) << name;
        EXPECT_EQ(Own(*manager, name), ACCESS_DENIED) << name;
    }
}

TEST_F(Policy, LetsMembersAndTheManagersUserCallAndGetAnswers) {
    OwnNames();
    const auto nameless = bus->ConnectAs(MEMBER);
    EXPECT_EQ(Call(*nameless, MANAGER_NAME), "ok");
    EXPECT_EQ(Call(*nameless, APPLICATION_NAME), "ok");
    EXPECT_EQ(Call(*manager, APPLICATION_NAME), "ok");
    EXPECT_EQ(Call(*manager, MANAGER_NAME), "ok"); // a party wakes itself with a call
    EXPECT_EQ(Call(*member, APPLICATION_NAME), "ok");
}

TEST_F(Policy, LetsNoStrangerCall) {
    OwnNames();
    for (const std::string& name :
         {std::string(MANAGER_NAME), std::string(APPLICATION_NAME), manager->UniqueName()}) {
        EXPECT_EQ(Call(*stranger, name), ACCESS_DENIED) << name;
        EXPECT_EQ(Call(*stranger, name, ""), ACCESS_DENIED) << name;
        EXPECT_EQ(Call(*stranger, name, "org.freedesktop.DBus.Peer"), ACCESS_DENIED) << name;
    }
    const auto isCall = [](const TRawMessage& message) { return message.IsCall(); };
    EXPECT_TRUE(manager->Received(isCall).empty());
    EXPECT_TRUE(member->Received(isCall).empty());
}

TEST_F(Policy, OpensNoOtherServiceToMembers) {
    const auto service = bus->ConnectAs(ROOT);
    service->ServeWith([](const TRawMessage&) { return TRawArguments{}; });
    ASSERT_EQ(Own(*service, FOREIGN_NAME), "ok");
    EXPECT_EQ(Call(*member, FOREIGN_NAME), ACCESS_DENIED);
    EXPECT_EQ(Call(*manager, FOREIGN_NAME), ACCESS_DENIED);
}

TEST_F(Policy, LeavesOtherServicesToStrangers) {
    const auto service = bus->ConnectAs(ROOT);
    service->ServeWith([](const TRawMessage&) { return TRawArguments{}; });
    ASSERT_EQ(Own(*service, FOREIGN_NAME), "ok");
    EXPECT_EQ(Call(*stranger, FOREIGN_NAME, FOREIGN_NAME), "ok");
    ASSERT_TRUE(stranger->AddMatch("interface='com.example.Service'"));
    service->Signal({"", PATH, FOREIGN_NAME, "Changed"}, {std::string("foreign")});
    EXPECT_TRUE(stranger->WaitFor([](const TRawMessage& message) { return HasText(message, "foreign"); }));
}

TEST_F(Policy, LetsMembersAndTheManagersUserSendAndReceiveEvents) {
    member->Signal({"", PATH, INTERFACE, EVENT}, {std::string("of a member")});
    const auto isMembers = [](const TRawMessage& message) { return HasText(message, "of a member"); };
    EXPECT_TRUE(manager->WaitFor(isMembers));
    EXPECT_TRUE(member->WaitFor(isMembers));
    EXPECT_EQ(SignalsUntilGenuineOne(*member), (std::vector<std::string>{"of a member", "genuine"}));
}

TEST_F(Policy, KeepsForgedEventsAway) {
    OwnNames();
    stranger->Signal({"", PATH, INTERFACE, EVENT}, {std::string("broadcast")});
    for (const std::string& target : {member->UniqueName(), std::string(APPLICATION_NAME)}) {
        stranger->Signal({target, PATH, INTERFACE, EVENT}, {std::string("to one")});
        // A party reads the member of a signal, not its interface.
        stranger->Signal({target, PATH, "com.example.Any", EVENT}, {std::string("to one, disguised")});
        stranger->Signal({target, PATH, DBUS_INTERFACE_DBUS, "NameAcquired"}, {std::string("presence")});
    }
    Settle(*stranger);
    EXPECT_EQ(SignalsUntilGenuineOne(*member), std::vector<std::string>{"genuine"});
}

TEST_F(Policy, KeepsForgedBroadcastsFromPartiesWithoutAName) {
    stranger->Signal({"", PATH, INTERFACE, EVENT}, {std::string("broadcast")});
    Settle(*stranger);
    EXPECT_EQ(SignalsUntilGenuineOne(*member), std::vector<std::string>{"genuine"});
}

TEST_F(Policy, HoldsOnABusThatLetsEverybodyDoEverything) {
    Start(TESTED_POLICY,
          R"(<policy context="default"><allow own="*"/><allow send_destination="*"/></policy>)");
    OwnNames();
    EXPECT_EQ(Own(*stranger, MANAGER_NAME), ACCESS_DENIED);
    EXPECT_EQ(Own(*stranger, APPLICATION_NAME), ACCESS_DENIED);
    EXPECT_EQ(Call(*stranger, MANAGER_NAME), ACCESS_DENIED);
    EXPECT_EQ(Call(*stranger, APPLICATION_NAME), ACCESS_DENIED);
}

TEST_F(Policy, KeepsAnswersThatNobodyAskedForAway) {
    OwnNames();
    for (const char* const sender : {STRANGER, MEMBER}) {
        TRawMessage call;
        call.sender = member->UniqueName();
        call.serial = 7;
        const auto forger = bus->ConnectAs(sender);
        forger->Reply(call, TRawArguments{std::string("unasked"), int32_t{0}});
        forger->ReplyError(call, "com.example.Error", "unasked");
        Settle(*forger);
    }
    (void)SignalsUntilGenuineOne(*member); // what was sent before it would be there by then
    EXPECT_TRUE(
        member->Received([](const TRawMessage& message) { return HasText(message, "unasked"); }).empty());
}

TEST_F(Policy, KeepsEventsFromStrangers) {
    ASSERT_TRUE(stranger->AddMatch(std::string("interface='") + INTERFACE + "'"));
    EXPECT_FALSE(stranger->AddMatch("eavesdrop='true'"));
    EXPECT_EQ(SignalsUntilGenuineOne(*member), std::vector<std::string>{"genuine"});
    Settle(*stranger);
    EXPECT_TRUE(
        stranger->Received([](const TRawMessage& message) { return HasText(message, "genuine"); }).empty());
}

TEST_F(Policy, LetsNobodyMonitorButRoot) {
    EXPECT_FALSE(bus->ConnectAs(MEMBER)->BecomeMonitor());
    EXPECT_FALSE(bus->ConnectAs(STRANGER)->BecomeMonitor());
    EXPECT_TRUE(bus->ConnectAs(ROOT)->BecomeMonitor());
}

TEST_F(Policy, NamesTheManagersUser) {
    Start(OTHER_MANAGER_POLICY);
    const auto otherManager = bus->ConnectAs(OTHER_MANAGER);
    otherManager->ServeWith([](const TRawMessage&) { return TRawArguments{}; });
    EXPECT_EQ(Own(*manager, MANAGER_NAME), ACCESS_DENIED); // root
    EXPECT_EQ(Own(*member, MANAGER_NAME), ACCESS_DENIED);
    EXPECT_EQ(Own(*otherManager, MANAGER_NAME), "ok");
    EXPECT_EQ(Call(*otherManager, MANAGER_NAME), "ok");
    EXPECT_EQ(Call(*member, MANAGER_NAME), "ok");
    EXPECT_EQ(Call(*manager, MANAGER_NAME), ACCESS_DENIED);
}

// The daemon has a say that no rule can take from it.
TEST_F(Policy, CannotLetAManagerMonitorThatIsNotRoot) {
    Start(OTHER_MANAGER_POLICY);
    EXPECT_FALSE(bus->ConnectAs(OTHER_MANAGER)->BecomeMonitor());
}

TEST_F(Policy, LetsAManagerMonitorThatIsTheUserOfTheBus) {
    Start(OTHER_MANAGER_POLICY, "<user>" + std::string(OTHER_MANAGER) + "</user>");
    EXPECT_TRUE(bus->ConnectAs(OTHER_MANAGER)->BecomeMonitor());
}

TEST_F(Policy, IsAcceptedAsItIsInstalled) {
    Start(INSTALLED_POLICY);
    EXPECT_EQ(Own(*manager, MANAGER_NAME), "ok");
    EXPECT_EQ(Own(*stranger, APPLICATION_NAME), ACCESS_DENIED);
}

} // namespace
