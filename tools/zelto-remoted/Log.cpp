#include "Log.h"

#include <mutex>

#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

namespace remoted {

namespace {

constexpr std::string_view PREFIX = "zelto-remoted: ";
// Of each part: what a pipe takes whole as soon as it has room is 4096 bytes.
constexpr std::size_t LONGEST_PART = 2000;
constexpr std::chrono::seconds SELDOM{1};

iovec Bytes(std::string_view text) {
    return {const_cast<char*>(text.data()), text.size()}; // only read
}

} // namespace

void Log(std::string_view line, std::string_view rest) noexcept {
    static std::mutex mutex; // the room that one thread has seen is not for another to take
    const iovec parts[] = {Bytes(PREFIX), Bytes(line.substr(0, LONGEST_PART)),
                           Bytes(rest.substr(0, LONGEST_PART)), Bytes("\n")};
    const std::lock_guard<std::mutex> lock(mutex);
    pollfd room{STDERR_FILENO, POLLOUT, 0};
    if (poll(&room, 1, 0) == 1 && (room.revents & POLLOUT) != 0) {
        // In one call, so that lines of several processes do not mix. There is nobody to tell of a failure.
        (void)!writev(STDERR_FILENO, parts, sizeof(parts) / sizeof(parts[0]));
    }
}

std::string TLineLimit::Take(const std::string& line, TTime now) {
    if (now < next) {
        ++leftOut;
        return "";
    }
    next = now + SELDOM;
    const std::string before = leftOut == 0 ? "" : " (" + std::to_string(leftOut) + " lines left out)";
    leftOut = 0;
    return line + before;
}

} // namespace remoted
