// Instance numbers: applications number some tables differently from the platform. These are the tables that
// relate the two numberings, and the functions that rewrite names from one to the other.
//
// The tables are written by zeltoPlatformLibInit only, while no request from the bus is worked on but that of
// a handler which calls it. Reading takes no lock, so nobody else may read them meanwhile.
#ifndef ZELTO_PLATFORM_NAMES_H
#define ZELTO_PLATFORM_NAMES_H

#include "zelto/Export.h"
#include "zelto/ZeltoTypes.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

constexpr int ZELTO_INDEX_MAP_MODELS = 4;
constexpr int ZELTO_INDEX_MAP_PAIRS = 255;

struct tZeltoNameIndexPair {
    int32_t appIndex;
    int32_t platformIndex;
};

// The index pairs of one object root.
struct tZeltoNameIndexPairs {
    char name[ZELTO_TEXT_SIZE]; // the root, such as "Device.WiFi.SSID."
    int32_t count;              // pairs in use
    tZeltoNameIndexPair pairs[ZELTO_INDEX_MAP_PAIRS];
};

// The roots that carry an index map, in the order of DataModelNameIndexPairs.
extern ZELTO_API std::vector<std::string> rootVector;
extern ZELTO_API tZeltoNameIndexPairs DataModelNameIndexPairs[ZELTO_INDEX_MAP_MODELS];
// Records of DataModelNameIndexPairs in use.
extern ZELTO_API int32_t zeltoNameIndexPairsSize;
// Application instance name ("Device.Ethernet.Interface.1") to platform instance name, and the reverse.
extern ZELTO_API std::unordered_map<std::string, std::string> DataModelRequestIndexMap;
extern ZELTO_API std::unordered_map<std::string, std::string> DataModelResponseIndexMap;

// Rewrites `name` in place: for each root, the instance name where the root first occurs, if `map` knows it.
// Further occurrences are not looked at.
ZELTO_API void referIndexMap(std::string& name, const std::unordered_map<std::string, std::string>& map);
// From application to platform numbering.
ZELTO_API void referRequestIndexMap(std::string& name);
// From platform to application numbering.
ZELTO_API void referResponseIndexMap(std::string& name);

// Removes the mark "@" that forbids translation. Returns 0 when it was there, 1 when translation is allowed.
ZELTO_API int stripIndexMapNegator(std::string& name);

// Rewrites a name into its function-table key: each segment before a "." that begins with a digit becomes
// "{i}". Returns whether anything changed.
ZELTO_API bool convertObjectToJsonName(std::string& name);

// Replaces `out` by the instance numbers in `name`, outer first. A null name counts as empty. Throws
// std::out_of_range for a number above 2147483647; `out` then holds the numbers before it.
ZELTO_API void getIndices(const char* name, std::vector<int>& out);

#endif
