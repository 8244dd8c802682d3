// Asking a bus that nobody has been connected to, where the environment says that it is.

#include "ipc/BusProbe.h"

#include "support/TempDir.h"
#include "utils/UniqueFd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using zelto::ProbeBus;
using zelto::TBusState;

namespace {

constexpr int BOUND_MS = 10000;

// Listens on a path, or on an abstract name, which begins with a NUL.
class TListener {
public:
    explicit TListener(const std::string& name)
        : length(static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() +
                                        (name.front() == '\0' ? 0 : 1))),
          listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        address.sun_family = AF_UNIX;
        EXPECT_LT(name.size(), sizeof(address.sun_path));
        std::memcpy(address.sun_path, name.data(), std::min(name.size(), sizeof(address.sun_path) - 1));
        EXPECT_EQ(0, bind(listener.Get(), Address(), length));
        EXPECT_EQ(0, listen(listener.Get(), 0));
    }

    zelto::TUniqueFd Connect() const {
        zelto::TUniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(0, connect(fd.Get(), Address(), length));
        return fd;
    }

    // Takes the next connection and answers what comes first on it.
    void Answer() const {
        pollfd polled{listener.Get(), POLLIN, 0};
        ASSERT_EQ(1, poll(&polled, 1, BOUND_MS));
        const zelto::TUniqueFd accepted(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        polled = {accepted.Get(), POLLIN, 0};
        ASSERT_EQ(1, poll(&polled, 1, BOUND_MS));
        char line[64] = "";
        const ssize_t count = recv(accepted.Get(), line, sizeof(line), 0);
        if (count > 0) {
            EXPECT_EQ(0, std::memcmp(line, "\0AUTH EXTERNAL ", 15));
            EXPECT_EQ(2, send(accepted.Get(), "OK", 2, MSG_NOSIGNAL));
        }
    }

private:
    const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&address); }

    sockaddr_un address{};
    socklen_t length;
    zelto::TUniqueFd listener;
};

std::future<TBusState> StartProbe(const std::string& address) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    return std::async(std::launch::async, ProbeBus);
}

TBusState Probe(const std::string& address) {
    return StartProbe(address).get();
}

TEST(ProbeBus, FindsABusThatAnswersOnAPath) {
    const support::TTempDir directory;
    const TListener bus(directory.File("bus"));
    auto probe = StartProbe("unix:path=" + directory.File("bus"));
    bus.Answer();
    EXPECT_EQ(TBusState::ANSWERING, probe.get());
}

TEST(ProbeBus, FindsABusThatAnswersUnderAnAbstractName) {
    const std::string name = "zelto-probe-" + std::to_string(getpid());
    const TListener bus(std::string(1, '\0') + name);
    auto probe = StartProbe("unix:abstract=" + name + ",guid=0123456789abcdef0123456789abcdef");
    bus.Answer();
    EXPECT_EQ(TBusState::ANSWERING, probe.get());
}

// Many may connect at the same time, or the bus may just be started.
TEST(ProbeBus, WaitsForABusWhoseQueueOfConnectionsIsFull) {
    const support::TTempDir directory;
    const TListener bus(directory.File("bus"));
    zelto::TUniqueFd queued = bus.Connect();
    auto probe = StartProbe("unix:path=" + directory.File("bus"));
    EXPECT_EQ(std::future_status::timeout, probe.wait_for(std::chrono::milliseconds(50)));
    queued.Reset();
    bus.Answer(); // that one
    bus.Answer();
    EXPECT_EQ(TBusState::ANSWERING, probe.get());
}

TEST(ProbeBus, MissesABusThatIsNotThere) {
    const support::TTempDir directory;
    EXPECT_EQ(TBusState::ABSENT, Probe("unix:path=" + directory.File("bus")));
    { const TListener gone(directory.File("bus")); }
    EXPECT_EQ(TBusState::ABSENT, Probe("unix:path=" + directory.File("bus")));
}

// Opening the connection shows then what is wrong.
TEST(ProbeBus, LetsPassWhatItCannotAsk) {
    const std::string tooLong(sizeof(sockaddr_un::sun_path) - 1, 'x');
    for (const std::string& address :
         {std::string("unix:path=/nowhere/a;unix:path=/nowhere/b"), std::string("unixexec:path=/bin/cat"),
          std::string("tcp:host=127.0.0.1,port=1"), std::string("unix:tmpdir=/tmp"), std::string("nonsense"),
          "unix:path=" + tooLong}) {
        EXPECT_EQ(TBusState::ANSWERING, Probe(address)) << address;
    }
}

// A program that speaks for the bus can be started only, not connected to.
TEST(ProbeBus, KnowsNoAddressOfABusThatIsReachedThroughAProgram) {
    const char* const address = "unixexec:path=/bin/cat";
    DBusConnection* const connection = dbus_connection_open_private(address, nullptr);
    ASSERT_NE(nullptr, connection);
    zelto::RememberBusAddress(connection);
    EXPECT_EQ(TBusState::ANSWERING, Probe(address));
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
}

// A libdbus that was built for another place is told nothing either.
TEST(ProbeBus, AsksWhereTheConnectionLeadsWhenNothingIsConfigured) {
    if (access("/run/dbus/system_bus_socket", F_OK) == 0) {
        GTEST_SKIP() << "this machine has its bus in the usual place";
    }
    const support::TTempDir directory;
    const TListener bus(directory.File("bus"));
    DBusConnection* const connection =
        dbus_connection_open_private(("unix:path=" + directory.File("bus")).c_str(), nullptr);
    ASSERT_NE(nullptr, connection);
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    zelto::RememberBusAddress(connection);
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    bus.Answer(); // that one
    auto probe = std::async(std::launch::async, ProbeBus);
    bus.Answer();
    EXPECT_EQ(TBusState::ANSWERING, probe.get());
}

// Such as the socket of a bus that is bound into a container under another name. The address is known
// from these two tests on, so they are the last ones.
TEST(ProbeBus, AsksWhereTheBusIsReachedNotWhereItListens) {
    const support::TTempDir directory;
    const TListener bus(directory.File("outside"));
    ASSERT_EQ(0, std::rename(directory.File("outside").c_str(), directory.File("inside").c_str()));
    const std::string address = "unix:path=" + directory.File("inside");
    DBusConnection* const connection = dbus_connection_open_private(address.c_str(), nullptr);
    ASSERT_NE(nullptr, connection);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    zelto::RememberBusAddress(connection);
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    bus.Answer(); // that one
    auto probe = StartProbe(address);
    bus.Answer();
    EXPECT_EQ(TBusState::ANSWERING, probe.get());
}

} // namespace
