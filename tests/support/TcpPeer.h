// The other gateway of a remote request: listens on the fixed port on a loopback address of its own, serves
// one connection on a thread of its own, and remembers every byte that came in.
#ifndef ZELTO_TESTS_TCP_PEER_H
#define ZELTO_TESTS_TCP_PEER_H

#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace support {

// An answer: the two lengths and what follows them.
inline std::string Frame(uint32_t jsonSize, uint32_t blobSize, const std::string& rest) {
    std::string frame(sizeof(jsonSize) + sizeof(blobSize), '\0');
    std::memcpy(&frame[0], &jsonSize, sizeof(jsonSize));
    std::memcpy(&frame[sizeof(jsonSize)], &blobSize, sizeof(blobSize));
    return frame + rest;
}

inline std::string Frame(const std::string& json, const std::string& blob = "") {
    return Frame(static_cast<uint32_t>(json.size()), static_cast<uint32_t>(blob.size()), json + blob);
}

constexpr uint16_t REMOTE_PORT = 42042;

// A socket that has the fixed port of a loopback address for itself. Other test programs look for a free
// address at the same time: two that may reuse it can bind it, but not listen; one that may not binds it
// alone.
inline int TakeLoopbackAddress(bool listens, std::string& address) {
    for (uint32_t attempt = 0; attempt < 1000; ++attempt) {
        const uint32_t host = static_cast<uint32_t>(::getpid()) * 7 + attempt;
        const int bound = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int reuse = listens ? 1 : 0;
        ::setsockopt(bound, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(REMOTE_PORT);
        local.sin_addr.s_addr = htonl(0x7F010000U + host % 0xFE0000U);
        if (::bind(bound, reinterpret_cast<sockaddr*>(&local), sizeof(local)) == 0 &&
            (!listens || ::listen(bound, 1) == 0)) {
            char text[INET_ADDRSTRLEN];
            address = ::inet_ntop(AF_INET, &local.sin_addr, text, sizeof(text));
            return bound;
        }
        ::close(bound);
    }
    throw std::runtime_error("no loopback address to bind");
}

// Has an address on which nobody listens, and nobody else can as long as it lives.
class TAbsentPeer {
public:
    TAbsentPeer() : holder(TakeLoopbackAddress(false, address)) {}
    ~TAbsentPeer() { ::close(holder); }
    TAbsentPeer(const TAbsentPeer&) = delete;
    TAbsentPeer& operator=(const TAbsentPeer&) = delete;

    const std::string& Address() const { return address; }

private:
    std::string address;
    const int holder;
};

class TTcpPeer {
public:
    using TScript = std::function<void(int connection)>;

    // Sends the answer at once, closes its half, and then reads what the client sends until it closes.
    explicit TTcpPeer(std::string answer)
        : TTcpPeer([this, answer = std::move(answer)](int connection) { Answer(connection, answer); }) {}

    // Runs the script on the connection, then closes it.
    explicit TTcpPeer(TScript ownScript) : script(std::move(ownScript)) {
        listener = TakeLoopbackAddress(true, address);
        thread = std::thread([this] { Serve(); });
    }

    ~TTcpPeer() {
        ::shutdown(listener, SHUT_RDWR); // wakes a thread that nobody has connected to
        if (thread.joinable()) {
            thread.join();
        }
        ::close(listener);
    }
    TTcpPeer(const TTcpPeer&) = delete;
    TTcpPeer& operator=(const TTcpPeer&) = delete;

    const std::string& Address() const { return address; }

    // Everything that the client sent. To be called after the client's call has returned.
    const std::string& Request() {
        thread.join();
        return request;
    }

private:
    static constexpr int TIMEOUT_MS = 10000;

    void Serve() {
        pollfd waiting{listener, POLLIN, 0};
        if (::poll(&waiting, 1, TIMEOUT_MS) != 1) {
            return;
        }
        const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            return;
        }
        script(connection);
        ::close(connection);
    }

    void Answer(int connection, const std::string& answer) {
        std::size_t sent = 0;
        while (sent < answer.size()) {
            const ssize_t step = ::send(connection, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (step <= 0) {
                return;
            }
            sent += static_cast<std::size_t>(step);
        }
        ::shutdown(connection, SHUT_WR);
        ReadToEnd(connection);
    }

    void ReadToEnd(int connection) {
        char buffer[65536];
        pollfd waiting{connection, POLLIN, 0};
        while (::poll(&waiting, 1, TIMEOUT_MS) == 1) {
            const ssize_t received = ::recv(connection, buffer, sizeof(buffer), 0);
            if (received <= 0) {
                return;
            }
            request.append(buffer, static_cast<std::size_t>(received));
        }
    }

    TScript script;
    int listener = -1;
    std::string address;
    std::string request;
    std::thread thread;
};

} // namespace support

#endif
