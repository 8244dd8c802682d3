// Addresses of peers and the networks that they come from.
#ifndef REMOTED_NETWORK_H
#define REMOTED_NETWORK_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/socket.h>

namespace remoted {

// An IP address of either family. An IPv4 address is kept in its IPv6 form, ::ffff:a.b.c.d, which is also how
// an IPv6 socket shows an IPv4 peer.
class TAddress {
public:
    using TBytes = std::array<uint8_t, 16>;

    // Of a numeric address. Throws std::runtime_error.
    static TAddress Parse(const std::string& text);
    static TAddress From(const sockaddr_storage& socketAddress);

    const TBytes& Bytes() const { return bytes; }
    bool IsV4() const;
    bool IsLoopback() const;
    std::string Text() const;
    // Fills in a socket address and gives its size.
    socklen_t ToSocketAddress(uint16_t port, sockaddr_storage& socketAddress) const;

    bool operator<(const TAddress& other) const { return bytes < other.bytes; }
    bool operator==(const TAddress& other) const { return bytes == other.bytes; }

private:
    TBytes bytes{};
};

class TNetwork {
public:
    // Of "ADDRESS" or "ADDRESS/BITS". Throws std::runtime_error.
    static TNetwork Parse(const std::string& text);

    bool Contains(const TAddress& address) const;

private:
    TAddress base;
    unsigned bits = 0; // of the IPv6 form
};

bool IsInAny(const std::vector<TNetwork>& networks, const TAddress& address);

} // namespace remoted

#endif
