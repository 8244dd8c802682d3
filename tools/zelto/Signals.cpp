#include "Signals.h"

#include "ExitCodes.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tool {

namespace {

using TClock = std::chrono::steady_clock;

std::atomic<int> noteFd{-1};
std::atomic<int> notedSignal{0};

void OnSignal(int number) {
    const int savedError = errno;
    const int fd = noteFd;
    if (fd < 0) {
        _exit(EXIT_SIGNAL_BASE + number);
    }
    notedSignal = number;
    const eventfd_t one = 1;
    (void)!write(fd, &one, sizeof(one)); // it cannot be full
    errno = savedError;
}

} // namespace

void PrepareSignals() {
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    (void)sigemptyset(&action.sa_mask);
    (void)sigaction(SIGINT, &action, nullptr);
    (void)sigaction(SIGTERM, &action, nullptr);
    (void)std::signal(SIGPIPE, SIG_IGN);
}

TStopSignal::TStopSignal() {
    const int fd = eventfd(0, EFD_CLOEXEC);
    if (fd < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    notedSignal = 0;
    noteFd = fd;
}

TStopSignal::~TStopSignal() {
    (void)close(noteFd.exchange(-1));
}

int TStopSignal::Fd() const {
    return noteFd;
}

int TStopSignal::ExitCode() const {
    const int number = notedSignal;
    return number == 0 ? 0 : EXIT_SIGNAL_BASE + number;
}

void TStopSignal::End() {
    const eventfd_t one = 1;
    (void)!write(Fd(), &one, sizeof(one)); // it cannot be full
}

bool TStopSignal::WaitFor(int milliseconds) const {
    const auto deadline = TClock::now() + std::chrono::milliseconds(milliseconds);
    pollfd polled = {Fd(), POLLIN, 0};
    int timeLeft = milliseconds;
    // The signal itself interrupts the wait.
    while (poll(&polled, 1, timeLeft) < 0 && errno == EINTR) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - TClock::now());
        timeLeft = milliseconds < 0 ? milliseconds : static_cast<int>(std::max<int64_t>(left.count(), 0));
    }
    return (polled.revents & POLLIN) != 0;
}

} // namespace tool
