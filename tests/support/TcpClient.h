// A peer that asks: connects to the fixed port of a loopback address and sends and reads raw bytes.
#ifndef ZELTO_TESTS_TCP_CLIENT_H
#define ZELTO_TESTS_TCP_CLIENT_H

#include <atomic>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace support {

// An address that no other test of this process or, very likely, of another one listens on.
inline std::string NewLoopbackAddress() {
    static std::atomic<uint32_t> count{0};
    const uint32_t host = static_cast<uint32_t>(getpid()) * 31 + ++count;
    return "127.255." + std::to_string(host / 250 % 250) + "." + std::to_string(host % 250 + 1);
}

// What has come, taken apart.
struct TTcpAnswer {
    bool isWhole = false; // both lengths, and exactly as many bytes as they say
    std::string json{};
    std::string blob{};

    static TTcpAnswer From(const std::string& bytes) {
        constexpr std::size_t HEADER = 8;
        uint32_t sizes[2] = {0, 0};
        if (bytes.size() < HEADER) {
            return {};
        }
        std::memcpy(sizes, bytes.data(), HEADER);
        if (sizes[0] == 0 || bytes.size() != HEADER + sizes[0] + sizes[1]) {
            return {};
        }
        return {true, bytes.substr(HEADER, sizes[0]), bytes.substr(HEADER + sizes[0])};
    }
};

class TTcpClient {
public:
    // `source` is the address to come from, or "" for whatever the system takes.
    explicit TTcpClient(const std::string& address, const std::string& source = "")
        : descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        if (!source.empty()) {
            Apply(::bind, source, 0);
        }
        isConnected = Apply(::connect, address, PORT);
    }
    ~TTcpClient() { Close(); }
    TTcpClient(TTcpClient&& other) noexcept
        : descriptor(std::exchange(other.descriptor, -1)), isConnected(other.isConnected) {}
    TTcpClient& operator=(TTcpClient&&) = delete;

    bool IsConnected() const { return isConnected; }
    int Descriptor() const { return descriptor; }

    bool Send(const std::string& bytes) {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t step = send(descriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (step <= 0) {
                return false;
            }
            sent += static_cast<std::size_t>(step);
        }
        return true;
    }

    // Everything up to the end of the connection; empty when there is no end within the bound.
    std::optional<std::string> ReadToEnd() {
        std::string bytes;
        char buffer[65536];
        pollfd waiting{descriptor, POLLIN, 0};
        while (poll(&waiting, 1, TIMEOUT_MS) == 1) {
            const ssize_t size = recv(descriptor, buffer, sizeof(buffer), 0);
            if (size <= 0) {
                return bytes;
            }
            bytes.append(buffer, static_cast<std::size_t>(size));
        }
        return std::nullopt;
    }

    TTcpAnswer ReadAnswer() { return TTcpAnswer::From(ReadToEnd().value_or("")); }

    // Whether something has come, the end included. Does not wait.
    bool HasInput() const {
        pollfd waiting{descriptor, POLLIN, 0};
        return poll(&waiting, 1, 0) == 1;
    }

    void HalfClose() { (void)shutdown(descriptor, SHUT_WR); }
    void Close() {
        if (descriptor >= 0) {
            (void)close(std::exchange(descriptor, -1));
        }
    }
    // Closes so that the other side sees a reset.
    void Reset() {
        const linger none{1, 0};
        (void)setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &none, sizeof(none));
        Close();
    }

private:
    static constexpr uint16_t PORT = 42042;
    static constexpr int TIMEOUT_MS = 20000;

    bool Apply(int (*call)(int, const sockaddr*, socklen_t), const std::string& text, uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        (void)inet_pton(AF_INET, text.c_str(), &address.sin_addr); // a wrong one does not connect
        return call(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }

    int descriptor;
    bool isConnected = false;
};

} // namespace support

#endif
