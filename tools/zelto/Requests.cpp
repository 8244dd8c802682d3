#include "Requests.h"

#include "ExitCodes.h"
#include "Output.h"

#include "zelto/TZeltoDataMapper.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace tool {

namespace {

using TClock = std::chrono::steady_clock;

constexpr int PROBE_SECONDS = 2;

std::string ManagerIdentity() {
    return TZeltoDataMapper::GetInstance()->MapClientIdToStr(ZELTO_DISPATCHER);
}

// A call that ended by its time-out may be measured a little short of it.
bool HasTimedOut(TClock::time_point start, int timeoutSeconds) {
    return TClock::now() - start >= std::chrono::seconds(timeoutSeconds) - std::chrono::milliseconds(20);
}

// Asks the manager something that it never refuses. Throws what the bus throws.
int ProbeManager() {
    TZeltoIpc::TMethodSettings settings;
    settings.serverId = ManagerIdentity();
    settings.timeout = PROBE_SECONDS;
    TClock::time_point start = TClock::now();
    std::string answer;
    if (getZeltoIpcInstance()->CallMethod("GET_INDEX_MAP", "", answer, settings) == 0) {
        return EXIT_DONE;
    }
    return HasTimedOut(start, PROBE_SECONDS) ? EXIT_TIME_OUT : EXIT_NO_OWNER;
}

// Whether the table before the "*" has no instance.
bool MatchesNothing(TZeltoApplication& app, const std::string& path) {
    std::string::size_type star = path.find('*');
    std::vector<int> ids;
    return star != std::string::npos && app.GetObjectIds(path.substr(0, star), ids) == 0 && ids.empty();
}

int ExplainRefusal(TZeltoApplication& app, const std::string& what, const std::vector<std::string>& paths) {
    auto empty = std::find_if(paths.begin(), paths.end(),
                              [&app](const std::string& path) { return MatchesNothing(app, path); });
    if (empty != paths.end()) {
        PrintError(what + ": nothing matches " + *empty);
        return EXIT_NOTHING_MATCHED;
    }
    PrintError(what + ": refused by the manager");
    return EXIT_REFUSED;
}

int Explain(TZeltoApplication& app, const std::string& what, const std::vector<std::string>& paths,
            bool wasSent) {
    switch (ProbeManager()) {
    case EXIT_TIME_OUT:
        PrintError(what + ": the manager does not answer");
        return EXIT_TIME_OUT;
    case EXIT_NO_OWNER:
        PrintError(what + ": there is no manager on the bus");
        return EXIT_NO_OWNER;
    default:
        break;
    }
    if (wasSent) {
        return ExplainRefusal(app, what, paths);
    }
    PrintError(what + ": cannot be sent (-v shows why)");
    return EXIT_RUN_TIME;
}

} // namespace

int RunRequest(int timeoutSeconds, const std::string& what, const std::vector<std::string>& paths,
               const std::function<int(TZeltoApplication&)>& request) {
    TZeltoIpc* ipc = getZeltoIpcInstance();
    TZeltoIpc::TZeltoIpcSettings settings;
    ipc->GetSettings(settings);
    settings.methodTimeout = timeoutSeconds;
    ipc->Configure(settings);
    ipc->SetMethodServerId("*", ManagerIdentity());
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    TClock::time_point start = TClock::now();
    try {
        int result = request(app);
        if (result == 0) {
            return EXIT_DONE;
        }
        if (result == -1 && HasTimedOut(start, timeoutSeconds)) {
            PrintError(what + ": no answer within " + std::to_string(timeoutSeconds) + " s");
            return EXIT_TIME_OUT;
        }
        return Explain(app, what, paths, result == -1);
    } catch (const std::runtime_error& error) {
        PrintError(what + ": " + error.what());
        return EXIT_RUN_TIME;
    }
}

} // namespace tool
