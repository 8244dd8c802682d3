// System calls of this program that fail or fall short on demand, also those that the library makes. They
// take the place of the C library's functions and make the real call when nothing is planned.
#ifndef ZELTO_TESTS_FAULTY_SYSTEM_H
#define ZELTO_TESTS_FAULTY_SYSTEM_H

#include <cstddef>
#include <deque>
#include <functional>
#include <limits>

#include <sys/statvfs.h>

namespace zelto_test {

// What the next calls of one function do, in order: -EINTR and the like fail with that errno, 0 is the real
// call, and a positive number makes the real call for at most so many bytes, or for NOTHING.
using TCallPlan = std::deque<int>;
constexpr int NOTHING = std::numeric_limits<int>::max();

struct TFaults {
    TCallPlan reads;
    TCallPlan writes;
    TCallPlan kernelCopies; // copy_file_range
    TCallPlan chmods;
    TCallPlan opens;
    TCallPlan opendirs;
    TCallPlan closes;            // a failing close still closes
    int openFlags = 0;           // of the last open
    std::size_t longestRead = 0; // most bytes asked for
    std::size_t longestWrite = 0;
    std::size_t allocationLimit = 0; // larger allocations fail; 0: none do
    std::function<void()> beforeOpendir;
    const struct statvfs* space = nullptr; // what statvfs finds
};

// In force for the calling thread from here to its destruction, one at a time.
class TFaultySystem : public TFaults {
public:
    TFaultySystem();
    ~TFaultySystem();
    TFaultySystem(const TFaultySystem&) = delete;
    TFaultySystem& operator=(const TFaultySystem&) = delete;
};

} // namespace zelto_test

#endif
