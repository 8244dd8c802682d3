#include "platform/Wildcards.h"

#include "utils/Log.h"
#include "zelto/ZeltoPlatformOps.h"

#include <cstdlib>
#include <memory>
#include <utility>

namespace zelto {

namespace {

struct TFree {
    void operator()(int* ids) const { std::free(ids); }
};

std::vector<std::string> NamesOfInstances(const std::string& prefix, const std::string& suffix) {
    std::vector<std::string> names;
    int count = 0;
    int* ids = nullptr;
    if (zeltoPlatLibGetObjectIds(prefix.c_str(), &count, &ids) != 0) {
        return names;
    }
    const std::unique_ptr<int, TFree> owned(ids);
    names.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        std::string name = prefix;
        name += std::to_string(ids[i]);
        name += suffix;
        names.push_back(std::move(name));
    }
    return names;
}

} // namespace

bool IsWildcard(std::string_view name) {
    return name.find('*') != std::string_view::npos;
}

TExpandedNames ExpandName(std::string name) {
    TExpandedNames expanded;
    const std::size_t star = name.find('*');
    if (star == std::string::npos) {
        expanded.names.push_back(std::move(name));
        return expanded;
    }
    expanded.fromWildcard = true;
    expanded.names = NamesOfInstances(name.substr(0, star), name.substr(star + 1));
    if (expanded.names.empty()) {
        qvLogging_log(LOG_LEVEL_NOTICE, "\"No instance matches %s\"", name.c_str());
    }
    return expanded;
}

} // namespace zelto
