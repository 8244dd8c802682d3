#include "platform/IndexMaps.h"

#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"
#include "utils/Log.h"
#include "zelto/TZeltoJsonObject.h"
#include "zelto/ZeltoPlatformNames.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <utility>

#include <unistd.h>

static_assert(sizeof(tZeltoNameIndexPairs) == 2300, "the layout of a record is binary interface");
static_assert(sizeof(DataModelNameIndexPairs) == 9200, "the layout of the array is binary interface");

namespace {

using TNameMap = std::unordered_map<std::string, std::string>;

struct TModel {
    std::string root;
    std::vector<tZeltoNameIndexPair> pairs;
};

// Everything that is looked up by name, made anew from whole models.
struct TNameTables {
    std::vector<std::string> roots;
    TNameMap request;
    TNameMap response;
};

constexpr tZeltoNameIndexPairs NamedRecord(const char* root) {
    tZeltoNameIndexPairs record{};
    for (std::size_t at = 0; root[at] != '\0'; ++at) {
        record.name[at] = root[at];
    }
    return record;
}

// Pairs every index from 1 to `count` with itself.
constexpr tZeltoNameIndexPairs IdentityRecord(const char* root, int32_t count) {
    tZeltoNameIndexPairs record = NamedRecord(root);
    for (; record.count < count; ++record.count) {
        record.pairs[record.count] = {record.count + 1, record.count + 1};
    }
    return record;
}

constexpr tZeltoNameIndexPairs PairedRecord(const char* root,
                                            std::initializer_list<tZeltoNameIndexPair> pairs) {
    tZeltoNameIndexPairs record = NamedRecord(root);
    for (const tZeltoNameIndexPair& pair : pairs) {
        record.pairs[record.count++] = pair;
    }
    return record;
}

void AddPair(TNameTables& tables, const std::string& root, const tZeltoNameIndexPair& pair) {
    const std::string appName = root + std::to_string(pair.appIndex);
    const std::string platformName = root + std::to_string(pair.platformIndex);
    tables.request[appName] = platformName;
    tables.response[platformName] = appName;
}

TNameTables TablesOf(const std::vector<TModel>& models) {
    TNameTables tables;
    for (const TModel& model : models) {
        tables.roots.push_back(model.root);
        for (const tZeltoNameIndexPair& pair : model.pairs) {
            AddPair(tables, model.root, pair);
        }
    }
    return tables;
}

TNameTables BuiltInTables() {
    std::vector<TModel> models;
    for (const tZeltoNameIndexPairs& record : DataModelNameIndexPairs) {
        models.push_back({record.name, {record.pairs, record.pairs + record.count}});
    }
    return TablesOf(models);
}

// As std::stoi reads: blanks before and anything behind the number are passed over.
int32_t ReadIndex(const std::string& text) {
    try {
        return std::stoi(text);
    } catch (const std::logic_error&) {
        throw std::invalid_argument("'" + text + "' is no index");
    }
}

tZeltoNameIndexPair ReadPair(json_t* element) {
    if (json_object_size(element) != 1) {
        throw std::invalid_argument("an element is no single pair of indices");
    }
    const std::string appIndex = json_object_iter_key(json_object_iter(element));
    return {ReadIndex(appIndex), ReadIndex(zelto::TextOf(element, appIndex.c_str()))};
}

TModel ReadModel(const json_t* element) {
    TModel model;
    model.root = zelto::TextOf(element, zelto::KEY_NAME);
    const json_t* const pairs = json_object_get(element, zelto::KEY_INDEX_MAP);
    const std::size_t count = zelto::ElementCount(pairs);
    if (count > ZELTO_INDEX_MAP_PAIRS) {
        throw std::length_error("too many pairs for '" + model.root + "'");
    }
    model.pairs.reserve(count);
    for (std::size_t at = 0; at < count; ++at) {
        model.pairs.push_back(ReadPair(zelto::ElementAt(pairs, at)));
    }
    return model;
}

std::vector<TModel> ReadModels(const TZeltoJsonObject& file) {
    const json_t* const elements = zelto::ValueOf(file, zelto::KEY_DATA_MODELS);
    const std::size_t count = zelto::ElementCount(elements);
    if (count > ZELTO_INDEX_MAP_MODELS) {
        throw std::length_error("too many data models");
    }
    std::vector<TModel> models;
    models.reserve(count);
    for (std::size_t at = 0; at < count; ++at) {
        models.push_back(ReadModel(zelto::ElementAt(elements, at)));
    }
    return models;
}

// Only the bytes that a record needs are written: what lies behind a shorter name or behind fewer pairs
// stays.
void StoreRecord(tZeltoNameIndexPairs& record, const TModel& model) {
    (void)std::snprintf(record.name, sizeof record.name, "%s", model.root.c_str()); // a long name is cut
    record.count = static_cast<int32_t>(model.pairs.size());
    for (std::size_t at = 0; at < model.pairs.size(); ++at) {
        record.pairs[at] = model.pairs[at];
    }
}

void ReplaceTables(const std::vector<TModel>& models) {
    TNameTables tables = TablesOf(models); // the last step that can fail
    rootVector.swap(tables.roots);
    DataModelRequestIndexMap.swap(tables.request);
    DataModelResponseIndexMap.swap(tables.response);
    // Only as many bytes as there were records: that the rest stays until it is overwritten is part of the
    // interface.
    std::memset(DataModelNameIndexPairs, 0, static_cast<std::size_t>(zeltoNameIndexPairsSize));
    zeltoNameIndexPairsSize = static_cast<int32_t>(models.size());
    for (std::size_t at = 0; at < models.size(); ++at) {
        StoreRecord(DataModelNameIndexPairs[at], models[at]);
    }
}

} // namespace

tZeltoNameIndexPairs DataModelNameIndexPairs[ZELTO_INDEX_MAP_MODELS] = {
    IdentityRecord("Device.WiFi.Radio.", 2),
    IdentityRecord("Device.WiFi.SSID.", 16),
    IdentityRecord("Device.WiFi.AccessPoint.", 16),
    PairedRecord("Device.Ethernet.Interface.", {{1, 5}, {2, 1}, {3, 2}, {4, 3}, {5, 4}}),
};
int32_t zeltoNameIndexPairsSize = ZELTO_INDEX_MAP_MODELS;

// Made before and so destroyed after the transport object, whose threads translate names until it stops.
__attribute__((init_priority(1000))) std::vector<std::string> rootVector = BuiltInTables().roots;
__attribute__((init_priority(1000))) TNameMap DataModelRequestIndexMap = BuiltInTables().request;
__attribute__((init_priority(1000))) TNameMap DataModelResponseIndexMap = BuiltInTables().response;

namespace zelto {

bool LoadIndexMapFile(const char* path) {
    TZeltoJsonObject file;
    if (path == nullptr) {
        return false;
    }
    if (!file.LoadFile(path)) {
        // A manager may always name a file that need not be there.
        const bool isMissing = ::access(path, F_OK) != 0 && errno == ENOENT;
        qvLogging_log(
            isMissing ? LOG_LEVEL_NOTICE : LOG_LEVEL_ERROR,
            "\"The index map file %s cannot be read as JSON: the built-in maps stay in force, or those "
            "of an earlier file\"",
            path);
        return false;
    }
    try {
        ReplaceTables(ReadModels(file));
        if (rootVector.empty()) {
            qvLogging_log(LOG_LEVEL_NOTICE, "\"The index map file %s holds no data model\"", path);
        }
        return true;
    } catch (const std::logic_error& fault) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"The index map file %s is refused: %s\"", path, fault.what());
        return false;
    }
}

} // namespace zelto
