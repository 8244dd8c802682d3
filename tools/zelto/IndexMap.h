// The numberings of applications and of the platform, as the manager knows them.
#ifndef ZELTO_TOOL_INDEX_MAP_H
#define ZELTO_TOOL_INDEX_MAP_H

#include "Globals.h"

#include <string>
#include <utility>
#include <vector>

namespace tool {

// A table such as "Device.WiFi.SSID." and its pairs (application's number, platform's number).
struct TNumberings {
    std::string table;
    std::vector<std::pair<int, int>> pairs;
};

using TIndexMap = std::vector<TNumberings>;

// Says with `what` why the map cannot be had, and returns the exit code.
int ReadIndexMap(const TGlobals& globals, const std::string& what, TIndexMap& indexMap);

// The name in the other numbering; the name itself where there is only one. A name of the platform's that
// applications have no number for stays in the platform's, with the "@" that says so.
std::string ToPlatformName(const TIndexMap& indexMap, const std::string& name);
std::string ToApplicationName(const TIndexMap& indexMap, const std::string& name);

} // namespace tool

#endif
