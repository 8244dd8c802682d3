// The client connection of a party, shared by all threads that call methods and send events.
//
// libdbus lets one thread at a time read a connection, and lets it keep the others out while it waits for
// data. So nobody waits inside libdbus here: of the threads that wait for an answer one, the leader, polls
// the socket, reads and dispatches for all; the others wait on a condition of their own and are woken when
// their answer is there, or to lead when the leader has got its own.
#ifndef ZELTO_IPC_CLIENT_CHANNEL_H
#define ZELTO_IPC_CLIENT_CHANNEL_H

#include "ipc/DBusWrappers.h"
#include "ipc/Timeouts.h"
#include "utils/UniqueFd.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

namespace zelto {

class TRun;

class TClientChannel {
public:
    // Takes over both references to the connection. Throws std::runtime_error when the process has no
    // descriptor left.
    explicit TClientChannel(TConnectionHandle ownedConnection);
    ~TClientChannel();
    TClientChannel(const TClientChannel&) = delete;
    TClientChannel& operator=(const TClientChannel&) = delete;

    DBusConnection* Get() const { return connection.get(); }
    // The bus has closed the connection, as far as is known here.
    bool IsLost() const;

    // Sends a method call; null when it cannot be sent.
    TPendingCallHandle SendCall(DBusMessage* message);
    // Waits for its answer; null when there is none by the deadline, or when `run`, the dispatch thread's own
    // if it is one that waits, is interrupted meanwhile.
    TMessageHandle WaitForAnswer(DBusPendingCall* pending, TClock::time_point deadline, const TRun* run);

    // Sends a message that has no answer and waits until it has left, at most until the deadline, and once
    // `run` is interrupted only as long as the bus goes on reading; after that it leaves with later messages.
    // False when it cannot be sent.
    bool Send(DBusMessage* message, TClock::time_point deadline, const TRun* run);
    // Hands a message to libdbus and returns.
    void Post(DBusMessage* message);

    // Takes in, without waiting, what has arrived that nobody waits for, and sends what the bus did not take
    // before.
    void Drain();
    // The last Drain has found something, or something has been left: more is likely to be done at once.
    bool IsBusy() const { return busy; }
    // A message did not leave in time. It leaves with later ones, or by a Drain.
    bool IsStalled() const { return stalled; }
    // Makes every waiting thread look at its reasons to stop waiting.
    void WakeAll();

private:
    struct TWaiter {
        DBusPendingCall* pending; // null: waits until everything has been sent
        std::condition_variable condition;
    };

    bool CanTakeMore();
    bool IsClogged() const;
    bool Queue(DBusMessage* message);
    bool HasUnsent() const;
    void NoteStall(bool isStalled);
    bool IsDone(const TWaiter& waiter) const;
    bool WaitUntilDone(TWaiter& waiter, TClock::time_point deadline, const TRun* run);
    bool WaitUntilSent(TClock::time_point deadline, const TRun* run);
    void LeadOnce(const TWaiter& waiter, TClock::time_point deadline);
    void Poll(TClock::time_point deadline);
    void PauseForMemory(TClock::time_point deadline);
    // True when there is room for what waits to be sent.
    bool PollFor(int fd, short events, TClock::time_point deadline);
    bool CanReadOrSend() const;
    void Read();
    void ReadRest();
    // False when memory is lacking: something is left that the socket is silent about.
    bool Dispatch();
    void WakeDone();
    void Kick();
    static void OnWakeUp(void* channel);

    TConnectionHandle connection;
    // Held in every function of libdbus that may find the connection lost. libdbus lets go of its own lock
    // while it gives up the calls of a lost connection; a second thread that gets there ends the process.
    std::mutex access;
    TUniqueFd kick;
    std::atomic<bool> polling{false};
    std::atomic<bool> lost{false};
    std::atomic<bool> stalled{false};  // a message did not leave in time
    std::atomic<long> stalledBytes{0}; // that waited to be sent then
    std::atomic<bool> busy{false};
    std::atomic<unsigned> readings{0}; // times that the bus was found to have room for what waits to be sent

    std::mutex mutex;
    bool leading = false;
    TClock::time_point nextDrain;  // no sooner
    std::vector<TWaiter*> waiters; // in order of arrival
};

} // namespace zelto

#endif
