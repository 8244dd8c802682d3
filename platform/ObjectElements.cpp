#include "platform/ObjectElements.h"

#include "platform/Wildcards.h"

#include <string>
#include <string_view>
#include <utility>

namespace zelto {

namespace {

bool AddInstances(const std::string& wildcard, std::string_view value,
                  std::vector<TZeltoPlatLibObject>& elements) {
    const TInstanceNames names(wildcard);
    std::string name;
    for (std::size_t i = 0; i < names.Count(); ++i) {
        names.Write(i, name);
        elements.push_back({name, std::string(value), true});
    }
    return names.Count() > 0;
}

bool AddElements(std::string name, std::string_view value, std::vector<TZeltoPlatLibObject>& elements) {
    if (IsWildcard(name)) {
        return AddInstances(name, value, elements);
    }
    elements.push_back({std::move(name), std::string(value), false});
    return true;
}

} // namespace

bool ReadElements(TRequestMethod method, const TMessageBody& request,
                  std::vector<TZeltoPlatLibObject>& elements) {
    elements.reserve(request.Params().size());
    for (const TBodyEntry& entry : request.Params()) {
        const std::string_view value = method == METHOD_SET_OBJECT ? entry.value : std::string_view();
        if (!AddElements(std::string(entry.name), value, elements)) {
            return false;
        }
    }
    return true;
}

} // namespace zelto
