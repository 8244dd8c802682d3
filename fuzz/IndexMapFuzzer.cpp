// Loads index-map files. A file is taken whole or leaves everything as it was; what is in force afterwards is
// consistent, translates to and fro and can be asked for.
#include "FuzzInput.h"

#include "platform/IndexMaps.h"
#include "platform/PlatformLib.h"
#include "zelto/ZeltoPlatformNames.h"

#include <iterator>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using fuzz::Require;

struct TTables {
    std::vector<std::string> roots;
    std::unordered_map<std::string, std::string> request;
    std::unordered_map<std::string, std::string> response;
    std::vector<unsigned char> records;
    int32_t size;
};

TTables InForce() {
    const auto* const records = reinterpret_cast<const unsigned char*>(DataModelNameIndexPairs);
    return {rootVector, DataModelRequestIndexMap, DataModelResponseIndexMap,
            std::vector<unsigned char>(records, records + sizeof(DataModelNameIndexPairs)),
            zeltoNameIndexPairsSize};
}

bool AreInForce(const TTables& tables) {
    return rootVector == tables.roots && DataModelRequestIndexMap == tables.request &&
           DataModelResponseIndexMap == tables.response && zeltoNameIndexPairsSize == tables.size &&
           std::memcmp(DataModelNameIndexPairs, tables.records.data(), sizeof(DataModelNameIndexPairs)) == 0;
}

void Restore(const TTables& tables) {
    rootVector = tables.roots;
    DataModelRequestIndexMap = tables.request;
    DataModelResponseIndexMap = tables.response;
    std::memcpy(DataModelNameIndexPairs, tables.records.data(), sizeof(DataModelNameIndexPairs));
    zeltoNameIndexPairsSize = tables.size;
}

// A file without a disk.
class TMemoryFile {
public:
    TMemoryFile()
        : fd(::memfd_create("index_map", MFD_CLOEXEC)), path("/proc/self/fd/" + std::to_string(fd)) {
        Require(fd >= 0, "there is a file");
    }

    const char* Holding(const std::uint8_t* data, std::size_t size) const {
        Require(::ftruncate(fd, 0) == 0 && ::pwrite(fd, data, size, 0) == static_cast<ssize_t>(size),
                "the file is written");
        return path.c_str();
    }

private:
    const int fd;
    const std::string path;
};

void RequireRecord(const tZeltoNameIndexPairs& record, const std::string& root) {
    Require(fuzz::IsTerminated(record.name), "the name of a record is terminated");
    Require(root.compare(0, sizeof(record.name) - 1, record.name) == 0, "a record is named for its root");
    Require(record.count >= 0 && record.count <= ZELTO_INDEX_MAP_PAIRS, "the pairs of a record fit in");
    for (int32_t i = 0; i < record.count; ++i) {
        Require(DataModelRequestIndexMap.count(root + std::to_string(record.pairs[i].appIndex)) == 1,
                "every pair can be looked up");
        Require(DataModelResponseIndexMap.count(root + std::to_string(record.pairs[i].platformIndex)) == 1,
                "every pair can be looked up in reverse");
    }
}

void RequireConsistent() {
    Require(static_cast<std::size_t>(zeltoNameIndexPairsSize) == rootVector.size() &&
                rootVector.size() <= std::size(DataModelNameIndexPairs),
            "there is a record for each root");
    for (std::size_t i = 0; i < rootVector.size(); ++i) {
        RequireRecord(DataModelNameIndexPairs[i], rootVector[i]);
    }
}

void RequireAnswers() {
    std::string answer;
    Require(zelto::PlatformMethodHandler()->OnMethodCall("GET_INDEX_MAP", "", answer) == 0,
            "the maps can be asked for");
    const auto document = fuzz::RequireObject(answer, "the answer is a JSON object");
    Require(json_array_size(json_object_get(document.get(), "DATA_MODELS")) == rootVector.size(),
            "the answer has every table");
    std::string name = "Device.Ethernet.Interface.1.Enable";
    referRequestIndexMap(name);
    referResponseIndexMap(name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TTables builtIn = InForce();
    static const TMemoryFile file;
    const bool isLoaded = zelto::LoadIndexMapFile(file.Holding(data, size));
    if (isLoaded) {
        RequireConsistent();
        RequireAnswers();
        Restore(builtIn);
    } else {
        Require(AreInForce(builtIn), "a file that is refused changes nothing");
    }
    return 0;
}
