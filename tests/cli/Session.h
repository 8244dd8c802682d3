// A zelto command that somebody types at: standard input, output and errors are one terminal, which is its
// own.
#ifndef ZELTO_TESTS_CLI_SESSION_H
#define ZELTO_TESTS_CLI_SESSION_H

#include "utils/UniqueFd.h"

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace cli {

class TSession {
public:
    explicit TSession(const std::vector<std::string>& arguments);
    ~TSession();
    TSession(const TSession&) = delete;
    TSession& operator=(const TSession&) = delete;

    pid_t Pid() const { return process; }
    void Type(const std::string& keys);
    // Waits until the text shows, behind where it was found the last time.
    bool WaitFor(const std::string& text);
    // All that has shown so far.
    const std::string& Screen() const { return screen; }
    // The exit code, or 128 and the number of the signal; empty when it still runs at the bound.
    std::optional<int> WaitForExit();

private:
    bool ReadMore(int timeoutMs);

    pid_t process = -1;
    zelto::TUniqueFd terminal;
    std::string screen;
    size_t seen = 0;
};

constexpr char CONTROL_C[] = "\x03";
constexpr char CONTROL_D[] = "\x04";
constexpr char TAB[] = "\t";
constexpr char UP[] = "\x1b[A";

} // namespace cli

#endif
