// Times the calls of a program under load and notes how they ended.
#ifndef ZELTO_TESTS_LOAD_CALLER_H
#define ZELTO_TESTS_LOAD_CALLER_H

#include "load/Board.h"
#include "load/Probe.h"

#include <functional>
#include <string>

namespace load {

// How long a call may go on after its time-out.
constexpr int64_t ALLOWED_OVERRUN = 100 * NS_PER_MS;

class TCaller {
public:
    // One for each thread; `threadIndex` below MAX_THREADS.
    TCaller(TBoard& noted, const TProbe& lateness, std::size_t threadIndex, int32_t timeoutSeconds)
        : board(noted), probe(lateness), index(threadIndex), timeout(timeoutSeconds * 1000 * NS_PER_MS) {}

    // Runs one request of the application interface and gives its code.
    template <typename TRequest>
    int Time(const TRequest& request) {
        const int64_t begin = Now();
        const int code = request();
        Note(begin, Now(), code);
        return code;
    }
    // Counts as wrong unless it holds.
    void Require(bool holds, const std::function<std::string()>& fault) const;

    // Waits while the board says so, or its limit of calls is reached, and a moment after a failure. False
    // when the program is to end.
    bool MayGoOn();

private:
    void Note(int64_t begin, int64_t end, int code);
    void NoteGood(int64_t begin, int64_t end);
    void NoteOverrun(int64_t deadline, int64_t end);

    TBoard& board;
    const TProbe& probe;
    const std::size_t index;
    const int64_t timeout;
    bool hasFailed = false;
};

} // namespace load

#endif
