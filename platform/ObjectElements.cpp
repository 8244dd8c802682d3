#include "platform/ObjectElements.h"

#include "ipc/TextLimit.h"
#include "platform/Wildcards.h"
#include "utils/Log.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace zelto {

namespace {

// What stands around the name and the value of an entry, and before the next one.
constexpr std::size_t ENTRY_FRAME = std::string_view(R"({"NAME": "", "VALUE": ""}, )").size();
constexpr std::size_t MOST_ELEMENTS = MAX_TEXT_LENGTH / ENTRY_FRAME;

class TElementReader {
public:
    TElementReader(TRequestMethod readMethod, std::vector<TZeltoPlatLibObject>& readElements)
        : method(readMethod), elements(readElements) {}

    bool Read(const std::vector<TBodyEntry>& entries) {
        if (entries.size() > MOST_ELEMENTS) {
            return Refuse();
        }
        elements.reserve(entries.size());
        return std::all_of(entries.begin(), entries.end(),
                           [this](const TBodyEntry& entry) { return ReadEntry(entry); });
    }

private:
    bool ReadEntry(const TBodyEntry& entry) {
        const std::string_view value = method == METHOD_SET_OBJECT ? entry.value : std::string_view();
        std::string name(entry.name);
        return IsWildcard(name) ? AddInstances(name, value) : Add(std::move(name), value, false);
    }

    bool AddInstances(const std::string& wildcard, std::string_view value) {
        const TInstanceNames names(wildcard);
        std::string name;
        for (std::size_t i = 0; i < names.Count(); ++i) {
            names.Write(i, name);
            if (!Add(name, value, true)) {
                return false;
            }
        }
        return names.Count() > 0;
    }

    bool Add(std::string name, std::string_view value, bool inPlatformNumbering) {
        textLength += ENTRY_FRAME + name.size() + value.size();
        if (textLength > MAX_TEXT_LENGTH) {
            return Refuse();
        }
        elements.push_back({std::move(name), std::string(value), inPlatformNumbering});
        return true;
    }

    bool Refuse() const {
        qvLogging_log(LOG_LEVEL_ERROR, "\"The elements of %s are longer than 16 MiB\"", METHOD_NAMES[method]);
        return false;
    }

    const TRequestMethod method;
    std::vector<TZeltoPlatLibObject>& elements;
    std::size_t textLength = 0;
};

} // namespace

bool ReadElements(TRequestMethod method, const TMessageBody& request,
                  std::vector<TZeltoPlatLibObject>& elements) {
    return TElementReader(method, elements).Read(request.Params());
}

} // namespace zelto
