#include "platform/PlatformLib.h"

#include "platform/FunctionMap.h"
#include "platform/IndexMaps.h"
#include "protocol/RequestNames.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformLib.h"

#include <cstdlib>
#include <exception>

namespace zelto {

TZeltoDataMapper* const platformMapper = TZeltoDataMapper::GetInstance();
TZeltoIpc* const platformIpc = getZeltoIpcInstance();

namespace {

constexpr const char* HELPER_COMMAND = "zelto_manager_helper.sh";

// Whether an earlier start has registered for requests, so that the tables may be in use.
bool isRegistered = false;

void PrepareParty(const tZeltoPlatformLibTable& table) {
    AddFunctionTable(table.entries, table.count);
    if (table.indexMapPath != nullptr) {
        // A file that cannot be used leaves the built-in maps in force, and start-up goes on.
        static_cast<void>(LoadIndexMapFile(table.indexMapPath));
    }
    platformIpc->Init(platformMapper->MapClientIdToStr(ZELTO_DISPATCHER));
    isRegistered = true;
    for (const char* const method : METHOD_NAMES) {
        platformIpc->AddMethodHandler(method, PlatformMethodHandler());
    }
}

// Requests read the tables without a lock. So while those change nobody serves; what arrives waits at the bus
// and is answered afterwards.
void ServeRequests(const tZeltoPlatformLibTable& table) {
    const bool isRestart = isRegistered;
    if (isRestart) {
        platformIpc->Stop();
    }
    try {
        PrepareParty(table);
    } catch (...) {
        if (isRestart) {
            platformIpc->Run();
        }
        throw;
    }
    platformIpc->Run();
}

void RunHelper() {
    // The shell is meant: it finds the script on the search path of the manager's environment.
    if (std::system(HELPER_COMMAND) != 0) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"Can't run Zelto Manager with command - %s\"", HELPER_COMMAND);
    }
}

} // namespace

} // namespace zelto

void zeltoPlatformLibInit(const tZeltoPlatformLibTable* table) {
    if (table == nullptr) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"ZELTO Platform Library started without a table\"");
        return;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Starting ZELTO Platform Library, tableSize = %d\n\"",
                  table->count);
    // The callers are C programs, so no exception leaves.
    try {
        zelto::ServeRequests(*table);
        zelto::RunHelper();
    } catch (const std::exception& error) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"%s\"", error.what());
    }
}

void zeltoPlatformLibTerm(void) {
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Stopping ZELTO Platform Library\"");
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Exit ZELTO Platform Library\"");
}
