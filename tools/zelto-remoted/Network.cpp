#include "Network.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace remoted {

namespace {

constexpr std::size_t V4_OFFSET = 12;
constexpr unsigned V4_PREFIX_BITS = 96;
constexpr unsigned ALL_BITS = 128;
constexpr TAddress::TBytes V4_PREFIX = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0, 0};
constexpr TAddress::TBytes V6_LOOPBACK = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

unsigned ParseBits(const std::string& text, unsigned most) {
    const bool isNumber =
        !text.empty() && text.size() <= 3 && text.find_first_not_of("0123456789") == std::string::npos;
    const unsigned long bits = isNumber ? std::stoul(text) : most + 1UL;
    if (bits > most) {
        throw std::runtime_error("not a number of bits from 0 to " + std::to_string(most) + ": " + text);
    }
    return static_cast<unsigned>(bits);
}

} // namespace

TAddress TAddress::Parse(const std::string& text) {
    TAddress address;
    address.bytes = V4_PREFIX;
    if (inet_pton(AF_INET, text.c_str(), &address.bytes[V4_OFFSET]) != 1 &&
        inet_pton(AF_INET6, text.c_str(), address.bytes.data()) != 1) {
        throw std::runtime_error("not a numeric IP address: " + text);
    }
    return address;
}

TAddress TAddress::From(const sockaddr_storage& socketAddress) {
    TAddress address;
    if (socketAddress.ss_family == AF_INET) {
        sockaddr_in v4{};
        std::memcpy(&v4, &socketAddress, sizeof(v4));
        address.bytes = V4_PREFIX;
        std::memcpy(&address.bytes[V4_OFFSET], &v4.sin_addr, sizeof(v4.sin_addr));
    } else {
        sockaddr_in6 v6{};
        std::memcpy(&v6, &socketAddress, sizeof(v6));
        std::memcpy(address.bytes.data(), &v6.sin6_addr, sizeof(v6.sin6_addr));
    }
    return address;
}

bool TAddress::IsV4() const {
    return std::equal(bytes.begin(), bytes.begin() + V4_OFFSET, V4_PREFIX.begin());
}

bool TAddress::IsLoopback() const {
    return IsV4() ? bytes[V4_OFFSET] == 127 : bytes == V6_LOOPBACK;
}

std::string TAddress::Text() const {
    char text[INET6_ADDRSTRLEN] = "";
    const bool isV4 = IsV4();
    (void)inet_ntop(isV4 ? AF_INET : AF_INET6, isV4 ? &bytes[V4_OFFSET] : bytes.data(), text, sizeof(text));
    return text;
}

socklen_t TAddress::ToSocketAddress(uint16_t port, sockaddr_storage& socketAddress) const {
    socketAddress = {};
    if (IsV4()) {
        sockaddr_in v4{};
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        std::memcpy(&v4.sin_addr, &bytes[V4_OFFSET], sizeof(v4.sin_addr));
        std::memcpy(&socketAddress, &v4, sizeof(v4));
        return sizeof(v4);
    }
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    std::memcpy(&v6.sin6_addr, bytes.data(), bytes.size());
    std::memcpy(&socketAddress, &v6, sizeof(v6));
    return sizeof(v6);
}

TNetwork TNetwork::Parse(const std::string& text) {
    const std::string::size_type slash = text.find('/');
    TNetwork network;
    network.base = TAddress::Parse(text.substr(0, slash));
    const unsigned fixed = network.base.IsV4() ? V4_PREFIX_BITS : 0;
    network.bits =
        slash == std::string::npos ? ALL_BITS : fixed + ParseBits(text.substr(slash + 1), ALL_BITS - fixed);
    return network;
}

bool TNetwork::Contains(const TAddress& address) const {
    const unsigned whole = bits / 8;
    const TAddress::TBytes& ours = base.Bytes();
    const TAddress::TBytes& theirs = address.Bytes();
    if (!std::equal(ours.begin(), ours.begin() + whole, theirs.begin())) {
        return false;
    }
    const unsigned rest = bits % 8;
    return rest == 0 || ((ours[whole] ^ theirs[whole]) >> (8 - rest)) == 0;
}

bool IsInAny(const std::vector<TNetwork>& networks, const TAddress& address) {
    return std::any_of(networks.begin(), networks.end(),
                       [&address](const TNetwork& network) { return network.Contains(address); });
}

} // namespace remoted
