#include "ScriptedPeer.h"

#include "FuzzInput.h"

#include <cerrno>

#include <sys/socket.h>

namespace fuzz {

namespace {

constexpr int SOCKET = 1000000; // no descriptor of this process

int Result(TPeerFault fault) {
    errno = ECONNREFUSED;
    return Peer().fault == fault ? -1 : 0;
}

} // namespace

TPeer& Peer() {
    static TPeer peer;
    return peer;
}

} // namespace fuzz

extern "C" {

int __real_close(int fd);

int __wrap_socket(int, int, int) {
    if (fuzz::Result(fuzz::FAILS_SOCKET) != 0) {
        return -1;
    }
    ++fuzz::Peer().opened;
    return fuzz::SOCKET;
}

int __wrap_setsockopt(int fd, int, int, const void*, socklen_t) {
    return fd == fuzz::SOCKET ? 0 : -1;
}

int __wrap_connect(int fd, const sockaddr*, socklen_t) {
    fuzz::Require(fd == fuzz::SOCKET, "only what is open is connected");
    return fuzz::Result(fuzz::FAILS_CONNECT);
}

ssize_t __wrap_send(int fd, const void* data, size_t size, int) {
    fuzz::Require(fd == fuzz::SOCKET, "a request goes to the peer");
    if (fuzz::Result(fuzz::FAILS_SEND) != 0) {
        return -1;
    }
    fuzz::Peer().received.assign(static_cast<const char*>(data), size);
    return static_cast<ssize_t>(size);
}

ssize_t __wrap_recv(int fd, void* buffer, size_t size, int flags) {
    fuzz::Require(fd == fuzz::SOCKET && flags == MSG_WAITALL, "an answer is waited for");
    std::string& rest = fuzz::Peer().sends;
    if (rest.empty() && fuzz::Result(fuzz::FAILS_RECEIVE) != 0) {
        return -1;
    }
    const std::size_t count = rest.copy(static_cast<char*>(buffer), size);
    rest.erase(0, count);
    return static_cast<ssize_t>(count);
}

int __wrap_close(int fd) {
    if (fd != fuzz::SOCKET) {
        return __real_close(fd);
    }
    ++fuzz::Peer().closed;
    return 0;
}
}
