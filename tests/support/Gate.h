// What one thread waits for until another one lets it go on, with a bound.
#ifndef ZELTO_TESTS_GATE_H
#define ZELTO_TESTS_GATE_H

#include "support/Eventually.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace support {

class TGate {
public:
    void Open() {
        const std::lock_guard<std::mutex> lock(mutex);
        isOpen = true;
        changed.notify_all();
    }
    // Whether it is open within that time.
    bool Wait(std::chrono::milliseconds bound = DEFAULT_TIMEOUT) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, bound, [this] { return isOpen; });
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    bool isOpen = false;
};

} // namespace support

#endif
