// Who asked for what, and how it went: a line each on standard error.
#ifndef REMOTED_LOG_H
#define REMOTED_LOG_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace remoted {

// A line in parts. Any thread. Needs no memory and does not wait for a pipe, a socket or a file: what
// standard error does not take at once is lost, since whoever reads it must not be able to stop the service.
// A terminal whose reader hangs says that there is room and then keeps the writer waiting.
void Log(std::string_view line, std::string_view rest = "", std::string_view end = "") noexcept;

// Bounds the lines that anybody can bring about at will: one in a second.
class TLineLimit {
public:
    using TTime = std::chrono::steady_clock::time_point;

    // What to log of a line: itself, with the number of those before it that were left out; "" for nothing.
    std::string Take(const std::string& line, TTime now);
    // Logs the line or leaves it out. Needs no memory.
    void Log(std::string_view line, std::string_view rest, TTime now = TTime::clock::now()) noexcept;

private:
    // How many were left out before one that may be logged now.
    std::optional<std::size_t> Pass(TTime now) noexcept;

    TTime next; // not before
    std::size_t leftOut = 0;
};

} // namespace remoted

#endif
