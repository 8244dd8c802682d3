#include "Interfaces.h"

#include "Values.h"

#include "zelto/ZeltoPlatformLib.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>

#include <ifaddrs.h>
#include <linux/if_link.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netpacket/packet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace gateway {

namespace {

struct TCounterRow {
    const char* name;
    decltype(rtnl_link_stats::rx_bytes) rtnl_link_stats::*member;
};

const TCounterRow COUNTER_ROWS[] = {
    {"rx_packets", &rtnl_link_stats::rx_packets},
    {"tx_packets", &rtnl_link_stats::tx_packets},
    {"rx_bytes", &rtnl_link_stats::rx_bytes},
    {"tx_bytes", &rtnl_link_stats::tx_bytes},
    {"rx_errors", &rtnl_link_stats::rx_errors},
    {"tx_errors", &rtnl_link_stats::tx_errors},
    {"rx_dropped", &rtnl_link_stats::rx_dropped},
    {"tx_dropped", &rtnl_link_stats::tx_dropped},
    {"multicast", &rtnl_link_stats::multicast},
    {"collisions", &rtnl_link_stats::collisions},
    {"rx_length_errors", &rtnl_link_stats::rx_length_errors},
    {"rx_over_errors", &rtnl_link_stats::rx_over_errors},
    {"rx_crc_errors", &rtnl_link_stats::rx_crc_errors},
    {"rx_frame_errors", &rtnl_link_stats::rx_frame_errors},
    {"rx_fifo_errors", &rtnl_link_stats::rx_fifo_errors},
    {"rx_missed_errors", &rtnl_link_stats::rx_missed_errors},
    {"tx_aborted_errors", &rtnl_link_stats::tx_aborted_errors},
    {"tx_carrier_errors", &rtnl_link_stats::tx_carrier_errors},
    {"tx_fifo_errors", &rtnl_link_stats::tx_fifo_errors},
    {"tx_heartbeat_errors", &rtnl_link_stats::tx_heartbeat_errors},
    {"tx_window_errors", &rtnl_link_stats::tx_window_errors},
};

struct TFreeNames {
    void operator()(struct if_nameindex* names) const { if_freenameindex(names); }
};
struct TFreeAddresses {
    void operator()(ifaddrs* addresses) const { freeifaddrs(addresses); }
};

std::vector<TInterface> ListInterfaces() {
    std::vector<TInterface> interfaces;
    std::unique_ptr<struct if_nameindex, TFreeNames> names(if_nameindex());
    for (auto* entry = names.get(); entry != nullptr && entry->if_index != 0; ++entry) {
        TInterface interface;
        interface.name = entry->if_name;
        interface.index = static_cast<int32_t>(entry->if_index);
        interfaces.push_back(std::move(interface));
    }
    return interfaces;
}

void TakeHardware(const sockaddr_ll& address, TInterface& interface) {
    const unsigned char* octets = address.sll_addr;
    if (address.sll_halen != 6) {
        return;
    }
    char text[18];
    (void)std::snprintf(text, sizeof(text), "%02X:%02X:%02X:%02X:%02X:%02X", octets[0], octets[1], octets[2],
                        octets[3], octets[4], octets[5]);
    interface.macAddress = text;
    interface.ethernet = address.sll_hatype == ARPHRD_ETHER;
}

void TakeCounters(const rtnl_link_stats& statistics, TInterface& interface) {
    for (const TCounterRow& row : COUNTER_ROWS) {
        interface.counters.emplace_back(row.name, statistics.*(row.member));
    }
}

void TakeAddress(const ifaddrs& entry, TInterface& interface) {
    interface.flags = entry.ifa_flags;
    if (entry.ifa_addr == nullptr || entry.ifa_addr->sa_family != AF_PACKET) {
        return;
    }
    // The kernel aligns what these point to for exactly these types.
    TakeHardware(*static_cast<const sockaddr_ll*>(static_cast<const void*>(entry.ifa_addr)), interface);
    if (entry.ifa_data != nullptr) {
        TakeCounters(*static_cast<const rtnl_link_stats*>(entry.ifa_data), interface);
    }
}

bool HasDevice(const TInterface& interface) {
    return access(("/sys/class/net/" + interface.name + "/device").c_str(), F_OK) == 0;
}

} // namespace

bool TInterface::IsLoopback() const {
    return (flags & unsigned{IFF_LOOPBACK}) != 0;
}

uint64_t TInterface::Counter(const std::string& counterName) const {
    uint64_t value = 0;
    if (ParseUnsigned(ReadLine("/sys/class/net/" + name + "/statistics/" + counterName), UINT64_MAX, value)) {
        return value;
    }
    auto found = std::find_if(counters.begin(), counters.end(),
                              [&counterName](const auto& counter) { return counter.first == counterName; });
    return found == counters.end() ? 0 : found->second;
}

std::vector<TInterface> ReadInterfaces() {
    std::vector<TInterface> interfaces = ListInterfaces();
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return interfaces;
    }
    std::unique_ptr<ifaddrs, TFreeAddresses> owner(first);
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                  [entry](const TInterface& one) { return one.name == entry->ifa_name; });
        if (found != interfaces.end()) {
            TakeAddress(*entry, *found);
        }
    }
    return interfaces;
}

std::vector<TInterface> SelectInterfaces(const std::vector<TInterface>& interfaces) {
    bool (*preferences[])(const TInterface&) = {
        HasDevice,
        [](const TInterface& one) { return one.ethernet && !one.IsLoopback(); },
        [](const TInterface&) { return true; },
    };
    std::vector<TInterface> selected;
    for (auto wanted : preferences) {
        if (selected.empty()) {
            std::copy_if(interfaces.begin(), interfaces.end(), std::back_inserter(selected), wanted);
        }
    }
    selected.resize(std::min<size_t>(selected.size(), ZELTO_MAX_OBJECT_IDS));
    return selected;
}

} // namespace gateway
