// What the dispatch threads of one Run share until they are stopped.
//
// They take turns as leader: the leader waits for messages and hands them on, the others wait until it has
// done so. A thread that is still in a callback when its run is stopped, because the callback stopped it,
// finds its own run stopped even when another one has begun. It keeps the lead until it is back: the threads
// of the other run would wait inside libdbus for it otherwise, where nobody can stop them.
#ifndef ZELTO_IPC_DISPATCH_RUN_H
#define ZELTO_IPC_DISPATCH_RUN_H

#include "utils/UniqueFd.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace zelto {

struct TBusLink;

// What all runs of a party share.
struct TLead {
    std::mutex mutex;
    std::condition_variable isFree;
    bool isTaken = false;
};

class TRun {
public:
    // `runOwner` only tells runs of different parties apart. Throws std::runtime_error when the process has
    // no descriptor left.
    TRun(const void* runOwner, std::shared_ptr<TLead> partyLead);

    // The run that the current thread dispatches for; null on any other thread.
    static TRun* OfThisThread();

    bool IsOf(const void* party) const { return owner == party; }
    bool IsStopping() const { return stopping; }
    // A callback's calls are not worth waiting for any more.
    bool IsInterrupted() const { return interrupted; }
    // From then on every turn ends at once. On another thread it also interrupts.
    void RequestStop();
    // A call that a callback has under way, or makes from then on, ends without an answer.
    void Interrupt();

    // Waits for the lead; false when the run is stopped.
    bool Lead();
    void Unlead();

    // Readable when the run is stopped or the link has been replaced.
    int GetWakeFd() const { return wake.Get(); }
    void Wake();
    // Takes back a Wake; does nothing once the run is stopped.
    void ClearWake();

    // Says which link a callback of this run is waiting on, so that Interrupt can wake it; null when it is
    // back.
    void SetWaiting(std::shared_ptr<TBusLink> link);

    // Marks the current thread as one of this run for the length of a scope.
    class TThreadScope {
    public:
        explicit TThreadScope(TRun* run);
        ~TThreadScope();
        TThreadScope(const TThreadScope&) = delete;
        TThreadScope& operator=(const TThreadScope&) = delete;
    };

private:
    const void* const owner;
    std::atomic<bool> stopping{false};
    std::atomic<bool> interrupted{false};
    TUniqueFd wake;
    const std::shared_ptr<TLead> lead; // its mutex guards the rest as well
    std::shared_ptr<TBusLink> waiting;
};

} // namespace zelto

#endif
