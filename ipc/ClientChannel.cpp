#include "ipc/ClientChannel.h"

#include "ipc/DBusNames.h"
#include "ipc/DispatchRun.h"

#include <algorithm>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>

namespace zelto {

namespace {

// More than this still waiting to be sent means that the bus does not read: the message is refused.
constexpr long MAX_STALLED_BYTES = 1024L * 1024;
// Requests and events wait for a drain. Under a flood it takes a sixth of a dispatch thread's time.
constexpr std::chrono::milliseconds DRAIN_LIMIT{2};
constexpr std::chrono::milliseconds DRAIN_INTERVAL{1000};
// The bus holds back what the socket does not take, and sends it once there is room.
constexpr std::chrono::milliseconds BUSY_DRAIN_INTERVAL{10};

} // namespace

TClientChannel::TClientChannel(TConnectionHandle ownedConnection)
    : connection(std::move(ownedConnection)), kick(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!kick) {
        Fail("eventfd failed");
    }
    dbus_connection_set_wakeup_main_function(connection.get(), OnWakeUp, this, nullptr);
}

TClientChannel::~TClientChannel() {
    dbus_connection_set_wakeup_main_function(connection.get(), nullptr, nullptr, nullptr);
}

void TClientChannel::OnWakeUp(void* channel) {
    auto* const self = static_cast<TClientChannel*>(channel);
    if (self->polling) {
        self->Kick();
    }
}

void TClientChannel::Kick() {
    // A full counter wakes the reader just as well.
    (void)eventfd_write(kick.Get(), 1);
}

bool TClientChannel::IsLost() const {
    // A failed send may have found out before anybody has read the end of the connection.
    return lost || dbus_connection_get_is_connected(connection.get()) == FALSE;
}

bool TClientChannel::HasUnsent() const {
    return dbus_connection_has_messages_to_send(connection.get()) != FALSE;
}

bool TClientChannel::IsClogged() const {
    return stalled && dbus_connection_get_outgoing_size(connection.get()) > MAX_STALLED_BYTES;
}

bool TClientChannel::CanTakeMore() {
    if (!IsLost() && IsClogged()) {
        Drain(); // the bus may read again
    }
    return !IsLost() && !IsClogged();
}

TPendingCallHandle TClientChannel::SendCall(DBusMessage* message) {
    DBusPendingCall* pending = nullptr;
    if (!CanTakeMore()) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(access);
    const dbus_bool_t isQueued =
        dbus_connection_send_with_reply(connection.get(), message, &pending, DBUS_TIMEOUT_INFINITE);
    return TPendingCallHandle(isQueued != FALSE ? pending : nullptr);
}

bool TClientChannel::Queue(DBusMessage* message) {
    const std::lock_guard<std::mutex> lock(access);
    return dbus_connection_send(connection.get(), message, nullptr) != FALSE;
}

TMessageHandle TClientChannel::WaitForAnswer(DBusPendingCall* pending, TClock::time_point deadline,
                                             const TRun* run) {
    TWaiter waiter{pending, {}};
    const bool isDone = WaitUntilDone(waiter, deadline, run);
    NoteStall(!isDone && HasUnsent());
    if (!isDone) {
        return nullptr;
    }
    return TMessageHandle(dbus_pending_call_steal_reply(pending));
}

bool TClientChannel::Send(DBusMessage* message, TClock::time_point deadline, const TRun* run) {
    Drain();
    // One subscriber that does not read can make the bus stop reading for good. A bus that has taken nothing
    // since it was waited for in vain is not waited for again, or every event would take that long.
    const bool isHopeless =
        IsStalled() && HasUnsent() && dbus_connection_get_outgoing_size(connection.get()) >= stalledBytes;
    if (!CanTakeMore() || !Queue(message)) {
        return false;
    }
    NoteStall(HasUnsent() && (isHopeless || !WaitUntilSent(deadline, run)));
    return !IsLost();
}

void TClientChannel::NoteStall(bool isStalled) {
    if (isStalled) {
        stalledBytes = dbus_connection_get_outgoing_size(connection.get());
        busy = true;
    }
    stalled = isStalled;
}

void TClientChannel::Post(DBusMessage* message) {
    if (CanTakeMore()) {
        // Not being woken up is no loss: nobody relies on this message to arrive.
        (void)Queue(message);
    }
}

void TClientChannel::Drain() {
    std::unique_lock<std::mutex> lock(mutex);
    const auto begin = TClock::now();
    if (leading || begin < nextDrain) {
        return;
    }
    leading = true;
    lock.unlock();
    (void)Dispatch();
    const auto limit = begin + DRAIN_LIMIT;
    busy = false;
    while (CanReadOrSend() && TClock::now() < limit) {
        Read();
        (void)Dispatch();
        busy = true;
    }
    busy = busy || HasUnsent();
    lock.lock();
    nextDrain = TClock::now() + (busy ? BUSY_DRAIN_INTERVAL : DRAIN_INTERVAL);
    leading = false;
    WakeDone();
    if (!waiters.empty()) {
        waiters.front()->condition.notify_one();
    }
}

void TClientChannel::WakeAll() {
    const std::lock_guard<std::mutex> lock(mutex);
    for (TWaiter* const waiter : waiters) {
        waiter->condition.notify_one();
    }
    Kick();
}

bool TClientChannel::IsDone(const TWaiter& waiter) const {
    if (waiter.pending != nullptr) {
        return dbus_pending_call_get_completed(waiter.pending) != FALSE;
    }
    return lost || !HasUnsent();
}

bool TClientChannel::WaitUntilDone(TWaiter& waiter, TClock::time_point deadline, const TRun* run) {
    std::unique_lock<std::mutex> lock(mutex);
    waiters.push_back(&waiter);
    bool done = IsDone(waiter);
    while (!done && !lost && TClock::now() < deadline && !(run != nullptr && run->IsInterrupted())) {
        if (leading) {
            waiter.condition.wait_until(lock, deadline);
        } else {
            leading = true;
            lock.unlock();
            LeadOnce(waiter, deadline);
            lock.lock();
            leading = false;
            WakeDone();
        }
        done = IsDone(waiter);
    }
    waiters.erase(std::find(waiters.begin(), waiters.end(), &waiter));
    if (!leading && !waiters.empty()) {
        waiters.front()->condition.notify_one();
    }
    return done;
}

bool TClientChannel::WaitUntilSent(TClock::time_point deadline, const TRun* run) {
    TWaiter waiter{nullptr, {}};
    bool done = WaitUntilDone(waiter, deadline, run);
    for (bool isRead = true; isRead && !done && !lost && TClock::now() < deadline;) {
        const unsigned before = readings;
        done = WaitUntilDone(waiter, std::min(deadline, DeadlineAfter(STOPPED_PATIENCE_MS)), nullptr);
        isRead = readings != before;
    }
    return done;
}

// The mutex is held: the others' answers may have been dispatched while this thread led.
void TClientChannel::WakeDone() {
    for (TWaiter* const waiter : waiters) {
        if (lost || IsDone(*waiter)) {
            waiter->condition.notify_one();
        }
    }
}

void TClientChannel::LeadOnce(const TWaiter& waiter, TClock::time_point deadline) {
    // Another thread that flushed may have read messages already: the socket would stay silent about them.
    const bool isWhole = Dispatch();
    if (IsDone(waiter) || lost) {
        return;
    }
    if (isWhole) {
        Poll(deadline);
    } else {
        // What is there to read would end a wait for it at once.
        PauseForMemory(std::min(deadline, DeadlineAfter(MEMORY_RETRY_MS)));
    }
    Read();
    (void)Dispatch();
    if (!IsDone(waiter) && !lost) {
        ReadRest();
        (void)Dispatch();
    }
}

void TClientChannel::Poll(TClock::time_point deadline) {
    // Set before anything is looked at: whoever queues a message, or finds the connection lost, after that
    // look sees it set and kicks.
    polling = true;
    int fd = -1;
    if (dbus_connection_get_unix_fd(connection.get(), &fd) == FALSE) {
        lost = true;
    } else if (PollFor(fd, static_cast<short>(HasUnsent() ? POLLIN | POLLOUT : POLLIN), deadline)) {
        ++readings;
    }
    polling = false;
}

void TClientChannel::PauseForMemory(TClock::time_point deadline) {
    polling = true;
    (void)PollFor(-1, 0, deadline);
    polling = false;
}

bool TClientChannel::PollFor(int fd, short events, TClock::time_point deadline) {
    pollfd polled[] = {{fd, events, 0}, {kick.Get(), POLLIN, 0}};
    const int ready = poll(polled, 2, PollTimeout(deadline));
    if (ready > 0 && polled[1].revents != 0) {
        eventfd_t ignored = 0;
        (void)eventfd_read(kick.Get(), &ignored);
    }
    return (polled[0].revents & POLLOUT) != 0;
}

bool TClientChannel::CanReadOrSend() const {
    pollfd polled{-1, static_cast<short>(HasUnsent() ? POLLIN | POLLOUT : POLLIN), 0};
    return !lost && dbus_connection_get_unix_fd(connection.get(), &polled.fd) != FALSE &&
           poll(&polled, 1, 0) > 0;
}

void TClientChannel::Read() {
    const std::lock_guard<std::mutex> lock(access);
    (void)dbus_connection_read_write(connection.get(), 0);
}

void TClientChannel::ReadRest() {
    const std::lock_guard<std::mutex> lock(access);
    ReadArrived(connection.get());
}

bool TClientChannel::Dispatch() {
    const std::lock_guard<std::mutex> lock(access);
    DBusDispatchStatus status = DBUS_DISPATCH_DATA_REMAINS;
    while (status == DBUS_DISPATCH_DATA_REMAINS) {
        status = dbus_connection_dispatch(connection.get());
    }
    if (dbus_connection_get_is_connected(connection.get()) == FALSE) {
        lost = true;
    }
    return status != DBUS_DISPATCH_NEED_MEMORY;
}

} // namespace zelto
