// Who asked for what, and how it went: a line each on standard error.
#ifndef REMOTED_LOG_H
#define REMOTED_LOG_H

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace remoted {

// A line in two parts. Any thread. Needs no memory and never waits: what standard error does not take at once
// is lost, since whoever reads it must not be able to stop the service.
void Log(std::string_view line, std::string_view rest = "") noexcept;

// Bounds the lines that anybody can bring about at will: one in a second.
class TLineLimit {
public:
    using TTime = std::chrono::steady_clock::time_point;

    // What to log of a line: itself, with the number of those before it that were left out; "" for nothing.
    std::string Take(const std::string& line, TTime now);

private:
    TTime next; // not before
    std::size_t leftOut = 0;
};

} // namespace remoted

#endif
