#include "ChildLine.h"

#include "ExitCodes.h"
#include "Output.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool {

namespace {

using TClock = std::chrono::steady_clock;

class TDescriptor {
public:
    ~TDescriptor() { Close(); }
    TDescriptor() = default;
    TDescriptor(const TDescriptor&) = delete;
    TDescriptor& operator=(const TDescriptor&) = delete;
    void Close() {
        if (value >= 0) {
            (void)close(value);
        }
        value = -1;
    }

    int value = -1;
};

struct TPipe {
    TDescriptor reader;
    TDescriptor writer;

    TPipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
        reader.value = ends[0];
        writer.value = ends[1];
    }
};

// Keeps signals waiting between fork and the moment when the child has made them its own.
class TSignalPause {
public:
    TSignalPause() {
        sigset_t all;
        (void)sigfillset(&all);
        (void)sigprocmask(SIG_BLOCK, &all, &before);
    }
    ~TSignalPause() { (void)sigprocmask(SIG_SETMASK, &before, nullptr); }
    TSignalPause(const TSignalPause&) = delete;
    TSignalPause& operator=(const TSignalPause&) = delete;

private:
    sigset_t before = {};
};

// Nothing may be thrown past it: the child would go on as a second shell.
int RunGuarded(const std::function<int()>& work) {
    try {
        return work();
    } catch (const std::exception& error) {
        PrintError(error.what());
        return EXIT_RUN_TIME;
    }
}

// The child has the writing end of the pipe and only closes it by ending.
pid_t Start(std::unique_ptr<TStopSignal>& stop, const std::function<int()>& work, TPipe& pipe,
            bool isCaptured) {
    auto pause = std::make_unique<TSignalPause>();
    pid_t child = fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child > 0) {
        pipe.writer.Close();
        return child;
    }
    stop.reset();
    (void)prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (isCaptured) {
        (void)dup2(pipe.writer.value, STDOUT_FILENO); // what is lost if it fails is not worth a message
    }
    pause.reset();
    std::exit(RunGuarded(work));
}

int WaitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_SIGNAL_BASE + WTERMSIG(status);
}

// False at the end of the pipe.
bool ReadSome(int descriptor, std::string& text) {
    std::array<char, 4096> buffer;
    ssize_t size = read(descriptor, buffer.data(), buffer.size());
    if (size > 0) {
        text.append(buffer.data(), static_cast<size_t>(size));
    }
    return size > 0;
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

int RunInChild(std::unique_ptr<TStopSignal>& stop, const std::function<int()>& work) {
    TPipe pipe;
    pid_t child = Start(stop, work, pipe, false);
    std::array<pollfd, 2> polled = {{{pipe.reader.value, POLLIN, 0}, {stop->Fd(), POLLIN, 0}}};
    while (polled[0].revents == 0) {
        (void)poll(polled.data(), polled.size(), -1); // what has happened shows below
        if (stop->ExitCode() != 0) {
            (void)kill(child, stop->ExitCode() - EXIT_SIGNAL_BASE); // it may have ended just now
            break;
        }
    }
    return WaitFor(child);
}

std::vector<std::string> LinesOfChild(std::unique_ptr<TStopSignal>& stop, const std::function<int()>& work,
                                      int timeoutMs) {
    TPipe pipe;
    pid_t child = Start(stop, work, pipe, true);
    TClock::time_point end = TClock::now() + std::chrono::milliseconds(timeoutMs);
    std::string text;
    pollfd polled = {pipe.reader.value, POLLIN, 0};
    for (;;) {
        auto remaining = std::chrono::ceil<std::chrono::milliseconds>(end - TClock::now()).count();
        int ready = poll(&polled, 1, remaining > 0 ? static_cast<int>(remaining) : 0);
        if (ready == 0 || (ready > 0 && !ReadSome(polled.fd, text))) {
            break;
        }
    }
    (void)kill(child, SIGKILL); // it may have ended by itself
    (void)WaitFor(child);
    return LinesOf(text);
}

} // namespace tool
