#include "platform/Wildcards.h"

#include "utils/Log.h"
#include "zelto/ZeltoPlatformOps.h"

namespace zelto {

bool IsWildcard(std::string_view name) {
    return name.find('*') != std::string_view::npos;
}

TInstanceNames::TInstanceNames(const std::string& wildcard)
    : prefix(wildcard, 0, wildcard.find('*')), suffix(std::string_view(wildcard).substr(prefix.size() + 1)) {
    int reported = 0;
    int* reportedIds = nullptr;
    if (zeltoPlatLibGetObjectIds(prefix.c_str(), &reported, &reportedIds) == 0) {
        ids.reset(reportedIds);
        count = static_cast<std::size_t>(reported);
    }
    if (count == 0) {
        qvLogging_log(LOG_LEVEL_NOTICE, "\"No instance matches %s\"", wildcard.c_str());
    }
}

void TInstanceNames::Write(std::size_t position, std::string& name) const {
    name = prefix;
    name += std::to_string(ids[position]);
    name += suffix;
}

} // namespace zelto
