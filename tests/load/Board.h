// Where a program under load writes down what it finds, and where it is told what to do: a file that it
// shares with the program that started it, and that survives when it is killed.
#ifndef ZELTO_TESTS_LOAD_BOARD_H
#define ZELTO_TESTS_LOAD_BOARD_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace load {

using TClock = std::chrono::steady_clock;

// On a clock that all processes share.
inline int64_t Now() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(TClock::now().time_since_epoch()).count();
}
constexpr int64_t NS_PER_MS = 1000000;

// Times in nanoseconds, sixteen steps to each doubling: read back within 6 %.
class THistogram {
public:
    using TCounts = std::array<uint32_t, 1024>;

    void Add(int64_t time);
    TCounts Counts() const;

    static uint64_t Sum(const TCounts& counts);
    // The time that this part of them does not exceed, in nanoseconds; 0 without any.
    static int64_t Percentile(const TCounts& counts, double part);
    // What came between two looks.
    static TCounts Difference(const TCounts& later, const TCounts& earlier);

private:
    std::array<std::atomic<uint32_t>, 1024> buckets;
};

constexpr std::size_t MAX_THREADS = 8;
using TCounter = std::atomic<uint32_t>;

// All zero at first.
struct TBoard {
    // Told by the starter.
    std::atomic<bool> paused;
    std::atomic<bool> stopped;
    TCounter callLimit;        // calls of all threads; 0 for no limit
    std::atomic<int64_t> mark; // the first good call that begins after it is noted

    // Noted by the program. A good call is one that returned 0; what it returned may still count as wrong.
    std::atomic<bool> ready;
    TCounter calls;
    TCounter good;
    TCounter refused;  // -1 before the time-out
    TCounter timedOut; // -1 at the time-out
    TCounter notSent;  // 3
    TCounter wrong;    // answers, events and outputs that are not what they must be
    TCounter late;     // calls that ended too long after their time-out
    TCounter events;
    std::atomic<int64_t> longestOverrun; // beyond the time-out and what the machine itself was late
    std::atomic<int64_t> recovered;      // end of the first good call after the mark
    std::array<std::atomic<int64_t>, MAX_THREADS> lastGood; // its begin, by thread
    THistogram times;                                       // of the good calls
    TCounter faultCount;
    char fault[512]; // the first one in words

    uint32_t Failures() const { return refused + timedOut + notSent; }
    void Fault(const std::string& text);
    std::string FirstFault() const;
};

// The mapping of a board. The starter makes the file, the program opens it.
class TSharedBoard {
public:
    static TSharedBoard Create(const std::string& path);
    static TSharedBoard Open(const std::string& path);
    TSharedBoard(TSharedBoard&& other) noexcept;
    TSharedBoard& operator=(TSharedBoard&& other) noexcept;
    ~TSharedBoard();

    TBoard& operator*() const { return *board; }
    TBoard* operator->() const { return board; }

private:
    explicit TSharedBoard(TBoard* mapped) : board(mapped) {}
    static TSharedBoard Map(const std::string& path, int flags);

    TBoard* board;
};

} // namespace load

#endif
