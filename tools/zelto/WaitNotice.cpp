#include "WaitNotice.h"

#include "Output.h"

#include <chrono>

#include <unistd.h>

namespace tool {

namespace {

constexpr std::chrono::seconds PATIENCE(2);

} // namespace

TWaitNotice::TWaitNotice(const std::string& message) {
    if (isatty(STDERR_FILENO) == 1) {
        thread = std::thread([this, message] { WaitAndTell(message); });
    }
}

TWaitNotice::~TWaitNotice() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isOver = true;
    }
    changed.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
}

void TWaitNotice::WaitAndTell(const std::string& message) {
    std::unique_lock<std::mutex> lock(mutex);
    if (!changed.wait_for(lock, PATIENCE, [this] { return isOver; })) {
        PrintError(message);
    }
}

} // namespace tool
