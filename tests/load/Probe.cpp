#include "load/Probe.h"

#include <algorithm>

namespace load {

namespace {

constexpr int64_t INTERVAL = 5 * NS_PER_MS;
constexpr int64_t RESTING_INTERVAL = 200 * NS_PER_MS;
constexpr int64_t NOTED_LATENESS = NS_PER_MS / 2;
constexpr std::size_t KEPT_SPANS = 2000;

int64_t Overlap(int64_t begin, int64_t end, int64_t otherBegin, int64_t otherEnd) {
    return std::max<int64_t>(0, std::min(end, otherEnd) - std::max(begin, otherBegin));
}

} // namespace

TProbe::TProbe(const TBoard& told) : board(told), nextTurn(Now()) {
    thread = std::thread([this] { Run(); });
}

TProbe::~TProbe() {
    ended = true;
    thread.join();
}

void TProbe::Run() {
    while (!ended) {
        const int64_t turn = Now() + (board.paused ? RESTING_INTERVAL : INTERVAL);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            nextTurn = turn;
        }
        std::this_thread::sleep_until(TClock::time_point(std::chrono::nanoseconds(turn)));
        Note({turn, Now()});
    }
}

void TProbe::Note(TSpan late) {
    if (late.end - late.begin < NOTED_LATENESS) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    spans.push_back(late);
    if (spans.size() > KEPT_SPANS) {
        spans.pop_front();
    }
}

int64_t TProbe::LatenessBetween(int64_t begin, int64_t end) const {
    const std::lock_guard<std::mutex> lock(mutex);
    // It may not have run yet since it wanted to; then that span is not noted.
    int64_t lateness = Overlap(begin, end, nextTurn, end);
    for (const TSpan& span : spans) {
        lateness += span.begin == nextTurn ? 0 : Overlap(begin, end, span.begin, span.end);
    }
    return lateness;
}

} // namespace load
