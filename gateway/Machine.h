// Facts about this machine. A fact that the machine does not tell is an empty text or false.
#ifndef GATEWAY_MACHINE_H
#define GATEWAY_MACHINE_H

#include <cstdint>
#include <string>

namespace gateway {

struct TMemory {
    uint64_t totalKib = 0;
    uint64_t freeKib = 0;
};

// Six hexadecimal digits: the maker of the first network interface that has an address given by a maker, else
// "000000".
std::string ManufacturerOui();
std::string ModelName();
// The machine id, or on a machine without one the host id.
std::string SerialNumber();
std::string SoftwareVersion();
std::string HardwareVersion();

bool UpTime(uint64_t& seconds);
bool Memory(TMemory& memory);
// Of all processors, in percent: since the call before, and in the first call since the start of the machine.
bool CpuUsage(unsigned& percent);

// The kernel's protocol counters and those of each network interface, a line each.
std::string NetworkStatistics();

} // namespace gateway

#endif
