#include "load/Caller.h"

#include <thread>

namespace load {

namespace {

constexpr std::chrono::milliseconds REST{50};
constexpr std::chrono::milliseconds REST_AFTER_FAILURE{5};
constexpr int NOT_SENT = 3;

} // namespace

void TCaller::Note(int64_t begin, int64_t end, int code) {
    ++board.calls;
    hasFailed = code != 0;
    if (code == 0) {
        NoteGood(begin, end);
    } else if (code == NOT_SENT) {
        ++board.notSent;
    } else if (code != -1) {
        ++board.wrong;
        board.Fault("the code " + std::to_string(code));
    } else if (end - begin < timeout) {
        ++board.refused;
    } else {
        ++board.timedOut;
    }
    if (end - begin > timeout) {
        NoteOverrun(begin + timeout, end);
    }
}

void TCaller::NoteGood(int64_t begin, int64_t end) {
    ++board.good;
    board.times.Add(end - begin);
    board.lastGood[index] = begin;
    int64_t none = 0;
    if (board.mark != 0 && begin >= board.mark) {
        (void)board.recovered.compare_exchange_strong(none, end);
    }
}

void TCaller::NoteOverrun(int64_t deadline, int64_t end) {
    const int64_t overrun = end - deadline - probe.LatenessBetween(deadline, end);
    int64_t longest = board.longestOverrun;
    while (overrun > longest && !board.longestOverrun.compare_exchange_weak(longest, overrun)) {
    }
    if (overrun > ALLOWED_OVERRUN) {
        ++board.late;
        board.Fault("a call ended " + std::to_string(overrun / NS_PER_MS) + " ms after its time-out");
    }
}

void TCaller::Require(bool holds, const std::function<std::string()>& fault) const {
    if (!holds) {
        ++board.wrong;
        board.Fault(fault());
    }
}

bool TCaller::MayGoOn() {
    if (hasFailed) {
        std::this_thread::sleep_for(REST_AFTER_FAILURE);
    }
    while (!board.stopped && (board.paused || (board.callLimit != 0 && board.calls >= board.callLimit))) {
        std::this_thread::sleep_for(REST);
    }
    return !board.stopped;
}

} // namespace load
