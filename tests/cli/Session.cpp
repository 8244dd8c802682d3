#include "cli/Session.h"

#include "support/Eventually.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cli {

namespace {

using TClock = std::chrono::steady_clock;

constexpr int EXIT_NOT_STARTED = 127;
constexpr int EXIT_SIGNAL_BASE = 128;

int RemainingMs(TClock::time_point end) {
    const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(end - TClock::now()).count();
    return remaining > 0 ? static_cast<int>(remaining) : 0;
}

} // namespace

TSession::TSession(const std::vector<std::string>& arguments) {
    std::vector<std::string> line = {ZELTO_COMMAND_PATH};
    line.insert(line.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : line) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    (void)setenv("TERM", "xterm", 1); // fails only without memory
    const winsize size = {24, 200, 0, 0};
    int master = -1;
    process = forkpty(&master, nullptr, nullptr, &size);
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execv(pointers[0], pointers.data());
        _exit(EXIT_NOT_STARTED);
    }
    terminal.Reset(master);
    if (process < 0) {
        throw std::runtime_error("no process");
    }
}

TSession::~TSession() {
    if (process > 0) {
        (void)kill(process, SIGKILL); // it is a child that nobody has waited for
        (void)waitpid(process, nullptr, 0);
    }
}

void TSession::Type(const std::string& keys) {
    if (write(terminal.Get(), keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("cannot type");
    }
}

bool TSession::ReadMore(int timeoutMs) {
    pollfd polled = {terminal.Get(), POLLIN, 0};
    std::array<char, 4096> buffer;
    if (poll(&polled, 1, timeoutMs) <= 0) {
        return false;
    }
    const ssize_t size = read(terminal.Get(), buffer.data(), buffer.size());
    if (size > 0) {
        screen.append(buffer.data(), static_cast<size_t>(size));
    }
    return size > 0;
}

bool TSession::WaitFor(const std::string& text) {
    const TClock::time_point end = TClock::now() + support::DEFAULT_TIMEOUT;
    size_t found = screen.find(text, seen);
    while (found == std::string::npos && ReadMore(RemainingMs(end))) {
        found = screen.find(text, seen);
    }
    seen = found == std::string::npos ? seen : found + text.size();
    return found != std::string::npos;
}

std::optional<int> TSession::WaitForExit() {
    int status = 0;
    const bool hasEnded = support::Eventually([this, &status] {
        (void)ReadMore(0); // it must not wait for somebody to read
        return waitpid(process, &status, WNOHANG) == process;
    });
    if (!hasEnded) {
        return std::nullopt;
    }
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_SIGNAL_BASE + WTERMSIG(status);
}

} // namespace cli
