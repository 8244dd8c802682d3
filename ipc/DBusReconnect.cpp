#include "ipc/DBusReconnect.h"

#include "utils/Log.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>

namespace zelto {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds FIRST_INTERVAL{100};
constexpr milliseconds LAST_INTERVAL{5000};
constexpr milliseconds CANCEL_LIMIT{2000};

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
