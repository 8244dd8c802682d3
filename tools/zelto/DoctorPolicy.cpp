// doctor: what the policy of the bus lets us do, and the manager.

#include "Doctor.h"
#include "ExitCodes.h"
#include "Parties.h"
#include "Requests.h"

#include <unistd.h>

namespace tool {

namespace {

constexpr const char* POLICY_ADVICE =
    "run as the manager's user or as a member of the group that com.Ulmet.Zelto.conf names, and have the bus "
    "read that file";

// The library lets itself be replaced; this must take nobody's name.
uint32_t RequestName(TBus& bus, const std::string& name) {
    TMessage call = NewBusCall(DBUS_INTERFACE_DBUS, "RequestName");
    Append(call.get(), name);
    Append(call.get(), uint32_t{DBUS_NAME_FLAG_DO_NOT_QUEUE});
    TMessage reply = bus.Call(call.get());
    return FirstNumber(reply.get());
}

} // namespace

TFinding CheckOwning(const TGlobals& globals, TBus& bus) {
    std::string identity =
        globals.identity.empty() ? "ZELTO_CLI_" + std::to_string(getpid()) : globals.identity;
    std::string name = NAME_PREFIX + identity;
    try {
        if (RequestName(bus, name) == DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
            (void)bus.Ask("ReleaseName", {name}); // the next thing that we do would be to leave it anyway
        }
    } catch (const TBusFailure& failure) {
        if (failure.ExitCode() != EXIT_DENIED) {
            throw;
        }
        return {"own", TFinding::BAD, "the policy does not let us own " + name, POLICY_ADVICE, EXIT_DENIED};
    }
    return {"own", TFinding::FINE, "the policy lets us own " + name};
}

// Only tracing needs it, so it is nothing bad for anybody else.
TFinding CheckMonitoring() {
    try {
        TBus monitor;
        monitor.BecomeMonitor({std::string("interface='") + INTERFACE + "'"});
    } catch (const TBusFailure& failure) {
        if (failure.ExitCode() != EXIT_DENIED) {
            throw;
        }
        return {"monitor", TFinding::WARNING, "the bus does not let us monitor",
                "trace as root or as the user of the bus"};
    }
    return {"monitor", TFinding::FINE, "the bus lets us monitor"};
}

TFinding CheckManagersOwner(TBus& bus) {
    try {
        TParty party = FindParty(bus, ManagerIdentity());
        return {"manager", TFinding::FINE,
                party.identity + " is process " + std::to_string(party.process) + " (" + party.processName +
                    ") of user " + party.user + " as " + party.uniqueName};
    } catch (const TBusFailure& failure) {
        if (failure.ExitCode() != EXIT_NO_OWNER) {
            throw;
        }
        return {"manager", TFinding::BAD, failure.what(),
                "start the manager; if it runs, its log tells why it does not get the name", EXIT_NO_OWNER};
    }
}

TFinding CheckAnswer(const TGlobals& globals) {
    TAnswer answer = Call(globals, {"GET_INDEX_MAP", ""});
    switch (answer.exitCode) {
    case EXIT_DONE:
        return {"call", TFinding::FINE, "the manager answers"};
    case EXIT_DENIED:
        return {"call", TFinding::BAD, "the policy does not let us call the manager", POLICY_ADVICE,
                EXIT_DENIED};
    case EXIT_NO_OWNER:
        return {"call", TFinding::UNKNOWN, answer.reason, "look again when there is one"};
    case EXIT_TIME_OUT:
        return {"call", TFinding::BAD, answer.reason,
                "a handler may hang: `zelto trace` shows the last call that has no reply", EXIT_TIME_OUT};
    default:
        return {"call", TFinding::BAD, answer.reason, "the log of the manager may tell more",
                answer.exitCode};
    }
}

} // namespace tool
