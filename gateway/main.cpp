// zelto-gateway: a manager that serves the machine it runs on.

#include "Ethernet.h"
#include "Handlers.h"
#include "StateDir.h"
#include "StopSignal.h"

#include "zelto/TZeltoDataMapper.h"
#include "zelto/TZeltoIpc.h"
#include "zelto/ZeltoPlatformLib.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include <malloc.h>

namespace {

struct TOptions {
    std::string stateDir;
    int logLevel = 5;
};

constexpr int RETRY_MS = 500;

// Takes the manager's name. zeltoPlatformLibInit would do it too, but does not tell whether there is a bus,
// and at the start of a machine it may come later. Returns false when the manager was told to stop instead.
bool WaitForBus() {
    const char* identity = TZeltoDataMapper::GetInstance()->MapClientIdToStr(ZELTO_DISPATCHER);
    while (!gateway::WaitForStop(0)) {
        try {
            getZeltoIpcInstance()->Init(identity);
            return true;
        } catch (const std::runtime_error& error) {
            (void)std::fprintf(stderr, "zelto-gateway: waiting for the bus: %s\n", error.what());
            if (gateway::WaitForStop(RETRY_MS)) {
                return false;
            }
        }
    }
    return false;
}

void Serve(const TOptions& options) {
    // What one very long request has taken is to go back to the system, not to be kept for the next one.
    (void)mallopt(M_MMAP_THRESHOLD, 131072); // without it memory only goes back later
    gateway::CatchStopSignals();
    gateway::TStateDir stateDir(options.stateDir);
    stateDir.InstallHelper();
    stateDir.WriteIndexMap(gateway::ServedInterfaces());
    if (!WaitForBus()) {
        return;
    }
    auto entries = gateway::MakeFunctionTable();
    tZeltoPlatformLibTable table = {entries.data(), static_cast<int32_t>(entries.size()),
                                    stateDir.IndexMapPath().c_str()};
    zeltoPlatformLibInit(&table);
    (void)std::fprintf(stderr, "zelto-gateway: ready\n");
    (void)gateway::WaitForStop(-1);
    zeltoPlatformLibTerm();
    getZeltoIpcInstance()->Stop();
}

int Run(int argc, char** argv) {
    TOptions options;
    CLI::App app("Serves this machine's data model to the applications on the system bus.", "zelto-gateway");
    app.set_version_flag("--version", "zelto-gateway " ZELTO_VERSION);
    app.add_option("--state-dir", options.stateDir,
                   "Directory for the helper script and the index map (default: a temporary one)");
    CLI::Option* logLevel = app.add_option("--log-level", options.logLevel,
                                           "Log records up to this level: 3 errors, 5 notices, 7 all");
    logLevel->check(CLI::Range(0, 7));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (logLevel->count() != 0) {
        (void)setenv("QV_LOGGING_LEVEL", std::to_string(options.logLevel).c_str(), 1);
    }
    Serve(options);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "zelto-gateway: %s\n", error.what());
        return 3;
    }
}
