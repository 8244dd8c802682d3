#include "ipc/PartyThreads.h"

#include <mutex>
#include <utility>

namespace zelto {

namespace {

// Guards the thread vectors of all transport objects while they are filled and emptied, never while a thread
// is waited for; so two threads may stop one party.
std::mutex threadsGuard;

thread_local std::shared_ptr<TRun> runOfStart;

} // namespace

std::shared_ptr<TRun> RunOfStart() {
    return runOfStart;
}

TStartScope::TStartScope(std::shared_ptr<TRun> run) : outer(std::exchange(runOfStart, std::move(run))) {}

TStartScope::~TStartScope() {
    runOfStart = std::move(outer);
}

void StartThreads(std::vector<std::thread>& threads, std::int32_t count, const std::function<void()>& loop) {
    const std::lock_guard<std::mutex> lock(threadsGuard);
    for (std::int32_t started = 0; started < count; ++started) {
        threads.emplace_back([loop, run = runOfStart] {
            const TStartScope scope(run);
            loop();
        });
    }
}

std::vector<std::thread> TakeThreads(std::vector<std::thread>& threads) {
    const std::lock_guard<std::mutex> lock(threadsGuard);
    return std::exchange(threads, {});
}

void JoinOrLeave(std::vector<std::thread>& threads) {
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else if (thread.joinable()) {
            thread.join();
        }
    }
}

} // namespace zelto
