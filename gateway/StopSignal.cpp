#include "StopSignal.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <stdexcept>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace gateway {

namespace {

int stopEvent = -1; // lives as long as the process, since a handler has no end

void OnStopSignal(int) {
    int savedError = errno;
    uint64_t one = 1;
    (void)!write(stopEvent, &one, sizeof(one)); // fails only when the event is set already
    errno = savedError;
}

} // namespace

void CatchStopSignals() {
    stopEvent = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (stopEvent < 0) {
        throw std::runtime_error("eventfd failed");
    }
    struct sigaction action = {};
    action.sa_handler = OnStopSignal;
    action.sa_flags = SA_RESTART;
    for (int number : {SIGTERM, SIGINT}) {
        if (sigaction(number, &action, nullptr) != 0) {
            throw std::runtime_error("sigaction failed");
        }
    }
}

bool WaitForStop(int milliseconds) {
    pollfd entry = {stopEvent, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&entry, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

} // namespace gateway
