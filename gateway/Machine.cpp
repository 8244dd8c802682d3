#include "Machine.h"

#include "Interfaces.h"
#include "Values.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace gateway {

namespace {

struct TCpuTimes {
    uint64_t total = 0;
    uint64_t idle = 0;
};

// The first of the files that says something, else `fallback`.
std::string FirstLine(std::initializer_list<const char*> paths, const std::string& fallback) {
    for (const char* path : paths) {
        std::string line = ReadLine(path);
        if (!line.empty()) {
            return line;
        }
    }
    return fallback;
}

std::string HardwareName() {
    utsname names = {};
    return uname(&names) == 0 ? names.machine : "";
}

// The value of `key` in /etc/os-release, where it may stand in double quotes.
std::string OsRelease(const std::string& key) {
    std::ifstream file("/etc/os-release");
    std::string line;
    while (std::getline(file, line)) {
        if (line.compare(0, key.size() + 1, key + "=") == 0) {
            line.erase(0, key.size() + 1);
            line.erase(std::remove(line.begin(), line.end(), '"'), line.end());
            return line;
        }
    }
    return "";
}

bool ReadCpuTimes(TCpuTimes& times) {
    std::istringstream line(ReadLine("/proc/stat"));
    std::string label;
    line >> label;
    // user nice system idle iowait irq softirq steal; what follows is contained in the first two.
    uint64_t time = 0;
    for (int column = 0; column < 8 && line >> time; ++column) {
        times.total += time;
        times.idle += column == 3 || column == 4 ? time : 0;
    }
    return label == "cpu" && times.total != 0;
}

// The file that names a counter in one line and gives its value in the next, as pairs of name and value.
void AppendProtocolCounters(const char* path, std::string& text) {
    std::ifstream file(path);
    std::string names;
    std::string values;
    while (std::getline(file, names) && std::getline(file, values)) {
        std::istringstream nameWords(names);
        std::istringstream valueWords(values);
        std::string protocol;
        std::string name;
        std::string value;
        nameWords >> protocol;
        valueWords >> value;
        while (nameWords >> name && valueWords >> value) {
            text.append(protocol).append(" ").append(name).append(" ").append(value).append("\n");
        }
    }
}

} // namespace

std::string ManufacturerOui() {
    for (const TInterface& interface : SelectInterfaces(ReadInterfaces())) {
        unsigned first = 0;
        unsigned second = 0;
        unsigned third = 0;
        // The second lowest bit of the first octet marks an address that no maker gave.
        if (std::sscanf(interface.macAddress.c_str(), "%2X:%2X:%2X", &first, &second, &third) == 3 &&
            (first & 2U) == 0 && (first | second | third) != 0) {
            std::string address = interface.macAddress.substr(0, 8);
            address.erase(std::remove(address.begin(), address.end(), ':'), address.end());
            return address;
        }
    }
    return "000000";
}

std::string ModelName() {
    return FirstLine({"/sys/class/dmi/id/product_name", "/proc/device-tree/model"}, HardwareName());
}

std::string SerialNumber() {
    char hostId[17];
    (void)std::snprintf(hostId, sizeof(hostId), "%08lx",
                        static_cast<unsigned long>(gethostid()) & 0xffffffffUL);
    return FirstLine({"/etc/machine-id", "/var/lib/dbus/machine-id"}, hostId);
}

std::string SoftwareVersion() {
    std::string name = OsRelease("PRETTY_NAME");
    utsname names = {};
    return !name.empty() || uname(&names) != 0 ? name : names.release;
}

std::string HardwareVersion() {
    return FirstLine({"/sys/class/dmi/id/product_version", "/sys/class/dmi/id/board_version"},
                     HardwareName());
}

bool UpTime(uint64_t& seconds) {
    struct sysinfo information = {};
    if (sysinfo(&information) != 0) {
        return false;
    }
    seconds = static_cast<uint64_t>(information.uptime);
    return true;
}

bool Memory(TMemory& memory) {
    struct sysinfo information = {};
    if (sysinfo(&information) != 0) {
        return false;
    }
    memory.totalKib = uint64_t{information.totalram} * information.mem_unit / 1024;
    memory.freeKib = uint64_t{information.freeram} * information.mem_unit / 1024;
    return true;
}

bool CpuUsage(unsigned& percent) {
    static TCpuTimes before; // guarded by the lock of the model
    static unsigned usage = 0;
    TCpuTimes now;
    if (!ReadCpuTimes(now)) {
        return false;
    }
    // Two calls within one tick of the kernel's clock get the same answer.
    if (now.total > before.total) {
        uint64_t total = now.total - before.total;
        uint64_t idle = std::min(total, now.idle - std::min(now.idle, before.idle));
        usage = static_cast<unsigned>((total - idle) * 100 / total);
        before = now;
    }
    percent = usage;
    return true;
}

std::string NetworkStatistics() {
    std::string text;
    for (const TInterface& interface : ReadInterfaces()) {
        for (const auto& counter : interface.counters) {
            text.append(interface.name).append(" ").append(counter.first).append(" ");
            text.append(std::to_string(interface.Counter(counter.first))).append("\n");
        }
    }
    AppendProtocolCounters("/proc/net/snmp", text);
    AppendProtocolCounters("/proc/net/netstat", text);
    return text;
}

} // namespace gateway
