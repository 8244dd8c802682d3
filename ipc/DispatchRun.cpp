#include "ipc/DispatchRun.h"

#include "ipc/BusLink.h"
#include "ipc/DBusNames.h"

#include <utility>

#include <sys/eventfd.h>

namespace zelto {

namespace {

thread_local TRun* runOfThisThread = nullptr;

} // namespace

TRun::TRun(const void* runOwner, std::shared_ptr<TLead> partyLead)
    : owner(runOwner), wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), lead(std::move(partyLead)) {
    if (!wake) {
        Fail("eventfd failed");
    }
}

TRun* TRun::OfThisThread() {
    return runOfThisThread;
}

TRun::TThreadScope::TThreadScope(TRun* run) {
    runOfThisThread = run;
}

TRun::TThreadScope::~TThreadScope() {
    runOfThisThread = nullptr;
}

void TRun::RequestStop() {
    // Nobody waits for a callback that stops its own party: it may go on making calls.
    if (OfThisThread() != this) {
        Interrupt();
    }
    const std::lock_guard<std::mutex> lock(lead->mutex);
    stopping = true;
    lead->isFree.notify_all();
    Wake();
}

void TRun::Interrupt() {
    std::shared_ptr<TBusLink> waitedOn;
    {
        const std::lock_guard<std::mutex> lock(lead->mutex);
        interrupted = true;
        waitedOn = waiting;
    }
    if (waitedOn) {
        waitedOn->client.WakeAll();
    }
}

bool TRun::Lead() {
    std::unique_lock<std::mutex> lock(lead->mutex);
    lead->isFree.wait(lock, [this] { return stopping || !lead->isTaken; });
    if (stopping) {
        return false;
    }
    lead->isTaken = true;
    return true;
}

void TRun::Unlead() {
    const std::lock_guard<std::mutex> lock(lead->mutex);
    lead->isTaken = false;
    lead->isFree.notify_one();
}

void TRun::Wake() {
    (void)eventfd_write(wake.Get(), 1);
}

void TRun::ClearWake() {
    const std::lock_guard<std::mutex> lock(lead->mutex);
    if (!stopping) {
        eventfd_t ignored = 0;
        (void)eventfd_read(wake.Get(), &ignored);
    }
}

void TRun::SetWaiting(std::shared_ptr<TBusLink> link) {
    const std::lock_guard<std::mutex> lock(lead->mutex);
    waiting = std::move(link);
}

} // namespace zelto
