// Device.WiFi.SSID.{i}.: two networks whose name and state can be set. They live in memory.

#include "Model.h"
#include "Values.h"

#include <iterator>

namespace gateway {

namespace {

struct TSsid {
    std::string name;
    bool enable;
};

constexpr size_t LONGEST_SSID = 32; // bytes

TSsid ssids[] = {{"Ulmet", true}, {"Ulmet-Guest", false}};

TSsid* FindSsid(const TIndices& indices) {
    bool found = indices.size() == 1 && indices[0] >= 1 && indices[0] <= int32_t{std::size(ssids)};
    return found ? &ssids[indices[0] - 1] : nullptr;
}

int32_t ReadName(const TIndices& indices, std::string& value) {
    const TSsid* ssid = FindSsid(indices);
    if (ssid == nullptr) {
        return PLT_NOT_FOUND;
    }
    value = ssid->name;
    return PLT_SUCCESS;
}

int32_t CheckName(const TIndices& indices, const std::string& value) {
    if (FindSsid(indices) == nullptr) {
        return PLT_NOT_FOUND;
    }
    return value.empty() || value.size() > LONGEST_SSID ? PLT_INVALID_PARAM_VALUE : PLT_SUCCESS;
}

int32_t WriteName(const TIndices& indices, const std::string& value) {
    TSsid* ssid = FindSsid(indices);
    if (ssid == nullptr) {
        return PLT_NOT_FOUND;
    }
    ssid->name = value;
    return PLT_SUCCESS;
}

int32_t ReadEnable(const TIndices& indices, std::string& value) {
    const TSsid* ssid = FindSsid(indices);
    if (ssid == nullptr) {
        return PLT_NOT_FOUND;
    }
    value = BooleanText(ssid->enable);
    return PLT_SUCCESS;
}

int32_t CheckEnable(const TIndices& indices, const std::string& value) {
    if (FindSsid(indices) == nullptr) {
        return PLT_NOT_FOUND;
    }
    bool enable = false;
    return ParseBoolean(value, enable) ? PLT_SUCCESS : PLT_INVALID_PARAM_VALUE;
}

int32_t WriteEnable(const TIndices& indices, const std::string& value) {
    TSsid* ssid = FindSsid(indices);
    if (ssid == nullptr) {
        return PLT_NOT_FOUND;
    }
    ParseBoolean(value, ssid->enable);
    return PLT_SUCCESS;
}

int32_t ListSsidIds(const TIndices&, TIndices& ids) {
    for (size_t i = 0; i < std::size(ssids); ++i) {
        ids.push_back(static_cast<int32_t>(i + 1));
    }
    return PLT_SUCCESS;
}

} // namespace

const TBranch& WifiBranch() {
    static const TBranch branch = {
        {
            {"Device.WiFi.SSID.{i}.SSID", ReadName, CheckName, WriteName},
            {"Device.WiFi.SSID.{i}.Enable", ReadEnable, CheckEnable, WriteEnable},
        },
        {
            {"Device.WiFi.SSID.", ListSsidIds, nullptr, nullptr},
            {"Device.WiFi.SSID.{i}.", nullptr, nullptr, nullptr},
        },
    };
    return branch;
}

} // namespace gateway
