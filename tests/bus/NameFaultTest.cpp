// Failures of libdbus and of the bus while a party takes another name.

#include "FaultInjection.h"

#include <chrono>
#include <future>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

using namespace busparty;
using namespace faults;
using namespace support;

namespace {

thread_local std::function<void()> beforeMatch;
thread_local int namesWithoutMemory = 0;
thread_local bool hangsAtName = false;
thread_local DBusConnection* clogged = nullptr; // the bus does not read what is left on it
thread_local DBusConnection* full = nullptr;    // nor what is left in its socket, which has no room
thread_local int endOfFullPipe = -1;

class NameFault : public Fault {};

} // namespace

REPLACEMENT void dbus_bus_add_match(DBusConnection* connection, const char* rule, DBusError* error) {
    if (const auto hook = std::exchange(beforeMatch, nullptr)) {
        hook();
    }
    if (Fails("dbus_bus_add_match")) {
        dbus_set_error(error, DBUS_ERROR_NO_MEMORY, "no rules left");
        return;
    }
    REAL(dbus_bus_add_match)(connection, rule, error);
}

REPLACEMENT int dbus_bus_release_name(DBusConnection* connection, const char* name, DBusError* error) {
    if (Fails("dbus_bus_release_name")) {
        dbus_set_error(error, DBUS_ERROR_FAILED, "not now");
        return -1;
    }
    return REAL(dbus_bus_release_name)(connection, name, error);
}

// The name is taken; its answer is lost.
REPLACEMENT int dbus_bus_request_name(DBusConnection* connection, const char* name, unsigned flags,
                                      DBusError* error) {
    if (namesWithoutMemory > 0) {
        --namesWithoutMemory;
        dbus_set_error(error, DBUS_ERROR_NO_MEMORY, "no memory");
        return -1;
    }
    if (hangsAtName) {
        hangsAtName = false;
        TBusEnvironment::Bus().Hang();
        dbus_set_error(error, DBUS_ERROR_NO_REPLY, "no answer");
        return -1;
    }
    const int answer = REAL(dbus_bus_request_name)(connection, name, flags, error);
    if (Fails("dbus_bus_request_name")) {
        dbus_set_error(error, DBUS_ERROR_NO_REPLY, "no answer");
        return -1;
    }
    return answer;
}

REPLACEMENT dbus_bool_t dbus_connection_has_messages_to_send(DBusConnection* connection) {
    return connection == clogged ? TRUE : REAL(dbus_connection_has_messages_to_send)(connection);
}

REPLACEMENT dbus_bool_t dbus_connection_get_unix_fd(DBusConnection* connection, int* fd) {
    if (connection == full) {
        *fd = endOfFullPipe;
        return TRUE;
    }
    return REAL(dbus_connection_get_unix_fd)(connection, fd);
}

TEST_F(NameFault, OfReleasingTheNameKeepsIt) {
    ExpectFailure("dbus_bus_release_name - not now", "dbus_bus_release_name",
                  [this] { server.party.Init("NEW"); });
    EXPECT_EQ("SERVER", server.party.identity);
    Call();
    server.party.Init("NEW");
    EXPECT_TRUE(HasOwner("NEW"));
}

TEST_F(NameFault, OfTakingTheNewNameGivesItUp) {
    ExpectFailure("dbus_bus_request_name - no answer", "dbus_bus_request_name",
                  [this] { server.party.Init("NEW"); });
    EXPECT_EQ("SERVER", server.party.identity);
    Call();
    EXPECT_FALSE(HasOwner("NEW"));
}

TEST_F(NameFault, OfTakingTheFormerNameAgainIsMadeUpForByANewConnection) {
    namesWithoutMemory = 2;
    EXPECT_THROW(server.party.Init("NEW"), std::runtime_error);
    EXPECT_EQ(0, namesWithoutMemory);
    EXPECT_TRUE(Eventually([] { return HasOwner("SERVER") && Answers("SERVER"); }));
    EXPECT_FALSE(HasOwner("NEW"));
}

// A bus that hangs is asked for one name, not for the former one as well.
TEST_F(NameFault, OfABusThatHangsAtTheNewNameGivesItUpSoon) {
    auto renaming = std::async(std::launch::async, [this] {
        hangsAtName = true;
        EXPECT_THROW(server.party.Init("NEW"), std::runtime_error);
    });
    EXPECT_EQ(std::future_status::ready, renaming.wait_for(std::chrono::seconds(15)));
    TBusEnvironment::Bus().Resume();
    EXPECT_TRUE(Eventually([] { return HasOwner("SERVER") && Answers("SERVER"); }));
    EXPECT_FALSE(HasOwner("NEW"));
}

// Whoever connects meanwhile must not take the place of the party that waits for its name.
TEST_F(NameFault, OfInitKeepsTheNameFromAConnectionThatIsBeingMade) {
    TAccessParty party;
    party.Init("FORMER");
    TBusEnvironment::Bus().Restart();
    std::promise<void> hasFailed;
    std::thread connecting;
    beforeMatch = [&] {
        connecting = std::thread([&] {
            beforeMatch = [&hasFailed] { hasFailed.get_future().wait(); };
            try {
                party.Connect();
            } catch (const std::runtime_error&) {
            }
        });
    };
    EXPECT_EQ("dbus_bus_add_match - no rules left",
              FailureOf("dbus_bus_add_match", [&party] { party.Init("NEXT"); }));
    hasFailed.set_value();
    connecting.join();
    EXPECT_TRUE(Eventually([] { return HasOwner("FORMER"); }));
}

// libdbus would wait without a limit for what is left to leave.
TEST_F(NameFault, OfAConnectionThatTheBusDoesNotReadIsMadeUpForByANewOne) {
    clogged = server.party.serverConnection;
    server.party.Init("NEW");
    EXPECT_NE(clogged, server.party.serverConnection);
    clogged = nullptr;
    EXPECT_TRUE(HasOwner("NEW"));
    EXPECT_FALSE(HasOwner("SERVER"));
    EXPECT_TRUE(Answers("NEW"));
}

TEST_F(NameFault, OfAFullSocketIsMadeUpForByANewConnection) {
    DBusConnection* const former = server.party.serverConnection;
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
    const std::string piece(4096, 'x');
    while (write(ends[1], piece.data(), piece.size()) > 0) {
    }
    endOfFullPipe = ends[1];
    full = former;
    server.party.Init("NEW");
    full = nullptr;
    close(ends[0]);
    close(ends[1]);
    EXPECT_NE(former, server.party.serverConnection);
    EXPECT_TRUE(HasOwner("NEW"));
    EXPECT_TRUE(Answers("NEW"));
}

TEST_F(NameFault, OfAConnectionThatTheBusDoesNotReadDoesNotKeepAPartyFromMonitoring) {
    TEventLog events;
    TAccessParty monitor;
    monitor.Configure({1, 10, true});
    monitor.AddEventLstener("", &events);
    monitor.Init("WATCHER");
    clogged = monitor.serverConnection;
    monitor.Run();
    EXPECT_NE(clogged, monitor.serverConnection);
    clogged = nullptr;
    const auto arrival = MakeRawServer("ARRIVAL", nullptr);
    EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", "ARRIVAL"}));
    monitor.Stop();
}
