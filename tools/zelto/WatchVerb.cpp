// watch.

#include "Bodies.h"
#include "ExitCodes.h"
#include "Output.h"
#include "Requests.h"
#include "Signals.h"
#include "Times.h"
#include "Verbs.h"

#include "zelto/TZeltoIpc.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <mutex>

#include <fnmatch.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr int NO_LIMIT = 0;
constexpr int LONGEST_WATCH = INT_MAX / 1000;

struct TWatchOptions {
    std::vector<std::string> patterns;
    int count = NO_LIMIT;
    int seconds = NO_LIMIT;
};

// What an event says, in the form of `get` where it is about a parameter.
std::string Describe(const TZeltoJsonObject& body, const std::string& eventData) {
    if (body.HasProperty("DATA_MODEL_NAME")) {
        return GetText(body, "DATA_MODEL_NAME") + "=" + GetText(body, "DATA_MODEL_VALUE");
    }
    if (body.HasProperty("MAC_ADDRESS")) {
        return GetText(body, "MAC_ADDRESS") + " " + GetText(body, "HOST_NAME");
    }
    return eventData;
}

TZeltoJsonObject EventRecord(const std::string& time, const std::string& eventName,
                             const std::string& eventData, const TZeltoJsonObject& body) {
    TZeltoJsonObject record;
    SetText(record, "TIME", time);
    SetText(record, "EVENT", eventName);
    if (body.GetProperties().empty()) {
        SetText(record, "DATA", eventData);
    }
    for (const std::string& key : body.GetProperties()) {
        (void)record.SetJsonObject(key, record.ToJson(body.GetObject(key)));
    }
    return record;
}

// Events of the connection itself, which nobody sent.
bool IsOfConnection(const std::string& eventName) {
    return eventName == "NameAcquired" || eventName == "NameLost" || eventName == "Disconnected";
}

bool Matches(const std::vector<std::string>& patterns, const std::string& text) {
    return std::any_of(patterns.begin(), patterns.end(), [&text](const std::string& pattern) {
        return fnmatch(pattern.c_str(), text.c_str(), FNM_NOESCAPE) == 0;
    });
}

// Prints events until it has printed enough of them, or cannot print.
class TEventPrinter : public IZeltoIpcEventListener {
public:
    TEventPrinter(const TGlobals& globals, const TWatchOptions& watchOptions, TStopSignal& watchStop)
        : options(watchOptions), stop(watchStop), output(globals, "EVENTS") {}

    void OnEvent(const std::string& eventName, const std::string& eventData) override {
        const TZeltoJsonObject body = Decode(eventData);
        const std::lock_guard<std::mutex> lock(mutex);
        if (isOver || IsOfConnection(eventName) || !IsWanted(eventName, body)) {
            return;
        }
        const std::string time = UtcTime();
        const bool isWritten = output.Add(time + " " + eventName + " " + Describe(body, eventData),
                                          EventRecord(time, eventName, eventData, body));
        ++printedCount;
        isOver = !isWritten || printedCount == options.count;
        if (isOver) {
            stop.End();
        }
    }

    bool IsOver() {
        const std::lock_guard<std::mutex> lock(mutex);
        return isOver;
    }

    int Finish(int code) {
        const std::lock_guard<std::mutex> lock(mutex);
        isOver = true;
        return output.Finish(code);
    }

private:
    bool IsWanted(const std::string& eventName, const TZeltoJsonObject& body) const {
        return options.patterns.empty() || Matches(options.patterns, eventName) ||
               Matches(options.patterns, GetText(body, "DATA_MODEL_NAME"));
    }

    const TWatchOptions options;
    TStopSignal& stop; // where the end of the wait is asked for
    std::mutex mutex;
    TOutput output;
    int printedCount = 0;
    bool isOver = false;
};

// Listens while it lives.
class TListening {
public:
    explicit TListening(IZeltoIpcEventListener& eventListener) : listener(eventListener) {
        getZeltoIpcInstance()->AddEventLstener("", &listener);
    }
    ~TListening() { getZeltoIpcInstance()->RemoveEventLstener(&listener); }
    TListening(const TListening&) = delete;
    TListening& operator=(const TListening&) = delete;

private:
    IZeltoIpcEventListener& listener;
};

int WaitForEnd(const TWatchOptions& options, const TStopSignal& stop, TEventPrinter& printer) {
    const bool isStopped = stop.WaitFor(options.seconds == NO_LIMIT ? -1 : options.seconds * 1000);
    if (printer.IsOver()) {
        return EXIT_DONE;
    }
    if (isStopped) {
        return stop.ExitCode();
    }
    return options.count == NO_LIMIT ? EXIT_DONE : EXIT_TIME_OUT;
}

int RunWatch(const TGlobals& globals, const TWatchOptions& options) {
    TStopSignal stop;
    TEventPrinter printer(globals, options, stop);
    const TListening listening(printer);
    // Only a party with a name is connected for good; one of its own keeps it out of the others' way.
    const int code = TakeIdentity(globals, "ZELTO_CLI_" + std::to_string(getpid()));
    if (code != EXIT_DONE) {
        return code;
    }
    const int endCode = WaitForEnd(options, stop, printer);
    if (endCode == EXIT_TIME_OUT) {
        PrintError("watch: fewer events than " + std::to_string(options.count) + " within " +
                   std::to_string(options.seconds) + " s");
    }
    return printer.Finish(endCode);
}

} // namespace

void AddWatchVerb(TVerb app, TContext& context) {
    auto options = std::make_shared<TWatchOptions>();
    TVerb watch = app.AddVerb("watch", "Print the events of the system as they come");
    watch.AddOption("PATTERN", options->patterns,
                    "Events to print, by their names or those of the parameters that they are about; \"*\" "
                    "stands for any text");
    watch.AddOption("-n,--count", options->count, "End after so many events").CheckRange(1, INT_MAX);
    watch.AddOption("--for", options->seconds, "End after so many seconds").CheckRange(1, LONGEST_WATCH);
    watch.OnChosen([&context, options] {
        context.takesIdentity = false; // not before it listens
        context.run = [&context, options] { return RunWatch(context.globals, *options); };
    });
}

} // namespace tool
