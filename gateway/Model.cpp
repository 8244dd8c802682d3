#include "Model.h"

#include <unordered_map>

namespace gateway {

namespace {

template <typename T>
std::unordered_map<std::string, const T*> IndexRows(std::vector<T> TBranch::*rows) {
    std::unordered_map<std::string, const T*> index;
    for (const TBranch* branch : AllBranches()) {
        for (const T& row : branch->*rows) {
            index.emplace(row.key, &row);
        }
    }
    return index;
}

template <typename T>
const T* Find(const std::unordered_map<std::string, const T*>& index, const std::string& key) {
    auto found = index.find(key);
    return found == index.end() ? nullptr : found->second;
}

} // namespace

std::vector<const TBranch*> AllBranches() {
    return {&DeviceInfoBranch(), &EthernetBranch(), &WifiBranch(), &NatBranch()};
}

const TParameter* FindParameter(const std::string& key) {
    static const auto index = IndexRows(&TBranch::parameters);
    return Find(index, key);
}

const TObject* FindObject(const std::string& key) {
    static const auto index = IndexRows(&TBranch::objects);
    return Find(index, key);
}

} // namespace gateway
