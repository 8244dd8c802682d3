#include "Requests.h"

#include "Bus.h"
#include "ExitCodes.h"
#include "LibraryLog.h"
#include "Output.h"
#include "WaitNotice.h"

#include "zelto/TZeltoDataMapper.h"
#include "zelto/TZeltoIpc.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace tool {

namespace {

using TClock = std::chrono::steady_clock;

// No answer has this text: the library leaves the text as it was when there is none.
const std::string NO_TEXT = "\n no answer";

// How the bus words that its policy, or that of a security module, does not let a message pass or a name be
// owned.
constexpr const char* DENIALS[] = {"Rejected send message", "not allowed to own", "not authorized to",
                                   "policy prevents"};

bool IsDenial(const std::string& error) {
    return std::any_of(std::begin(DENIALS), std::end(DENIALS),
                       [&error](const char* denial) { return error.find(denial) != std::string::npos; });
}

// A call that ended by its time-out may be measured a little short of it.
bool HasTimedOut(TClock::time_point start, int timeoutSeconds) {
    return TClock::now() - start >= std::chrono::seconds(timeoutSeconds) - std::chrono::milliseconds(20);
}

std::string NameOf(const std::string& server) {
    return server == ManagerIdentity() ? "the manager" : server;
}

TAnswer Failure(int exitCode, const std::string& reason) {
    return {exitCode, reason, false, -1, ""};
}

TAnswer ExplainSilence(const std::string& server) {
    const std::string error = LastLoggedError();
    if (IsDenial(error)) {
        return Failure(EXIT_DENIED, "denied by the policy of the bus: " + error);
    }
    try {
        if (TBus().OwnerOf(NAME_PREFIX + server).empty()) {
            const std::string name = server == ManagerIdentity() ? "manager" : server;
            return Failure(EXIT_NO_OWNER, "there is no " + name + " on the bus");
        }
    } catch (const TBusFailure& /*unreachable*/) {
        return Failure(EXIT_RUN_TIME, "the bus is gone");
    }
    return Failure(EXIT_RUN_TIME, error.empty() ? "no answer" : error);
}

TAnswer Perform(const TCall& call, const std::string& server, int timeoutSeconds) {
    TZeltoIpc::TMethodSettings settings{server, timeoutSeconds};
    const TClock::time_point start = TClock::now();
    std::string text = NO_TEXT;
    ForgetLoggedError();
    const int code = getZeltoIpcInstance()->CallMethod(call.method, call.body, text, settings);
    if (text != NO_TEXT) {
        const std::string reason = code == 0 ? "" : "refused by " + NameOf(server);
        return {code == 0 ? EXIT_DONE : EXIT_REFUSED, reason, true, code, text};
    }
    if (HasTimedOut(start, timeoutSeconds)) {
        return Failure(EXIT_TIME_OUT, "no answer within " + std::to_string(timeoutSeconds) + " s");
    }
    return ExplainSilence(server);
}

} // namespace

std::string ManagerIdentity() {
    return TZeltoDataMapper::GetInstance()->MapClientIdToStr(ZELTO_DISPATCHER);
}

TAnswer Call(const TGlobals& globals, const TCall& call) {
    const std::string server = call.server.empty() ? ManagerIdentity() : call.server;
    const TWaitNotice notice("waiting for " + NameOf(server) + ", at most " +
                             std::to_string(globals.timeoutSeconds) + " s");
    try {
        return Perform(call, server, globals.timeoutSeconds);
    } catch (const std::runtime_error& error) {
        return Failure(EXIT_RUN_TIME, error.what());
    }
}

int TakeIdentity(const TGlobals& globals, const std::string& otherwise) {
    static std::string taken;
    const std::string& identity = globals.identity.empty() ? otherwise : globals.identity;
    if (identity.empty() || identity == taken) {
        return EXIT_DONE;
    }
    TZeltoIpc* const ipc = getZeltoIpcInstance();
    try {
        ipc->Init(identity);
        if (taken.empty()) {
            ipc->Run(); // whoever has a name is called by it
        }
        taken = identity;
        return EXIT_DONE;
    } catch (const std::runtime_error& error) {
        PrintError("cannot be on the bus as " + identity + ": " + error.what());
        return IsDenial(error.what()) ? EXIT_DENIED : EXIT_RUN_TIME;
    }
}

} // namespace tool
