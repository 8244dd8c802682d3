#include "IndexMap.h"

#include "Bodies.h"
#include "ExitCodes.h"
#include "ParamRequests.h"

#include <algorithm>

namespace tool {

namespace {

// Where the instance number of a mapped table stands in a name.
struct TNumberPlace {
    const TNumberings* numberings = nullptr;
    size_t start = 0;
    size_t end = 0;
};

bool FindNumber(const TIndexMap& indexMap, const std::string& name, TNumberPlace& place) {
    const auto found = std::find_if(indexMap.begin(), indexMap.end(), [&name](const TNumberings& numberings) {
        return name.compare(0, numberings.table.size(), numberings.table) == 0;
    });
    if (found == indexMap.end()) {
        return false;
    }
    place = {&*found, found->table.size(), name.find_first_not_of("0123456789", found->table.size())};
    place.end = std::min(place.end, name.size());
    return place.end > place.start;
}

std::string ReplaceNumber(const std::string& name, const TNumberPlace& place, int number) {
    return name.substr(0, place.start) + std::to_string(number) + name.substr(place.end);
}

std::string Number(const std::string& name, const TNumberPlace& place) {
    return name.substr(place.start, place.end - place.start);
}

} // namespace

int ReadIndexMap(const TGlobals& globals, const std::string& what, TIndexMap& indexMap) {
    TZeltoJsonObject answer;
    const int code = Ask(globals, {what, "GET_INDEX_MAP", "", "DATA_MODELS"}, answer);
    if (code != EXIT_DONE) {
        return code;
    }
    for (const TZeltoJsonObject& model : GetList(answer, "DATA_MODELS")) {
        TNumberings numberings{GetText(model, "NAME"), {}};
        for (const TZeltoJsonObject& pair : GetList(model, "INDEX_MAP")) {
            numberings.pairs.emplace_back(GetInteger(pair, "APP_INDEX"), GetInteger(pair, "PLATFORM_INDEX"));
        }
        indexMap.push_back(numberings);
    }
    return EXIT_DONE;
}

std::string ToPlatformName(const TIndexMap& indexMap, const std::string& name) {
    TNumberPlace place;
    if (!FindNumber(indexMap, name, place)) {
        return name;
    }
    for (const auto& [application, platform] : place.numberings->pairs) {
        if (std::to_string(application) == Number(name, place)) {
            return ReplaceNumber(name, place, platform);
        }
    }
    return name;
}

std::string ToApplicationName(const TIndexMap& indexMap, const std::string& name) {
    TNumberPlace place;
    if (!FindNumber(indexMap, name, place)) {
        return name;
    }
    for (const auto& [application, platform] : place.numberings->pairs) {
        if (std::to_string(platform) == Number(name, place)) {
            return ReplaceNumber(name, place, application);
        }
    }
    return "@" + name;
}

} // namespace tool
