// Init and the names of a party: taking, changing, keeping and giving up.

#include "BusParty.h"

#include "support/BusRecorder.h"
#include "support/LogSpy.h"
#include "support/ProcessStats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>

#include <unistd.h>

using namespace busparty;
using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

// What was asked of the bus itself, as "sender Member(arguments)".
std::vector<std::string> RequestsToBus(TBusRecorder& recorder) {
    std::vector<std::string> requests;
    for (const TRawMessage& message : recorder.Messages()) {
        if (message.IsCall() && message.destination == DBUS_SERVICE_DBUS) {
            const std::string line = Describe(message);
            requests.push_back(message.sender + " " + line.substr(line.find(message.member + "(")));
        }
    }
    return requests;
}

std::string ServerName(const TAccessParty& party) {
    return dbus_bus_get_unique_name(party.serverConnection);
}

std::string ClientName(const TAccessParty& party) {
    return dbus_bus_get_unique_name(party.clientConnection);
}

} // namespace

TEST(Construction, ConnectsNothing) {
    ASSERT_TRUE(BUS_READY);
    const std::size_t descriptors = OpenDescriptors(getpid());
    const TAccessParty party;
    EXPECT_EQ(nullptr, party.serverConnection);
    EXPECT_EQ(nullptr, party.clientConnection);
    EXPECT_EQ("com.Ulmet.Zelto.", party.busName);
    EXPECT_EQ("com.Ulmet.Zelto.Zelto", party.interfaceName);
    EXPECT_EQ("/com/Ulmet/Zelto/", party.objectPath);
    EXPECT_FALSE(party.connected);
    EXPECT_EQ(-1, party.dispatchTimeoutMs);
    EXPECT_EQ(descriptors, OpenDescriptors(getpid()));
    EXPECT_THAT(LogSpy::Messages(), IsEmpty());
}

TEST(Instances, AreOneSharedAndAnyNumberOfOwn) {
    EXPECT_EQ(getZeltoIpcInstance(), getZeltoIpcInstance());
    EXPECT_NE(nullptr, dynamic_cast<TZeltoDBus*>(getZeltoIpcInstance()));
    const std::unique_ptr<TZeltoIpc> own(newZeltoIpcInstance());
    EXPECT_NE(getZeltoIpcInstance(), own.get());
    EXPECT_NE(nullptr, dynamic_cast<TZeltoDBus*>(own.get()));
}

TEST(Init, ConnectsTwiceAndTakesTheName) {
    TBusRecorder recorder(BusAddress());
    TAccessParty party;
    party.Init("PARTY");
    EXPECT_TRUE(party.connected);
    EXPECT_EQ("PARTY", party.identity);
    EXPECT_EQ("com.Ulmet.Zelto.PARTY", party.busName);
    EXPECT_EQ("/com/Ulmet/Zelto/PARTY", party.objectPath);
    const std::string server = ServerName(party);
    const std::string client = ClientName(party);
    EXPECT_NE(server, client);
    EXPECT_THAT(RequestsToBus(recorder),
                ElementsAre(server + " Hello()", client + " Hello()",
                            server + " AddMatch(\"interface='com.Ulmet.Zelto.Zelto'\")",
                            server + " RequestName(\"com.Ulmet.Zelto.PARTY\", 3)"));
    EXPECT_THAT(
        LogSpy::Messages(),
        ElementsAre(LogSpy::TMessage{7, "\"%s\"", "\"PARTY\""},
                    LogSpy::TMessage{
                        7, "\"'%s' '%s' '%s'\"",
                        "\"'com.Ulmet.Zelto.Zelto' 'com.Ulmet.Zelto.PARTY' '/com/Ulmet/Zelto/PARTY'\""}));
}

TEST(Init, WithTheSameIdentityOnlyLogs) {
    TServingParty serving("PARTY");
    TBusRecorder recorder(BusAddress());
    LogSpy::Clear();
    serving.party.Init("PARTY");
    EXPECT_THAT(RequestsToBus(recorder), IsEmpty());
    EXPECT_TRUE(LogSpy::Contains(7, "\"PARTY\""));
    EXPECT_THAT(LogSpy::Messages(),
                testing::Contains(LogSpy::TMessage{5, "\"The same ID (%s), do nothing.\"",
                                                   "\"The same ID (PARTY), do nothing.\""}));
    EXPECT_TRUE(Answers("PARTY"));
}

TEST(Init, WithoutAnIdentityDoesNothingOnAFreshParty) {
    TAccessParty party;
    party.Init("");
    EXPECT_TRUE(LogSpy::Contains(5, "\"The same ID (), do nothing.\""));
    EXPECT_FALSE(party.connected);
}

TEST(Init, WithANewIdentityReleasesBothOldNamesAndTakesTheNewOne) {
    TAccessParty party;
    party.Init("OLD");
    const std::string server = ServerName(party);
    const std::string client = ClientName(party);
    TBusRecorder recorder(BusAddress());
    party.Init("NEW");
    EXPECT_THAT(RequestsToBus(recorder), ElementsAre(server + " ReleaseName(\"com.Ulmet.Zelto.OLD\")",
                                                     client + " ReleaseName(\"com.Ulmet.Zelto.OLD_CLIENT\")",
                                                     server + " RequestName(\"com.Ulmet.Zelto.NEW\", 3)"));
    EXPECT_EQ("com.Ulmet.Zelto.NEW", party.busName);
    EXPECT_EQ("/com/Ulmet/Zelto/NEW", party.objectPath);
    EXPECT_EQ(server, ServerName(party));
    EXPECT_FALSE(HasOwner("OLD"));
    EXPECT_TRUE(HasOwner("NEW"));
}

TEST(Init, WithANewIdentityWhileRunningStopsRenamesAndRestarts) {
    for (const int threadCount : {1, 4}) {
        TServingParty serving("OLD", threadCount);
        ASSERT_TRUE(Answers("OLD"));
        serving.party.Init("NEW");
        EXPECT_TRUE(serving.party.running);
        EXPECT_TRUE(Answers("NEW"));
        EXPECT_FALSE(HasOwner("OLD"));
        serving.party.SendEvent("AFTER", "data");
        EXPECT_TRUE(serving.events.WaitFor({"AFTER", "data"}));
    }
}

TEST(Init, WhileNotRunningDoesNotStartToServe) {
    TAccessParty party;
    party.Init("OLD");
    party.Init("NEW");
    EXPECT_FALSE(party.running);
}

TEST(Init, MayGoBackToAnEarlierIdentity) {
    TServingParty serving("ONE");
    serving.party.Init("OTHER");
    serving.party.Init("ONE");
    EXPECT_TRUE(Answers("ONE"));
    EXPECT_FALSE(HasOwner("OTHER"));
}

TEST(Init, TakesANameFromAnotherParty) {
    const TServingParty first("PARTY");
    TServingParty second("PARTY");
    EXPECT_TRUE(first.events.WaitFor({"NameLost", "com.Ulmet.Zelto.PARTY"}));
    second.party.AddMethodHandler("UNKNOWN", &second.echo);
    const auto answer = TRawPeer(BusAddress()).Call(PartyTarget("PARTY", "UNKNOWN"), TRawArguments{});
    ASSERT_TRUE(answer);
    EXPECT_EQ((TRawArguments{std::string(), int32_t{0}}), answer->arguments);
    EXPECT_EQ(0U, LogSpy::Count(3));
}

TEST(Init, LogsANameThatIsTakenAndCarriesOn) {
    TRawPeer holder(BusAddress());
    ASSERT_EQ(1U, holder.OwnName("com.Ulmet.Zelto.TAKEN"));
    TServingParty serving("TAKEN");
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_THAT(LogSpy::Messages(), testing::Contains(LogSpy::TMessage{
                                        3, "\"The '%s' name is already taken!\"",
                                        "\"The 'com.Ulmet.Zelto.TAKEN' name is already taken!\""}));
    EXPECT_EQ("TAKEN", serving.party.identity);
    serving.party.SendEvent("STILL", "sends");
    EXPECT_TRUE(serving.events.WaitFor({"STILL", "sends"}));
    // The bus remembers the wish.
    EXPECT_EQ(1U, holder.ReleaseName("com.Ulmet.Zelto.TAKEN"));
    EXPECT_TRUE(Answers("TAKEN"));
}

TEST(Init, AfterALazyConnectTakesTheNameAndReleasesNone) {
    TAccessParty party;
    party.SendEvent("EARLY", "");
    EXPECT_EQ("com.Ulmet.Zelto." + std::to_string(getpid()), party.busName);
    const std::string server = ServerName(party);
    TBusRecorder recorder(BusAddress());
    party.Init("PARTY");
    EXPECT_THAT(RequestsToBus(recorder), ElementsAre(server + " RequestName(\"com.Ulmet.Zelto.PARTY\", 3)"));
    EXPECT_EQ(server, ServerName(party));
    EXPECT_EQ("/com/Ulmet/Zelto/PARTY", party.objectPath);
    EXPECT_TRUE(HasOwner("PARTY"));
}

TEST(LazyConnect, OfACallOwnsNoName) {
    const auto server = MakeRawServerWith("SERVER", [](const TRawMessage&) {
        return TRawArguments{std::string("answer"), int32_t{0}};
    });
    TBusRecorder recorder(BusAddress());
    TAccessParty party;
    party.SetMethodServerId("*", "SERVER");
    std::string result;
    EXPECT_EQ(0, party.CallMethod("GET", "", result));
    EXPECT_THAT(RequestsToBus(recorder),
                ElementsAre(ServerName(party) + " Hello()", ClientName(party) + " Hello()",
                            ServerName(party) + " AddMatch(\"interface='com.Ulmet.Zelto.Zelto'\")"));
    EXPECT_EQ("/com/Ulmet/Zelto/" + std::to_string(getpid()), party.objectPath);
    EXPECT_EQ("", party.identity);
}

TEST(LazyConnect, OfARunningPartyBringsItsEvents) {
    TAccessParty party;
    TEventLog events;
    party.AddEventLstener("", &events);
    party.Run();
    party.SendEvent("CHANGED", "data");
    EXPECT_TRUE(events.WaitFor({"CHANGED", "data"}));
    party.Stop();
}

TEST(Run, BeforeInitSleepsAndServesAfterInit) {
    for (const int threadCount : {1, 3}) {
        TAccessParty party;
        party.Configure({threadCount, 10, false});
        party.Run();
        const std::size_t before = ProcessorMs(getpid());
        EXPECT_FALSE(LogSpy::WaitFor(3, "\"a line that never comes\"", std::chrono::milliseconds(100)));
        EXPECT_LT(ProcessorMs(getpid()) - before, 60U) << "the dispatch threads do not sleep";
        party.Init("PARTY");
        EXPECT_TRUE(Answers("PARTY"));
        party.Stop();
    }
}

TEST(Stop, BeforeInitSendsNothing) {
    TBusRecorder recorder(BusAddress());
    {
        TAccessParty neverRun;
        neverRun.Stop();
        TAccessParty party;
        party.Run();
        party.Stop();
        party.Connect();
        party.Run();
        party.Stop();
    }
    EXPECT_THAT(recorder.Messages([](const TRawMessage& message) {
        return message.member == "Disconnected" && message.IsCall();
    }),
                IsEmpty());
    EXPECT_EQ(0U, LogSpy::Count(3));
}

TEST(Stop, SendsOneWakeUpCallThatTheNextRunAnswers) {
    TServingParty serving("PARTY");
    const std::string client = ClientName(serving.party);
    TBusRecorder recorder(BusAddress());
    const auto isWakeUp = [](const TRawMessage& message) { return message.member == "Disconnected"; };
    serving.party.Stop();
    ASSERT_TRUE(recorder.WaitFor(isWakeUp));
    serving.party.Stop();
    const auto calls = recorder.Messages(isWakeUp);
    ASSERT_EQ(1U, calls.size());
    EXPECT_EQ("call " + client +
                  " -> com.Ulmet.Zelto.PARTY /com/Ulmet/Zelto/PARTY com.Ulmet.Zelto.Zelto.Disconnected()",
              Describe(calls[0]));
    EXPECT_FALSE(calls[0].noReply);
    serving.party.Run();
    const auto answer = recorder.WaitFor([&](const TRawMessage& message) {
        return message.IsReturn() && message.destination == client && message.replySerial == calls[0].serial;
    });
    ASSERT_TRUE(answer);
    EXPECT_EQ((TRawArguments{std::string(), int32_t{-1}}), answer->arguments);
    EXPECT_TRUE(LogSpy::Contains(5, "\"Message has no parameters.\""));
}

TEST(Stop, KeepsConnectionsAndName) {
    TServingParty serving("PARTY");
    serving.party.Stop();
    EXPECT_TRUE(serving.party.connected);
    EXPECT_TRUE(HasOwner("PARTY"));
    serving.party.Run();
    EXPECT_TRUE(Answers("PARTY"));
}

TEST(Destructor, GivesUpTheNameAndTheConnections) {
    { const TServingParty serving("PARTY"); }
    EXPECT_TRUE(Eventually([] { return !HasOwner("PARTY"); }));
}

TEST(Disconnect, MayBeFollowedByAConnect) {
    TAccessParty party;
    party.Init("PARTY");
    party.Disconnect();
    EXPECT_EQ(nullptr, party.serverConnection);
    EXPECT_EQ(nullptr, party.clientConnection);
    EXPECT_FALSE(party.connected);
    party.Disconnect();
    party.Connect();
    EXPECT_TRUE(party.connected);
    EXPECT_EQ("com.Ulmet.Zelto." + std::to_string(getpid()), party.busName);
}

// The callback may still answer on the connection that Init asks the bus on.
TEST(Init, WaitsForACallbackThatHasStoppedTheParty) {
    TAccessParty party;
    std::promise<void> stopped;
    std::atomic<bool> isLeft{false};
    THandler handler([&](const std::string& /*request*/, std::string& /*result*/) {
        party.Stop();
        stopped.set_value();
        // Time for an Init that does not wait.
        EXPECT_FALSE(Eventually([] { return HasOwner("NEW"); }, std::chrono::milliseconds(300)));
        isLeft = true;
        return 0;
    });
    party.AddMethodHandler("STOP", &handler);
    party.Init("OLD");
    party.Run();
    TAccessParty caller;
    auto calling = std::async(std::launch::async, [&caller] {
        TZeltoIpc::TMethodSettings settings{"OLD", 10};
        std::string result;
        return caller.CallMethod("STOP", "", result, settings);
    });
    ASSERT_EQ(std::future_status::ready, stopped.get_future().wait_for(DEFAULT_TIMEOUT));
    party.Init("NEW");
    EXPECT_TRUE(isLeft);
    EXPECT_EQ(0, calling.get());
    EXPECT_TRUE(HasOwner("NEW"));
}

TEST(CreateConnection, GivesAConnectionOfItsOwnThatSurvivesALostBus) {
    TAccessParty party;
    DBusConnection* const connection = party.CreateConnection(DBUS_BUS_SYSTEM);
    ASSERT_NE(nullptr, connection);
    EXPECT_NE(nullptr, dbus_bus_get_unique_name(connection));
    dbus_connection_close(connection);
    while (dbus_connection_dispatch(connection) == DBUS_DISPATCH_DATA_REMAINS) {
        // With exit-on-disconnect on, this would end the process.
    }
    dbus_connection_unref(connection);
    dbus_connection_unref(connection);
}
