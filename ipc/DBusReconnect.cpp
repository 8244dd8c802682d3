#include "ipc/DBusReconnect.h"

#include "ipc/Timeouts.h"
#include "utils/Log.h"
#include "utils/UniqueFd.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <string>
#include <type_traits>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zelto {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds FIRST_INTERVAL{100};
constexpr milliseconds LAST_INTERVAL{5000};
constexpr milliseconds PROBE_LIMIT{1000};
constexpr milliseconds CANCEL_LIMIT{2000};

struct TBusAddress {
    std::mutex mutex;
    sockaddr_storage address{};
    socklen_t length = 0;
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

bool IsConnected(int fd, const sockaddr_storage& address, socklen_t length, TClock::time_point deadline) {
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0) {
        return true;
    }
    int error = 0;
    socklen_t errorSize = sizeof(error);
    return errno == EINPROGRESS && WaitFor(fd, POLLOUT, deadline) &&
           getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &errorSize) == 0 && error == 0;
}

TBusState Probe(const sockaddr_storage& address, socklen_t length) {
    const auto deadline = TClock::now() + PROBE_LIMIT;
    const TUniqueFd fd(socket(address.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd || !IsConnected(fd.Get(), address, length, deadline)) {
        // A full backlog is what a bus that hangs for long looks like.
        return errno == EAGAIN ? TBusState::SILENT : TBusState::ABSENT;
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

// An attempt for which there was no memory is one that failed.
bool Succeeds(const TReconnector::TAttempt& attempt) {
    try {
        return attempt();
    } catch (const std::exception& error) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", error.what());
        return false;
    }
}

} // namespace

void RememberBusAddress(DBusConnection* connection) {
    int fd = -1;
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    if (dbus_connection_get_socket(connection, &fd) == FALSE ||
        getpeername(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        length <= sizeof(address.ss_family)) { // a program that speaks for the bus has no address
        return;
    }
    TBusAddress& known = KnownBusAddress();
    const std::lock_guard<std::mutex> lock(known.mutex);
    known.address = address;
    known.length = length;
}

TBusState ProbeBus() {
    TBusAddress& known = KnownBusAddress();
    sockaddr_storage address{};
    socklen_t length = 0;
    {
        const std::lock_guard<std::mutex> lock(known.mutex);
        address = known.address;
        length = known.length;
    }
    return length == 0 ? TBusState::ANSWERING : Probe(address, length);
}

struct TReconnector::TState {
    std::mutex mutex;
    std::condition_variable changed;
    bool cancelled = false;
    bool nudged = false;
    bool finished = false;
};

TReconnector::TReconnector() = default;

TReconnector::~TReconnector() {
    Cancel();
}

void TReconnector::Start(TAttempt attempt) {
    if (thread.joinable()) {
        std::unique_lock<std::mutex> lock(state->mutex);
        state->cancelled = true;
        state->changed.notify_all();
        const bool isFinished = state->finished;
        lock.unlock();
        Release(isFinished);
    }
    state = std::make_shared<TState>();
    thread = std::thread([current = state, repeated = std::move(attempt)] { Loop(current, repeated); });
}

bool TReconnector::IsTrying() const {
    if (!thread.joinable()) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(state->mutex);
    return !state->finished;
}

void TReconnector::Nudge() {
    if (state) {
        const std::lock_guard<std::mutex> lock(state->mutex);
        state->nudged = true;
        state->changed.notify_all();
    }
}

void TReconnector::Cancel() {
    if (!thread.joinable()) {
        return;
    }
    std::unique_lock<std::mutex> lock(state->mutex);
    state->cancelled = true;
    state->changed.notify_all();
    const bool isFinished = state->changed.wait_for(lock, CANCEL_LIMIT, [this] { return state->finished; });
    lock.unlock();
    Release(isFinished);
}

void TReconnector::Release(bool isFinished) {
    if (isFinished) {
        thread.join();
    } else {
        thread.detach();
    }
}

void TReconnector::Loop(const std::shared_ptr<TState>& state, const TAttempt& attempt) {
    milliseconds interval = FIRST_INTERVAL;
    bool succeeded = Succeeds(attempt);
    std::unique_lock<std::mutex> lock(state->mutex);
    while (!succeeded && !state->cancelled) {
        // A nudge shortens the wait, but two attempts are never closer than the first interval.
        state->changed.wait_for(lock, FIRST_INTERVAL, [&] { return state->cancelled; });
        state->changed.wait_for(lock, interval - FIRST_INTERVAL,
                                [&] { return state->cancelled || state->nudged; });
        interval = state->nudged ? FIRST_INTERVAL : std::min(interval * 2, LAST_INTERVAL);
        state->nudged = false;
        if (!state->cancelled) {
            lock.unlock();
            succeeded = Succeeds(attempt);
            lock.lock();
        }
    }
    state->finished = true;
    state->changed.notify_all();
}

} // namespace zelto
