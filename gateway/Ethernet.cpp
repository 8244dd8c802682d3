#include "Ethernet.h"

#include "Interfaces.h"
#include "Values.h"

#include <algorithm>

#include <net/if.h>

namespace gateway {

namespace {

// Finds the interface of an instance, which may have gone since the start.
bool FindInterface(const TIndices& indices, TInterface& interface) {
    const TIndices& served = ServedInterfaces();
    if (indices.size() != 1 || std::find(served.begin(), served.end(), indices[0]) == served.end()) {
        return false;
    }
    std::vector<TInterface> interfaces = ReadInterfaces();
    auto found = std::find_if(interfaces.begin(), interfaces.end(),
                              [&indices](const TInterface& one) { return one.index == indices[0]; });
    if (found == interfaces.end()) {
        return false;
    }
    interface = *found;
    return true;
}

template <std::string (*Text)(const TInterface&)>
int32_t ReadText(const TIndices& indices, std::string& value) {
    TInterface interface;
    if (!FindInterface(indices, interface)) {
        return PLT_NOT_FOUND;
    }
    value = Text(interface);
    return PLT_SUCCESS;
}

std::string NameText(const TInterface& interface) {
    return interface.name;
}

std::string EnableText(const TInterface& interface) {
    return BooleanText((interface.flags & unsigned{IFF_UP}) != 0);
}

std::string StatusText(const TInterface& interface) {
    static const struct {
        const char* kernel;
        const char* model;
    } STATES[] = {
        {"up", "Up"},
        {"down", "Down"},
        {"dormant", "Dormant"},
        {"notpresent", "NotPresent"},
        {"lowerlayerdown", "LowerLayerDown"},
    };
    std::string state = ReadLine("/sys/class/net/" + interface.name + "/operstate");
    for (const auto& row : STATES) {
        if (state == row.kernel) {
            return row.model;
        }
    }
    // Drivers without a carrier, the loopback's for example, leave the state unknown.
    return (interface.flags & unsigned{IFF_RUNNING}) != 0 ? "Up" : "Down";
}

std::string MacAddressText(const TInterface& interface) {
    return interface.macAddress;
}

// In Mbit/s, and -1 where no rate is known.
std::string MaxBitRateText(const TInterface& interface) {
    uint64_t rate = 0;
    bool known = ParseUnsigned(ReadLine("/sys/class/net/" + interface.name + "/speed"), INT32_MAX, rate);
    return known ? std::to_string(rate) : "-1";
}

constexpr char RX_BYTES[] = "rx_bytes";
constexpr char TX_BYTES[] = "tx_bytes";
constexpr char RX_PACKETS[] = "rx_packets";
constexpr char TX_PACKETS[] = "tx_packets";
constexpr char RX_ERRORS[] = "rx_errors";
constexpr char TX_ERRORS[] = "tx_errors";

template <const char* Name>
std::string CounterText(const TInterface& interface) {
    return std::to_string(interface.Counter(Name));
}

int32_t ListInterfaceIds(const TIndices&, TIndices& ids) {
    ids = ServedInterfaces();
    return PLT_SUCCESS;
}

constexpr TParameter Row(const char* key, int32_t (*read)(const TIndices&, std::string&)) {
    return {key, read, nullptr, nullptr};
}

} // namespace

const TIndices& ServedInterfaces() {
    static const TIndices served = [] {
        TIndices indices;
        for (const TInterface& interface : SelectInterfaces(ReadInterfaces())) {
            indices.push_back(interface.index);
        }
        return indices;
    }();
    return served;
}

const TBranch& EthernetBranch() {
    static const TBranch branch = {
        {
            Row("Device.Ethernet.Interface.{i}.Name", ReadText<NameText>),
            Row("Device.Ethernet.Interface.{i}.Enable", ReadText<EnableText>),
            Row("Device.Ethernet.Interface.{i}.Status", ReadText<StatusText>),
            Row("Device.Ethernet.Interface.{i}.MACAddress", ReadText<MacAddressText>),
            Row("Device.Ethernet.Interface.{i}.MaxBitRate", ReadText<MaxBitRateText>),
            Row("Device.Ethernet.Interface.{i}.Stats.BytesSent", ReadText<CounterText<TX_BYTES>>),
            Row("Device.Ethernet.Interface.{i}.Stats.BytesReceived", ReadText<CounterText<RX_BYTES>>),
            Row("Device.Ethernet.Interface.{i}.Stats.PacketsSent", ReadText<CounterText<TX_PACKETS>>),
            Row("Device.Ethernet.Interface.{i}.Stats.PacketsReceived", ReadText<CounterText<RX_PACKETS>>),
            Row("Device.Ethernet.Interface.{i}.Stats.ErrorsSent", ReadText<CounterText<TX_ERRORS>>),
            Row("Device.Ethernet.Interface.{i}.Stats.ErrorsReceived", ReadText<CounterText<RX_ERRORS>>),
        },
        {
            {"Device.Ethernet.Interface.", ListInterfaceIds, nullptr, nullptr},
            {"Device.Ethernet.Interface.{i}.", nullptr, nullptr, nullptr},
            {"Device.Ethernet.Interface.{i}.Stats.", nullptr, nullptr, nullptr},
        },
    };
    return branch;
}

} // namespace gateway
