#include "Relay.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

struct THead {
    std::size_t requestSize; // with this head
    std::size_t answerSize;
};

bool WriteAll(int socket, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(socket, data, size);
        if (written <= 0) {
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool ReadAll(int socket, char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t count = ::read(socket, data, size);
        if (count <= 0) {
            return false;
        }
        data += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

void RelayForever(int left, int right) {
    std::vector<char> buffer(256 * 1024);
    pollfd polled[] = {{left, POLLIN, 0}, {right, POLLIN, 0}};
    while (::poll(polled, 2, -1) > 0) {
        for (int side = 0; side < 2; ++side) {
            if (polled[side].revents == 0) {
                continue;
            }
            const ssize_t count = ::read(polled[side].fd, buffer.data(), buffer.size());
            if (count <= 0 ||
                !WriteAll(polled[1 - side].fd, buffer.data(), static_cast<std::size_t>(count))) {
                std::_Exit(0);
            }
        }
    }
}

void AnswerForever(int socket) {
    std::vector<char> buffer(2 << 20);
    THead head{};
    while (ReadAll(socket, reinterpret_cast<char*>(&head), sizeof(head)) &&
           ReadAll(socket, buffer.data(), head.requestSize - sizeof(head)) &&
           WriteAll(socket, buffer.data(), head.answerSize)) {
    }
    std::_Exit(0);
}

template <typename TBody>
int Start(const TBody& body) {
    const int process = ::fork();
    if (process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        std::_Exit(0);
    }
    return process;
}

} // namespace

TRelay::TRelay() {
    int near[2];
    int far[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, near) != 0 || ::socketpair(AF_UNIX, SOCK_STREAM, 0, far) != 0) {
        std::abort();
    }
    processes[0] = Start([&] {
        ::close(near[0]);
        ::close(far[1]);
        RelayForever(near[1], far[0]);
    });
    processes[1] = Start([&] {
        ::close(near[0]);
        ::close(near[1]);
        ::close(far[0]);
        AnswerForever(far[1]);
    });
    ::close(near[1]);
    ::close(far[0]);
    ::close(far[1]);
    socket = near[0];
}

TRelay::~TRelay() {
    ::close(socket);
    for (const int process : processes) {
        ::waitpid(process, nullptr, 0);
    }
}

bool TRelay::Exchange(std::size_t requestSize, std::size_t answerSize) {
    static std::vector<char> buffer(2 << 20);
    const THead head{requestSize + sizeof(THead), answerSize};
    std::memcpy(buffer.data(), &head, sizeof(head));
    return WriteAll(socket, buffer.data(), head.requestSize) && ReadAll(socket, buffer.data(), answerSize);
}

} // namespace bench
