#include "capi/CannedPeer.h"

#include "support/TcpPeer.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace capi {

namespace {

constexpr int BOUND_MS = 10000;

std::string Number(std::size_t value) {
    const auto number = static_cast<std::uint32_t>(value);
    return std::string(reinterpret_cast<const char*>(&number), sizeof(number));
}

// The requests of these tests hold no braces in their texts and no nested objects.
bool IsWhole(const std::string& request) {
    return !request.empty() && request.back() == '}';
}

} // namespace

TCannedPeer::TCannedPeer() : listener(support::TakeLoopbackAddress(true, address)) {
    if (pipe2(stopPipe, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    thread = std::thread([this] { Serve(); });
}

TCannedPeer::~TCannedPeer() {
    close(stopPipe[1]); // ends the poll of the thread
    thread.join();
    close(stopPipe[0]);
    close(listener);
}

void TCannedPeer::AnswerWith(const std::string& json, const std::string& blob) {
    AnswerWithPart(json, blob, blob.size());
}

void TCannedPeer::AnswerWithPart(const std::string& json, const std::string& blob, std::size_t announced) {
    const std::lock_guard<std::mutex> lock(mutex);
    frame = Number(json.size()) + Number(announced) + json + blob;
}

std::vector<std::string> TCannedPeer::Requests() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return requests;
}

void TCannedPeer::Serve() {
    for (;;) {
        pollfd waits[] = {{listener, POLLIN, 0}, {stopPipe[0], POLLIN, 0}};
        if (poll(waits, 2, -1) < 0 || waits[1].revents != 0) {
            return;
        }
        const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            Exchange(connection);
            close(connection);
        }
    }
}

void TCannedPeer::Exchange(int connection) {
    std::string request;
    char buffer[4096];
    pollfd wait = {connection, POLLIN, 0};
    while (!IsWhole(request) && poll(&wait, 1, BOUND_MS) == 1) {
        const ssize_t received = recv(connection, buffer, sizeof(buffer), 0);
        if (received <= 0) {
            break;
        }
        request.append(buffer, static_cast<std::size_t>(received));
    }

    const std::lock_guard<std::mutex> lock(mutex);
    requests.push_back(request);
    for (std::size_t sent = 0; sent < frame.size();) {
        const ssize_t written = send(connection, frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
        if (written <= 0) {
            return;
        }
        sent += static_cast<std::size_t>(written);
    }
}

} // namespace capi
