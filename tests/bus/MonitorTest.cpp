// Parties in monitor mode: they watch others come and go, and do nothing else on their server connection.

#include "BusParty.h"

#include "support/BusRecorder.h"
#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace busparty;
using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;
using TBusMessage = TZeltoDBus::TBusMessage;
using TEvents = std::vector<TEventLog::TEvent>;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

class Monitor : public testing::Test {
protected:
    Monitor() {
        party.Configure({1, 10, true});
        party.AddEventLstener("", &events);
    }
    ~Monitor() override { party.Stop(); }

    // A monitor sees itself lose its name, after which it watches.
    void Watch() {
        party.Init("WATCHER");
        party.Run();
        EXPECT_TRUE(events.WaitFor({"APP_DISCONNECTED", "WATCHER"}));
    }

    // Comes and goes, so that everything before it has been seen.
    void ShowMarker(const std::string& identity) {
        (void)MakeRawServer(identity, nullptr);
        EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", identity}));
        EXPECT_TRUE(events.WaitFor({"APP_DISCONNECTED", identity}));
    }

    std::size_t Arrivals(const std::string& identity) const {
        return events.Count({"APP_CONNECTED", identity});
    }

    TEventLog events;
    TAccessParty party;
};

TBusMessage MakeSignal(const char* member, const char* text) {
    DBusMessage* const signal = dbus_message_new_signal("/p", "a.b", member);
    if (text != nullptr) {
        dbus_message_append_args(signal, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    }
    return TBusMessage(signal);
}

} // namespace

TEST_F(Monitor, ReportsAPartyThatComesAndGoes) {
    ASSERT_TRUE(BUS_READY);
    Watch();
    auto kesta = MakeRawServer("ZELTO_KESTA", nullptr);
    EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", "ZELTO_KESTA"}));
    EXPECT_EQ(0U, events.Count({"APP_DISCONNECTED", "ZELTO_KESTA"}));
    kesta.reset();
    EXPECT_TRUE(events.WaitFor({"APP_DISCONNECTED", "ZELTO_KESTA"}));
    EXPECT_EQ(1U, Arrivals("ZELTO_KESTA"));
    EXPECT_TRUE(LogSpy::Contains(7, "\"'APP_CONNECTED' - 'ZELTO_KESTA'\""));
}

TEST_F(Monitor, ReportsARealParty) {
    Watch();
    { const TServingParty other("OTHER"); }
    EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", "OTHER"}));
    EXPECT_TRUE(events.WaitFor({"APP_DISCONNECTED", "OTHER"}));
}

TEST_F(Monitor, ReportsARenamedPartyAsGoneAndCome) {
    Watch();
    TServingParty other("OLD");
    other.party.Init("NEW");
    EXPECT_TRUE(events.WaitFor({"APP_DISCONNECTED", "OLD"}));
    EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", "NEW"}));
}

TEST_F(Monitor, ReportsATakeoverAsALossAndAnArrival) {
    Watch();
    const TServingParty first("PARTY");
    const TServingParty second("PARTY");
    EXPECT_TRUE(Eventually([&] { return Arrivals("PARTY") == 2; }));
    EXPECT_EQ(1U, events.Count({"APP_DISCONNECTED", "PARTY"}));
}

TEST_F(Monitor, ReportsNothingOfPartiesThatWereThereBefore) {
    const TServingParty other("EARLIER");
    Watch();
    ShowMarker("MARKER");
    EXPECT_EQ(0U, Arrivals("EARLIER"));
}

TEST_F(Monitor, IgnoresNamesOutsideThePrefix) {
    Watch();
    for (const char* name : {"com.Ulmet.Zelto", "com.Ulmet.ZeltoX.A", "com.Ulmet.Zelt.LONGER", "a.b",
                             "org.com.Ulmet.Zelto.A", "com.ulmet.zelto.A"}) {
        TRawPeer peer(BusAddress());
        EXPECT_EQ(1U, peer.OwnName(name));
    }
    ShowMarker("MARKER");
    party.Stop();
    party.OnEvent("LAST", "");
    EXPECT_EQ((TEvents{{"APP_CONNECTED", "WATCHER"},
                       {"APP_DISCONNECTED", "WATCHER"},
                       {"APP_CONNECTED", "MARKER"},
                       {"APP_DISCONNECTED", "MARKER"}}),
              events.Until("LAST"));
}

TEST_F(Monitor, TakesEverythingBehindThePrefixForTheIdentity) {
    Watch();
    TRawPeer peer(BusAddress());
    EXPECT_EQ(1U, peer.OwnName("com.Ulmet.Zelto.With.Dots-and_more"));
    EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", "With.Dots-and_more"}));
}

TEST_F(Monitor, IgnoresASignalThatOnlyLooksLikeTheBussOwn) {
    Watch();
    TRawPeer forger(BusAddress());
    for (const char* interface : {DBUS_INTERFACE_DBUS, "com.Ulmet.Zelto.Zelto"}) {
        forger.Signal({"", DBUS_PATH_DBUS, interface, "NameAcquired"}, {BusName("FORGED")});
        forger.Signal({"", DBUS_PATH_DBUS, interface, "NameLost"}, {BusName("FORGED")});
    }
    EXPECT_EQ(1U, forger.OwnName(BusName("MARKER")));
    EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", "MARKER"}));
    EXPECT_EQ(0U, Arrivals("FORGED"));
    EXPECT_EQ(0U, events.Count({"APP_DISCONNECTED", "FORGED"}));
}

TEST_F(Monitor, GetsNoEventsOfTheInterface) {
    Watch();
    TServingParty other("OTHER");
    other.party.SendEvent("CHANGED", "data");
    EXPECT_TRUE(other.events.WaitFor({"CHANGED", "data"}));
    ShowMarker("MARKER");
    EXPECT_EQ(0U, events.Count({"CHANGED", "data"}));
}

TEST_F(Monitor, AsksTheBusOnceAndSendsNothingAfterwardsOnThatConnection) {
    party.Init("WATCHER");
    const std::string server = dbus_bus_get_unique_name(party.serverConnection);
    TBusRecorder recorder(BusAddress());
    party.Run();
    EXPECT_TRUE(events.WaitFor({"APP_DISCONNECTED", "WATCHER"}));
    ShowMarker("MARKER");
    const auto refused = TRawPeer(BusAddress()).Call(PartyTarget("WATCHER", "GET"), {std::string("request")});
    ASSERT_TRUE(refused);
    EXPECT_TRUE(refused->IsError());
    party.Stop();
    std::vector<std::string> sent;
    for (const TRawMessage& message :
         recorder.Messages([&](const TRawMessage& one) { return one.sender == server; })) {
        sent.push_back(Describe(message));
    }
    EXPECT_THAT(sent, ElementsAre("call " + server +
                                  " -> org.freedesktop.DBus /org/freedesktop/DBus "
                                  "org.freedesktop.DBus.Monitoring.BecomeMonitor(<as>, 0)"));
}

TEST_F(Monitor, CallsAndSendsOnItsClientConnection) {
    const TServingParty other("OTHER");
    Watch();
    TZeltoIpc::TMethodSettings settings{"OTHER", 10};
    std::string result;
    EXPECT_EQ(0, party.CallMethod("ECHO", "request", result, settings));
    EXPECT_EQ("request", result);
    party.SendEvent("FROM_MONITOR", "data");
    EXPECT_TRUE(other.events.WaitFor({"FROM_MONITOR", "data"}));
}

TEST_F(Monitor, WatchesOnAfterASecondRun) {
    Watch();
    party.Run();
    ShowMarker("MARKER");
}

TEST_F(Monitor, WatchesOnAfterStopAndRun) {
    Watch();
    party.Stop();
    party.Run();
    ShowMarker("MARKER");
}

TEST_F(Monitor, WatchesOnAfterInitWithANewIdentity) {
    Watch();
    party.Init("OTHER_WATCHER");
    EXPECT_TRUE(party.running);
    EXPECT_EQ("com.Ulmet.Zelto.OTHER_WATCHER", party.busName);
    ShowMarker("MARKER");
}

TEST_F(Monitor, StaysAMonitorWhenInitFails) {
    Watch();
    EXPECT_THROW(party.Init("FORBIDDEN"), std::runtime_error);
    EXPECT_EQ("WATCHER", party.identity);
    EXPECT_EQ("com.Ulmet.Zelto.WATCHER", party.busName);
    ShowMarker("MARKER");
}

TEST_F(Monitor, WatchesOnWithSeveralThreads) {
    party.Configure({4, 10, true});
    Watch();
    for (int number = 0; number < 20; ++number) {
        ShowMarker("MARKER_" + std::to_string(number));
        EXPECT_EQ(1U, Arrivals("MARKER_" + std::to_string(number)));
    }
}

TEST_F(Monitor, ServesWhenItIsConfiguredSoAndRunAgain) {
    Watch();
    party.Stop();
    party.Configure({1, 10, false});
    party.Run();
    const auto answer = TRawPeer(BusAddress()).Call(PartyTarget("WATCHER", "UNKNOWN"), TRawArguments{});
    ASSERT_TRUE(answer);
    EXPECT_EQ((TRawArguments{std::string(), int32_t{-1}}), answer->arguments);
}

TEST_F(Monitor, MayBeMadeOfAServingParty) {
    party.Configure({1, 10, false});
    party.Init("WATCHER");
    party.Run();
    EXPECT_TRUE(events.WaitFor({"NameAcquired", "com.Ulmet.Zelto.WATCHER"}));
    party.Configure({1, 10, true});
    party.Run();
    ShowMarker("MARKER");
}

TEST_F(Monitor, SaysThatItIsNotConnectedBeforeInit) {
    party.Run();
    EXPECT_THAT(LogSpy::Messages(),
                ElementsAre(LogSpy::TMessage{3, "\"Not connected!\"", "\"Not connected!\""}));
    Watch();
    ShowMarker("MARKER");
}

TEST_F(Monitor, AnswersNothingThatReachesItsFilter) {
    const TServingParty other("OTHER");
    int calls = 0;
    THandler handler([&](const std::string&, std::string&) {
        ++calls;
        return 0;
    });
    party.AddMethodHandler("GET", &handler);
    const TBusMessage call(dbus_message_new_method_call("a.b", "/p", "a.b", "GET"));
    EXPECT_EQ(DBUS_HANDLER_RESULT_HANDLED,
              TAccessParty::MessageFilter(nullptr, call(), static_cast<TZeltoDBus*>(&party)));
    EXPECT_EQ(0, calls);
    EXPECT_EQ(0U, LogSpy::Count(3));
}

TEST_F(Monitor, LogsTheExceptionOfAListenerAndWatchesOn) {
    class TThrowing : public IZeltoIpcEventListener {
    public:
        void OnEvent(const std::string& /*eventName*/, const std::string& eventData) override {
            if (eventData == "BAD") {
                throw 42;
            }
        }
    };
    TThrowing throwing;
    party.AddEventLstener("", &throwing);
    Watch();
    (void)MakeRawServer("BAD", nullptr);
    ShowMarker("MARKER");
    EXPECT_EQ(2U, LogSpy::Count(3));
    party.RemoveEventLstener(&throwing);
}

// What the handler makes of a message, whoever sent it: the filter has asked that already.
TEST_F(Monitor, HandlerTakesArrivalsAndDeparturesOnly) {
    for (const char* member : {"NameAcquired", "NameLost", "NameOwnerChanged", "Disconnected"}) {
        party.MonitorHandler(MakeSignal(member, "com.Ulmet.Zelto.X")());
    }
    party.OnEvent("LAST", "");
    EXPECT_EQ((TEvents{{"APP_CONNECTED", "X"}, {"APP_DISCONNECTED", "X"}}), events.Until("LAST"));
}

TEST_F(Monitor, HandlerLooksAtTheFirst16CharactersOfTheName) {
    for (const char* name : {"com.Ulmet.Zelto.", "com.Ulmet.Zelto", "com.Ulmet.Zelto,X", "", "c", ":1.5"}) {
        party.MonitorHandler(MakeSignal("NameAcquired", name)());
    }
    party.OnEvent("LAST", "");
    EXPECT_EQ((TEvents{{"APP_CONNECTED", ""}}), events.Until("LAST"));
}

TEST_F(Monitor, HandlerIgnoresOtherMessagesAndMissingArguments) {
    const TBusMessage call(dbus_message_new_method_call("a.b", "/p", "a.b", "NameAcquired"));
    const char* const name = "com.Ulmet.Zelto.X";
    dbus_message_append_args(call(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    party.MonitorHandler(call());
    party.MonitorHandler(MakeSignal("NameAcquired", nullptr)());
    EXPECT_EQ(1U, LogSpy::Count(5, "\"Message has no parameters.\""));
    party.OnEvent("LAST", "");
    EXPECT_THAT(events.Until("LAST"), IsEmpty());
}

TEST_F(Monitor, IsAMonitorOnceTheBusIsBackWhenItWasToBecomeOneMeanwhile) {
    party.Configure({1, 10, false});
    party.Init("WATCHER");
    party.Run();
    TBusEnvironment::Bus().Kill();
    ASSERT_TRUE(LogSpy::WaitForPart(3, "WATCHER' is lost."));
    party.Configure({1, 10, true});
    party.BecomeMonitor();
    TBusEnvironment::Bus().Restart();
    ASSERT_TRUE(LogSpy::WaitForPart(5, "WATCHER' is back."));
    ShowMarker("ARRIVAL");
}

// Its answer would end the connection: a monitor may not send.
TEST_F(Monitor, GivesNoAnswerToTheCallWhoseHandlerMadeItOne) {
    THandler handler([this](const std::string& /*request*/, std::string& /*result*/) {
        party.Configure({1, 10, true});
        party.Stop();
        party.Run();
        return 0;
    });
    party.Configure({1, 10, false});
    party.AddMethodHandler("WATCH", &handler);
    party.Init("WATCHER");
    party.Run();
    TRawPeer client(BusAddress());
    const auto answer = client.Call(PartyTarget("WATCHER", "WATCH"), TRawArguments{});
    EXPECT_TRUE(!answer || answer->IsError());
    ShowMarker("ARRIVAL");
    EXPECT_EQ(0U, LogSpy::CountPart(3, "is lost."));
}
