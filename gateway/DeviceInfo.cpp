// Device.DeviceInfo.: what the machine is and how it does.

#include "Machine.h"
#include "Model.h"
#include "Values.h"

namespace gateway {

namespace {

template <std::string (*Fact)()>
int32_t ReadFact(const TIndices&, std::string& value) {
    value = Fact();
    return value.empty() ? PLT_NOT_SUPPORTED : PLT_SUCCESS;
}

int32_t ReadUpTime(const TIndices&, std::string& value) {
    uint64_t seconds = 0;
    if (!UpTime(seconds)) {
        return PLT_NOT_SUPPORTED;
    }
    value = std::to_string(seconds);
    return PLT_SUCCESS;
}

template <uint64_t TMemory::*Member>
int32_t ReadMemory(const TIndices&, std::string& value) {
    TMemory memory;
    if (!Memory(memory)) {
        return PLT_NOT_SUPPORTED;
    }
    value = std::to_string(memory.*Member);
    return PLT_SUCCESS;
}

int32_t ReadCpuUsage(const TIndices&, std::string& value) {
    unsigned percent = 0;
    if (!CpuUsage(percent)) {
        return PLT_NOT_SUPPORTED;
    }
    value = std::to_string(percent);
    return PLT_SUCCESS;
}

} // namespace

const TBranch& DeviceInfoBranch() {
    static const TBranch branch = {
        {
            {"Device.DeviceInfo.ManufacturerOUI", ReadFact<ManufacturerOui>, nullptr, nullptr},
            {"Device.DeviceInfo.ModelName", ReadFact<ModelName>, nullptr, nullptr},
            {"Device.DeviceInfo.SerialNumber", ReadFact<SerialNumber>, nullptr, nullptr},
            {"Device.DeviceInfo.SoftwareVersion", ReadFact<SoftwareVersion>, nullptr, nullptr},
            {"Device.DeviceInfo.HardwareVersion", ReadFact<HardwareVersion>, nullptr, nullptr},
            {"Device.DeviceInfo.UpTime", ReadUpTime, nullptr, nullptr},
            {"Device.DeviceInfo.MemoryStatus.Total", ReadMemory<&TMemory::totalKib>, nullptr, nullptr},
            {"Device.DeviceInfo.MemoryStatus.Free", ReadMemory<&TMemory::freeKib>, nullptr, nullptr},
            {"Device.DeviceInfo.ProcessStatus.CPUUsage", ReadCpuUsage, nullptr, nullptr},
            {"Device.DeviceInfo.X_ULMET_NetworkStatistics", ReadFact<NetworkStatistics>, nullptr, nullptr},
        },
        {
            {"Device.DeviceInfo.", nullptr, nullptr, nullptr},
        },
    };
    return branch;
}

} // namespace gateway
