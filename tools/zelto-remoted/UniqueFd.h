// Owns a file descriptor.
#ifndef REMOTED_UNIQUE_FD_H
#define REMOTED_UNIQUE_FD_H

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace remoted {

class TUniqueFd {
public:
    TUniqueFd() = default;
    explicit TUniqueFd(int ownedFd) : fd(ownedFd) {}
    TUniqueFd(TUniqueFd&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    TUniqueFd& operator=(TUniqueFd&& other) noexcept {
        Reset(std::exchange(other.fd, -1));
        return *this;
    }
    TUniqueFd(const TUniqueFd&) = delete;
    TUniqueFd& operator=(const TUniqueFd&) = delete;
    ~TUniqueFd() { Reset(); }

    int Get() const { return fd; }
    explicit operator bool() const { return fd >= 0; }

    void Reset(int ownedFd = -1) {
        if (fd >= 0) {
            const int error = errno; // cleaning up does not hide why the work failed
            ::close(fd);
            errno = error;
        }
        fd = ownedFd;
    }

private:
    int fd = -1;
};

} // namespace remoted

#endif
