// apps, ping and wait.

#include "../Identity.h"
#include "ExitCodes.h"
#include "Output.h"
#include "Parties.h"
#include "Requests.h"
#include "Verbs.h"
#include "WaitNotice.h"

#include <chrono>
#include <cstdio>
#include <memory>

namespace tool {

namespace {

using TClock = std::chrono::steady_clock;

int RunApps(const TGlobals& globals) {
    TOutput output(globals, "APPS");
    try {
        TBus bus;
        for (const TParty& party : FindParties(bus)) {
            if (!output.Add(LineOf(party), RecordOf(party))) {
                break;
            }
        }
        return output.Finish(EXIT_DONE);
    } catch (const TBusFailure& failure) {
        PrintError(std::string("apps: ") + failure.what());
        return failure.ExitCode();
    }
}

// The manager refuses IS_APP_ACTIVE as it does everything that is not its business, but never this.
std::string ProbeOf(const std::string& identity) {
    return identity == ManagerIdentity() ? "GET_INDEX_MAP" : "IS_APP_ACTIVE";
}

int PrintPing(const TGlobals& globals, const std::string& identity, double milliseconds) {
    char duration[32];
    (void)std::snprintf(duration, sizeof(duration), "%.3f ms", milliseconds);
    TZeltoJsonObject record;
    (void)record.SetJsonObject("IDENTITY", record.ToJson(identity));
    (void)record.SetJsonObject("ACTIVE", record.ToJson(true));
    (void)record.SetJsonObject("MS", record.ToJson(milliseconds));
    TOutput output(globals, "");
    (void)output.Add(identity + " is active: " + duration, record); // Finish tells of a failure
    return output.Finish(EXIT_DONE);
}

int RunPing(const TGlobals& globals, const std::string& identity) {
    TClock::time_point start = TClock::now();
    TAnswer answer = Call(globals, {ProbeOf(identity), "", identity});
    std::chrono::duration<double, std::milli> duration = TClock::now() - start;
    if (answer.exitCode == EXIT_DONE) {
        return PrintPing(globals, identity, duration.count());
    }
    PrintError("ping " + identity + ": " + answer.reason);
    return answer.exitCode;
}

// Waits for the bus to tell that the name has an owner. The match comes before the question, so that nothing
// is missed in between.
void WaitForOwner(TBus& bus, const std::string& identity, int timeoutSeconds) {
    TClock::time_point end = TClock::now() + std::chrono::seconds(timeoutSeconds);
    std::string name = NAME_PREFIX + identity;
    bus.AddMatch("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" + name + "'");
    while (bus.OwnerOf(name).empty()) {
        auto remaining = std::chrono::ceil<std::chrono::milliseconds>(end - TClock::now()).count();
        if (remaining <= 0) {
            throw TBusFailure("not on the bus within " + std::to_string(timeoutSeconds) + " s",
                              EXIT_TIME_OUT);
        }
        (void)bus.Next(static_cast<int>(remaining)); // whatever came, the question is asked again
    }
}

int RunWait(const TGlobals& globals, const std::string& identity) {
    TWaitNotice notice("wait " + identity + ": at most " + std::to_string(globals.timeoutSeconds) + " s");
    try {
        TBus bus;
        WaitForOwner(bus, identity, globals.timeoutSeconds);
        TParty party = FindParty(bus, identity);
        TOutput output(globals, "");
        (void)output.Add(LineOf(party), RecordOf(party)); // Finish tells of a failure
        return output.Finish(EXIT_DONE);
    } catch (const TBusFailure& failure) {
        PrintError("wait " + identity + ": " + failure.what());
        return failure.ExitCode();
    }
}

void AddIdentityVerb(TVerb app, TContext& context, const char* name, const char* description,
                     int (*run)(const TGlobals&, const std::string&)) {
    auto identity = std::make_shared<std::string>();
    TVerb verb = app.AddVerb(name, description);
    verb.AddOption("ID", *identity, "Identity of a party").Require().Check(CheckIdentity);
    verb.OnChosen([&context, run, identity] {
        context.run = [&context, run, identity] { return run(context.globals, *identity); };
    });
}

} // namespace

void AddPartyVerbs(TVerb app, TContext& context) {
    TVerb apps = app.AddVerb("apps", "Print who is on the bus: identity, process id, user, unique "
                                     "name and program");
    apps.OnChosen([&context] { context.run = [&context] { return RunApps(context.globals); }; });
    AddIdentityVerb(app, context, "ping", "Ask a party whether it is active", RunPing);
    AddIdentityVerb(app, context, "wait", "Wait until a party is on the bus, at most for the time-out",
                    RunWait);
}

} // namespace tool
