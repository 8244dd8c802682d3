// Device.NAT.PortMapping.{i}.: a table whose instances applications add and delete. It lives in memory.

#include "Model.h"
#include "Values.h"

#include "zelto/ZeltoPlatformLib.h"

#include <map>

#include <arpa/inet.h>

namespace gateway {

namespace {

constexpr uint64_t HIGHEST_PORT = 65535;
// A longer one may have been cut on its way here in an object request.
constexpr size_t LONGEST_DESCRIPTION = ZELTO_TEXT_SIZE - 2;

struct TPortMapping {
    std::string enable = "false";
    std::string externalPort = "0";
    std::string internalPort = "0";
    std::string internalClient;
    std::string protocol = "TCP";
    std::string description;
};

std::map<int32_t, TPortMapping> mappings;
int32_t lastId = 0; // a number is not given twice

bool IsBoolean(const std::string& value) {
    bool ignored = false;
    return ParseBoolean(value, ignored);
}

bool IsPort(const std::string& value) {
    uint64_t ignored = 0;
    return ParseUnsigned(value, HIGHEST_PORT, ignored);
}

bool IsHostAddress(const std::string& value) {
    in6_addr ignored = {};
    return value.empty() || inet_pton(AF_INET, value.c_str(), &ignored) == 1 ||
           inet_pton(AF_INET6, value.c_str(), &ignored) == 1;
}

bool IsProtocol(const std::string& value) {
    return value == "TCP" || value == "UDP";
}

bool IsDescription(const std::string& value) {
    return value.size() <= LONGEST_DESCRIPTION;
}

std::string Canonical(const std::string& value) {
    return value;
}

std::string CanonicalBoolean(const std::string& value) {
    bool enable = false;
    ParseBoolean(value, enable);
    return BooleanText(enable);
}

TPortMapping* FindMapping(const TIndices& indices) {
    auto found = indices.size() == 1 ? mappings.find(indices[0]) : mappings.end();
    return found == mappings.end() ? nullptr : &found->second;
}

template <std::string TPortMapping::*Member>
int32_t Read(const TIndices& indices, std::string& value) {
    const TPortMapping* mapping = FindMapping(indices);
    if (mapping == nullptr) {
        return PLT_NOT_FOUND;
    }
    value = mapping->*Member;
    return PLT_SUCCESS;
}

template <bool (*IsValid)(const std::string&)>
int32_t Check(const TIndices& indices, const std::string& value) {
    if (FindMapping(indices) == nullptr) {
        return PLT_NOT_FOUND;
    }
    return IsValid(value) ? PLT_SUCCESS : PLT_INVALID_PARAM_VALUE;
}

template <std::string TPortMapping::*Member, std::string (*Form)(const std::string&)>
int32_t Write(const TIndices& indices, const std::string& value) {
    TPortMapping* mapping = FindMapping(indices);
    if (mapping == nullptr) {
        return PLT_NOT_FOUND;
    }
    mapping->*Member = Form(value);
    return PLT_SUCCESS;
}

template <std::string TPortMapping::*Member, bool (*IsValid)(const std::string&),
          std::string (*Form)(const std::string&) = Canonical>
TParameter Row(const char* key) {
    return {key, Read<Member>, Check<IsValid>, Write<Member, Form>};
}

int32_t ListMappings(const TIndices&, TIndices& ids) {
    for (const auto& mapping : mappings) {
        ids.push_back(mapping.first);
    }
    return PLT_SUCCESS;
}

int32_t AddMapping(const TIndices&, int32_t& id) {
    if (mappings.size() == ZELTO_MAX_OBJECT_IDS || lastId == INT32_MAX) {
        return PLT_RESOURCES_EXCEEDED;
    }
    id = ++lastId;
    mappings[id] = TPortMapping();
    return PLT_SUCCESS;
}

int32_t RemoveMapping(const TIndices& indices) {
    return indices.size() == 1 && mappings.erase(indices[0]) == 1 ? PLT_SUCCESS : PLT_NOT_FOUND;
}

} // namespace

const TBranch& NatBranch() {
    using TMapping = TPortMapping;
    static const TBranch branch = {
        {
            Row<&TMapping::enable, IsBoolean, CanonicalBoolean>("Device.NAT.PortMapping.{i}.Enable"),
            Row<&TMapping::externalPort, IsPort>("Device.NAT.PortMapping.{i}.ExternalPort"),
            Row<&TMapping::internalPort, IsPort>("Device.NAT.PortMapping.{i}.InternalPort"),
            Row<&TMapping::internalClient, IsHostAddress>("Device.NAT.PortMapping.{i}.InternalClient"),
            Row<&TMapping::protocol, IsProtocol>("Device.NAT.PortMapping.{i}.Protocol"),
            Row<&TMapping::description, IsDescription>("Device.NAT.PortMapping.{i}.Description"),
        },
        {
            {"Device.NAT.PortMapping.", ListMappings, AddMapping, nullptr},
            {"Device.NAT.PortMapping.{i}.", nullptr, nullptr, RemoveMapping},
        },
    };
    return branch;
}

} // namespace gateway
