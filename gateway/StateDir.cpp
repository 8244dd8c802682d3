#include "StateDir.h"

#include "zelto/TZeltoJsonObject.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

namespace gateway {

namespace {

// The library runs it once the manager is on the bus. This is the place for what an installation wants done
// then; here it leaves the time of the start.
const char HELPER_TEXT[] = "#!/bin/sh\n"
                           "date > \"$ZELTO_GATEWAY_STATE/started\"\n";

[[noreturn]] void Fail(const std::string& path) {
    throw std::runtime_error(path + ": " + std::strerror(errno));
}

std::string MakeTemporary() {
    const char* parent = std::getenv("TMPDIR");
    std::string path = std::string(parent == nullptr || *parent == '\0' ? "/tmp" : parent);
    path += "/zelto-gateway-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        Fail(path);
    }
    return path;
}

// Absolute, since it becomes a part of the search path.
std::string Resolve(const std::string& path) {
    char* resolved = realpath(path.c_str(), nullptr);
    if (resolved == nullptr) {
        Fail(path);
    }
    std::string result = resolved;
    std::free(resolved);
    return result;
}

} // namespace

TStateDir::TStateDir(const std::string& wanted) : path(wanted), made(true) {
    if (path.empty()) {
        path = MakeTemporary();
    } else if (mkdir(path.c_str(), 0700) != 0) {
        made = false;
        if (errno != EEXIST) {
            Fail(path);
        }
    }
    path = Resolve(path);
    helperPath = path + "/zelto_manager_helper.sh";
    markPath = path + "/started";
    indexMapPath = path + "/index_map.json";
}

TStateDir::~TStateDir() {
    for (const std::string& file : {helperPath, markPath, indexMapPath}) {
        (void)unlink(file.c_str()); // those that were never written are not there
    }
    if (made) {
        (void)rmdir(path.c_str()); // stays when somebody else put something into it
    }
}

void TStateDir::InstallHelper() {
    std::ofstream file(helperPath);
    file << HELPER_TEXT;
    file.close();
    if (!file || chmod(helperPath.c_str(), 0700) != 0) {
        Fail(helperPath);
    }
    const char* search = std::getenv("PATH");
    std::string extended = search == nullptr ? path : path + ":" + search;
    if (setenv("PATH", extended.c_str(), 1) != 0 || setenv("ZELTO_GATEWAY_STATE", path.c_str(), 1) != 0) {
        Fail("PATH");
    }
}

void TStateDir::WriteIndexMap(const TIndices& platformIndices) {
    TZeltoJsonObject document;
    void* pairs = nullptr;
    for (size_t i = 0; i < platformIndices.size(); ++i) {
        TZeltoJsonObject pair;
        pair.SetJsonObject(std::to_string(i + 1), pair.ToJson(std::to_string(platformIndices[i])));
        document.AppendJsonArray(&pairs, document.ToJson(pair));
    }
    TZeltoJsonObject table;
    table.SetJsonObject("NAME", table.ToJson("Device.Ethernet.Interface."));
    table.SetJsonObject("INDEX_MAP", pairs);
    void* tables = nullptr;
    document.AppendJsonArray(&tables, document.ToJson(table));
    document.SetJsonObject("DATA_MODELS", tables);
    if (!document.DumpToFile(indexMapPath, 2)) {
        Fail(indexMapPath);
    }
}

const std::string& TStateDir::IndexMapPath() const {
    return indexMapPath;
}

} // namespace gateway
