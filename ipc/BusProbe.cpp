#include "ipc/BusProbe.h"

#include "ipc/Timeouts.h"
#include "utils/UniqueFd.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace zelto {

namespace {

// Where most builds of libdbus look for the system bus when they are told nothing.
constexpr const char* USUAL_ADDRESS = "unix:path=/run/dbus/system_bus_socket";
constexpr const char* USUAL_PATH = "/run/dbus/system_bus_socket";
constexpr const char* ADDRESS_VARIABLE = "DBUS_SYSTEM_BUS_ADDRESS";
constexpr std::chrono::milliseconds LIMIT{1000};
constexpr std::chrono::milliseconds FIRST_LIMIT{25000};
constexpr int FULL_QUEUE_INTERVAL_MS = 10;

struct TPlace {
    sockaddr_storage address{};
    socklen_t length = 0; // 0: not known
};

struct TBusAddress {
    std::mutex mutex;
    TPlace place;
};

// Never destroyed, and no heap block either: connections may come and go until the process has ended.
TBusAddress& KnownBusAddress() {
    static_assert(std::is_trivially_destructible_v<TBusAddress>, "nothing of it goes at exit");
    static TBusAddress known;
    return known;
}

bool WaitFor(int fd, short event, TClock::time_point deadline) {
    pollfd polled{fd, event, 0};
    int ready = 0;
    do {
        ready = poll(&polled, 1, PollTimeout(deadline));
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && (polled.revents & event) != 0;
}

// The opening line of the bus's authentication, with the user id in hexadecimal digits of its decimal text.
std::string OpeningLine() {
    static const char* const DIGITS = "0123456789abcdef";
    std::string line(1, '\0');
    line += "AUTH EXTERNAL ";
    for (const char digit : std::to_string(geteuid())) {
        line += DIGITS[static_cast<unsigned char>(digit) >> 4U];
        line += DIGITS[static_cast<unsigned char>(digit) & 15U];
    }
    return line + "\r\n";
}

// Zero, or the error number. A bus whose queue of new connections is full is asked again: it may only be
// slow.
int Connect(int fd, const TPlace& place, TClock::time_point deadline) {
    while (connect(fd, reinterpret_cast<const sockaddr*>(&place.address), place.length) != 0) {
        if (errno != EAGAIN || TClock::now() >= deadline) {
            return errno;
        }
        (void)poll(nullptr, 0, FULL_QUEUE_INTERVAL_MS);
    }
    return 0;
}

// ANSWERING when the connection is made.
TBusState ConnectTo(int fd, const TPlace& place, TClock::time_point deadline) {
    const int fault = Connect(fd, place, deadline);
    if (fault == 0) {
        return TBusState::ANSWERING;
    }
    if (fault != EINPROGRESS) {
        return fault == EAGAIN ? TBusState::SILENT : TBusState::ABSENT;
    }
    if (!WaitFor(fd, POLLOUT, deadline)) {
        return TBusState::SILENT;
    }
    int error = 0;
    socklen_t errorSize = sizeof(error);
    const bool isMade = getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &errorSize) == 0 && error == 0;
    return isMade ? TBusState::ANSWERING : TBusState::ABSENT;
}

TBusState Probe(const TPlace& place, TClock::time_point deadline) {
    const TUniqueFd fd(socket(place.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd) {
        return TBusState::ANSWERING;
    }
    const TBusState connection = ConnectTo(fd.Get(), place, deadline);
    if (connection != TBusState::ANSWERING) {
        return connection;
    }
    const std::string line = OpeningLine();
    if (send(fd.Get(), line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) {
        return TBusState::ABSENT;
    }
    char first = 0;
    if (!WaitFor(fd.Get(), POLLIN, deadline)) {
        return TBusState::SILENT;
    }
    return recv(fd.Get(), &first, 1, 0) == 1 ? TBusState::ANSWERING : TBusState::ABSENT;
}

TPlace PlaceOf(DBusAddressEntry* entry) {
    TPlace place;
    const char* const path = dbus_address_entry_get_value(entry, "path");
    const char* const name = dbus_address_entry_get_value(entry, "abstract");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string_view text = path != nullptr ? path : name != nullptr ? name : "";
    const bool isSocket = std::string_view(dbus_address_entry_get_method(entry)) == "unix";
    if (!isSocket || text.empty() || text.size() + 1 >= sizeof(address.sun_path)) {
        return place;
    }
    // An abstract name has its NUL in front.
    std::memcpy(address.sun_path + (path == nullptr ? 1 : 0), text.data(), text.size());
    std::memcpy(&place.address, &address, sizeof(address));
    place.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + text.size() + 1);
    return place;
}

// As libdbus, which does not believe the environment of a program that has more rights than its caller. Where
// it is not certain what libdbus does, nothing is known.
bool IsEnvironmentTrusted() {
    return getuid() == geteuid() && getgid() == getegid() &&
           std::getenv(ADDRESS_VARIABLE) == secure_getenv(ADDRESS_VARIABLE);
}

// Where connections are made, if that is one place only.
TPlace ConfiguredPlace() {
    if (!IsEnvironmentTrusted()) {
        return {};
    }
    const char* const configured = std::getenv(ADDRESS_VARIABLE);
    const bool isConfigured = configured != nullptr && *configured != '\0';
    if (!isConfigured && access(USUAL_PATH, F_OK) != 0) {
        return {}; // this libdbus looks elsewhere
    }
    DBusAddressEntry** entries = nullptr;
    int count = 0;
    if (dbus_parse_address(isConfigured ? configured : USUAL_ADDRESS, &entries, &count, nullptr) == FALSE) {
        return {};
    }
    const TPlace place = count == 1 ? PlaceOf(entries[0]) : TPlace{};
    dbus_address_entries_free(entries);
    return place;
}

// A program that speaks for the bus has no place.
TPlace PeerOf(DBusConnection* connection) {
    int fd = -1;
    TPlace place;
    place.length = sizeof(place.address);
    const bool isKnown = dbus_connection_get_socket(connection, &fd) != FALSE &&
                         getpeername(fd, reinterpret_cast<sockaddr*>(&place.address), &place.length) == 0 &&
                         place.length > sizeof(place.address.ss_family);
    return isKnown ? place : TPlace{};
}

} // namespace

void RememberBusAddress(DBusConnection* connection) {
    // What the bus calls its socket may be another name than the one under which it is reached here.
    TPlace place = ConfiguredPlace();
    if (place.length == 0) {
        place = PeerOf(connection);
    }
    if (place.length == 0) {
        return;
    }
    TBusAddress& known = KnownBusAddress();
    const std::lock_guard<std::mutex> lock(known.mutex);
    known.place = place;
}

TBusState ProbeBus() {
    TBusAddress& known = KnownBusAddress();
    TPlace place;
    {
        const std::lock_guard<std::mutex> lock(known.mutex);
        place = known.place;
    }
    const bool isFirst = place.length == 0;
    if (isFirst) {
        place = ConfiguredPlace();
    }
    return place.length == 0 ? TBusState::ANSWERING
                             : Probe(place, TClock::now() + (isFirst ? FIRST_LIMIT : LIMIT));
}

} // namespace zelto
