// How late the machine is: a thread that wants to run every few milliseconds notes when it could not. A
// process that was stopped, or kept from the processor, is not to be blamed for that time.
#ifndef ZELTO_TESTS_LOAD_PROBE_H
#define ZELTO_TESTS_LOAD_PROBE_H

#include "load/Board.h"

#include <deque>
#include <mutex>
#include <thread>

namespace load {

class TProbe {
public:
    // Rests while the board says so.
    explicit TProbe(const TBoard& told);
    ~TProbe();
    TProbe(const TProbe&) = delete;
    TProbe& operator=(const TProbe&) = delete;

    // For how long of this span it wanted to run and could not, in nanoseconds.
    int64_t LatenessBetween(int64_t begin, int64_t end) const;

private:
    struct TSpan {
        int64_t begin;
        int64_t end;
    };
    void Run();
    void Note(TSpan late);

    const TBoard& board;
    std::atomic<bool> ended{false};
    mutable std::mutex mutex;
    int64_t nextTurn;
    std::deque<TSpan> spans;
    std::thread thread;
};

} // namespace load

#endif
