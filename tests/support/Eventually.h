// Waiting for something that another thread or process brings about, with a bound.
#ifndef ZELTO_TESTS_EVENTUALLY_H
#define ZELTO_TESTS_EVENTUALLY_H

#include <chrono>

#include <poll.h>

namespace support {

// Generous: a bound that a correct program never meets, also under valgrind and on a busy machine.
constexpr std::chrono::milliseconds DEFAULT_TIMEOUT{10000};

// True as soon as the predicate holds, false when it does not within the time. For what cannot be waited on;
// where there is a condition variable or a descriptor, wait on that.
template <typename TPredicate>
bool Eventually(TPredicate&& predicate, std::chrono::milliseconds timeout = DEFAULT_TIMEOUT) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return predicate();
        }
        (void)poll(nullptr, 0, 1); // only a pause between two looks
    }
    return true;
}

} // namespace support

#endif
