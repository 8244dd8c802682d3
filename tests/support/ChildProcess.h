// A program started by a test. It dies with the test process; the destructor kills and reaps it.
//
// The kernel ties a child to the thread that started it: start children on a thread that outlives them.
#ifndef ZELTO_TESTS_CHILD_PROCESS_H
#define ZELTO_TESTS_CHILD_PROCESS_H

#include "support/Eventually.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace support {

class TChildProcess {
public:
    using TEnvironment = std::vector<std::pair<std::string, std::string>>;

    struct TOptions {
        TEnvironment environment{}; // added to the test's own, or replacing what is there
        std::string directory{};    // to run in; empty for the test's own
        int errorDescriptor = -1;   // standard error of the child; -1 for one that is captured
        bool isOnTerminals = false; // output and errors go to a terminal each, which changes nothing in them
    };

    // The program is looked up in PATH; one that cannot be started ends with exit code 127.
    explicit TChildProcess(const std::vector<std::string>& command, const TOptions& options);
    explicit TChildProcess(const std::vector<std::string>& command) : TChildProcess(command, TOptions()) {}
    ~TChildProcess();
    TChildProcess(const TChildProcess&) = delete;
    TChildProcess& operator=(const TChildProcess&) = delete;

    pid_t Pid() const;
    bool IsRunning() const;

    // Does nothing once the child has ended.
    void Signal(int number);
    void Kill(); // SIGKILL, and waits for the end

    // The exit code, or 128 and the number of the signal that ended it; empty when it still runs at the
    // bound.
    std::optional<int> WaitForExit(std::chrono::milliseconds timeout = DEFAULT_TIMEOUT);

    // What it has written so far. Complete after WaitForExit, unless children of its own still hold the
    // pipes.
    std::string Output() const;
    std::string Errors() const;
    bool WaitForOutput(const std::string& part, std::chrono::milliseconds timeout = DEFAULT_TIMEOUT);
    bool WaitForErrors(const std::string& part, std::chrono::milliseconds timeout = DEFAULT_TIMEOUT);

    void WriteInput(const std::string& text);
    void CloseInput();

private:
    struct TState;
    std::unique_ptr<TState> state;
};

// Runs a program to its end. The exit code is -1 when it had to be killed at the bound.
struct TRunResult {
    int exitCode;
    std::string output;
    std::string errors;
};

TRunResult RunProgram(const std::vector<std::string>& command, const TChildProcess::TOptions& options = {},
                      std::chrono::milliseconds timeout = std::chrono::seconds(30));

} // namespace support

#endif
