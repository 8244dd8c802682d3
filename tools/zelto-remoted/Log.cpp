#include "Log.h"

#include <cstdio>
#include <mutex>
#include <utility>

#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

namespace remoted {

namespace {

constexpr std::string_view PREFIX = "zelto-remoted: ";
// Of each part: what a pipe takes whole as soon as it has room is 4096 bytes.
constexpr std::size_t LONGEST_PART = 2000;
constexpr std::size_t LONGEST_END = 50;
constexpr std::chrono::seconds SELDOM{1};

iovec Bytes(std::string_view text) {
    return {const_cast<char*>(text.data()), text.size()}; // only read
}

struct TLeftOut {
    char text[LONGEST_END] = "";
};

TLeftOut LeftOut(std::size_t lines) {
    TLeftOut leftOut;
    if (lines != 0) {
        (void)std::snprintf(leftOut.text, sizeof(leftOut.text), " (%zu lines left out)", lines);
    }
    return leftOut;
}

} // namespace

void Log(std::string_view line, std::string_view rest, std::string_view end) noexcept {
    static std::mutex mutex; // the room that one thread has seen is not for another to take
    const iovec parts[] = {Bytes(PREFIX), Bytes(line.substr(0, LONGEST_PART)),
                           Bytes(rest.substr(0, LONGEST_PART)), Bytes(end.substr(0, LONGEST_END)),
                           Bytes("\n")};
    const std::lock_guard<std::mutex> lock(mutex);
    pollfd room{STDERR_FILENO, POLLOUT, 0};
    if (poll(&room, 1, 0) == 1 && (room.revents & POLLOUT) != 0) {
        // In one call, so that lines of several processes do not mix. There is nobody to tell of a failure.
        (void)!writev(STDERR_FILENO, parts, sizeof(parts) / sizeof(parts[0]));
    }
}

std::optional<std::size_t> TLineLimit::Pass(TTime now) noexcept {
    if (now < next) {
        ++leftOut;
        return std::nullopt;
    }
    next = now + SELDOM;
    return std::exchange(leftOut, 0);
}

std::string TLineLimit::Take(const std::string& line, TTime now) {
    const std::optional<std::size_t> before = Pass(now);
    return before ? line + LeftOut(*before).text : "";
}

void TLineLimit::Log(std::string_view line, std::string_view rest, TTime now) noexcept {
    const std::optional<std::size_t> before = Pass(now);
    if (before) {
        remoted::Log(line, rest, LeftOut(*before).text);
    }
}

} // namespace remoted
