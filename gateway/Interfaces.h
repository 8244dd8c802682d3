// The network interfaces of the machine as the kernel has them at this moment.
#ifndef GATEWAY_INTERFACES_H
#define GATEWAY_INTERFACES_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace gateway {

struct TInterface {
    std::string name;
    int32_t index = 0; // the kernel's number of it
    unsigned flags = 0;
    bool ethernet = false; // has an Ethernet hardware address
    std::string macAddress;
    std::vector<std::pair<const char*, uint64_t>> counters; // by the kernel's names, such as "rx_bytes"

    bool IsLoopback() const;
    // In 64 bits where the kernel tells it so, else modulo 2^32; 0 for a counter that it does not tell.
    uint64_t Counter(const std::string& counterName) const;
};

// In the kernel's order.
std::vector<TInterface> ReadInterfaces();

// The ones to serve, at most ZELTO_MAX_OBJECT_IDS: those with a device behind them; on a machine without such
// (a container) every one with an Ethernet address; and where there is none of these, whatever there is, such
// as the loopback.
std::vector<TInterface> SelectInterfaces(const std::vector<TInterface>& interfaces);

} // namespace gateway

#endif
