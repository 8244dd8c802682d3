// Time-outs come from callers in seconds and are counted in milliseconds.
#ifndef ZELTO_IPC_TIMEOUTS_H
#define ZELTO_IPC_TIMEOUTS_H

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>

namespace zelto {

using TClock = std::chrono::steady_clock;

// How soon is looked again when libdbus had no memory.
constexpr int32_t MEMORY_RETRY_MS = 100;
// Whoever stops a party waits for what it sends last, but not for a bus that has not read for so long.
constexpr int32_t STOPPED_PATIENCE_MS = 50;

// Saturates instead of overflowing.
inline int32_t SecondsToMilliseconds(int32_t seconds) {
    const int64_t milliseconds = int64_t{seconds} * 1000;
    return static_cast<int32_t>(std::clamp<int64_t>(milliseconds, std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

// A negative time-out counts as 0.
inline TClock::time_point DeadlineAfter(int32_t milliseconds) {
    return TClock::now() + std::chrono::milliseconds(std::max<int32_t>(milliseconds, 0));
}

// What is left until a deadline, for poll(): rounded up, so that the last turn does not spin.
inline int PollTimeout(TClock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - TClock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, std::numeric_limits<int>::max()));
}

} // namespace zelto

#endif
