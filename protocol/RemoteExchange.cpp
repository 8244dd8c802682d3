#include "protocol/RemoteExchange.h"

#include "protocol/RemoteLimits.h"
#include "utils/Log.h"
#include "utils/SigpipeMask.h"
#include "utils/UniqueFd.h"

#include <array>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace zelto {

namespace {

// Of both families on purpose: it is too short for an IPv6 address, so that the kernel refuses an IPv6 peer
// and remote requests travel over IPv4 only.
constexpr socklen_t CONNECT_ADDRESS_LENGTH = 16;

bool ParseAddress(const std::string& text, sockaddr_storage& address) {
    auto* const v4 = reinterpret_cast<sockaddr_in*>(&address);
    if (::inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
        qvLogging_log(LOG_LEVEL_DEBUG, "\"%s is a valid IPv4\"", text.c_str());
        v4->sin_family = AF_INET;
        v4->sin_port = htons(REMOTE_PORT);
        return true;
    }
    auto* const v6 = reinterpret_cast<sockaddr_in6*>(&address);
    if (::inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
        qvLogging_log(LOG_LEVEL_DEBUG, "\"%s is a valid IPv6\"", text.c_str());
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(REMOTE_PORT);
        return true;
    }
    qvLogging_log(LOG_LEVEL_ERROR, "\"%s is not a valid IP\"", text.c_str());
    return false;
}

TUniqueFd OpenSocket(int family) {
    TUniqueFd peer(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int reuse = 1;
    // Also finds out that there is no socket.
    if (::setsockopt(peer.Get(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse)) != 0) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"setsockopt is failed\"");
        return TUniqueFd();
    }
    const int retransmissions = 1;
    (void)::setsockopt(peer.Get(), IPPROTO_TCP, TCP_SYNCNT, &retransmissions,
                       sizeof(retransmissions)); // without it connecting only takes longer to fail
    return peer;
}

// No connection gives an empty owner.
TUniqueFd ConnectTo(const std::string& text) {
    sockaddr_storage address{};
    if (!ParseAddress(text, address)) {
        return TUniqueFd();
    }
    TUniqueFd peer = OpenSocket(address.ss_family);
    if (peer &&
        ::connect(peer.Get(), reinterpret_cast<const sockaddr*>(&address), CONNECT_ADDRESS_LENGTH) != 0) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"Failed to connect to %s:%d\"", text.c_str(), REMOTE_PORT);
        peer.Reset();
    }
    return peer;
}

void SendRequest(int peer, const std::string& request, const std::string& address) {
    const TSigpipeMask mask; // a peer that has gone must not end the process
    const ssize_t sent = ::send(peer, request.data(), request.size(), 0);
    if (sent < static_cast<ssize_t>(request.size())) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"Could not send the request to %s:%d. Sent only %ld out of %zu\"",
                      address.c_str(), REMOTE_PORT, static_cast<long>(sent), request.size());
    }
}

// One call that waits for the whole part. Returns the bytes that came before the peer closed or failed.
std::size_t Receive(int peer, void* buffer, std::size_t size) {
    const ssize_t received = ::recv(peer, buffer, size, MSG_WAITALL);
    return received < 0 ? 0 : static_cast<std::size_t>(received);
}

bool ReceiveLengths(int peer, uint32_t& jsonSize, uint32_t& blobSize) {
    const std::size_t received = Receive(peer, &jsonSize, sizeof(jsonSize));
    if (received != sizeof(jsonSize) || jsonSize == 0 || jsonSize > MAX_REMOTE_JSON_SIZE) {
        qvLogging_log(LOG_LEVEL_ERROR,
                      "\"RemotZelto: failed to read the JSON length in response or the value is wrong. "
                      "JSON size is %zu. MAX = %d\"",
                      static_cast<std::size_t>(jsonSize), static_cast<int>(MAX_REMOTE_JSON_SIZE));
        return false;
    }
    if (Receive(peer, &blobSize, sizeof(blobSize)) != sizeof(blobSize)) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"RemotZelto: failed to read the Blob length in response.\"");
        return false;
    }
    return true;
}

// A text that is cut short stays undetected here: it does not decode, which the requests look at.
void ReceiveJson(int peer, std::size_t size, std::string& response) {
    std::array<char, MAX_REMOTE_JSON_SIZE> text; // only what was received is read
    const std::size_t received = Receive(peer, text.data(), size);
    response.assign(text.data(), ::strnlen(text.data(), received));
}

void ReceiveAnswer(int peer, std::string& response, std::vector<char>* blob) {
    uint32_t jsonSize = 0;
    uint32_t blobSize = 0;
    if (!ReceiveLengths(peer, jsonSize, blobSize)) {
        return;
    }
    ReceiveJson(peer, jsonSize, response);
    if (blob == nullptr || blobSize == 0 || blobSize > MAX_REMOTE_BLOB_SIZE) {
        return;
    }
    blob->resize(blobSize);
    (void)Receive(peer, blob->data(), blobSize); // a peer that closes early leaves the tail as it was
}

} // namespace

bool ExchangeWithPeer(const std::string& request, const std::string& address, std::string& response,
                      std::vector<char>* blob) {
    const TUniqueFd peer = ConnectTo(address);
    if (!peer) {
        return false;
    }
    SendRequest(peer.Get(), request, address);
    ReceiveAnswer(peer.Get(), response, blob);
    return true;
}

} // namespace zelto
