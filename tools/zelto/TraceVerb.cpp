// trace.

#include "ExitCodes.h"
#include "Output.h"
#include "Signals.h"
#include "TraceReader.h"
#include "Verbs.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>

#include <poll.h>
#include <sys/resource.h>

namespace tool {

namespace {

using TClock = std::chrono::steady_clock;

constexpr int HIGH_PRIORITY = -15;

struct TTraceOptions {
    std::vector<std::string> patterns; // none for everything
    int count = 0;                     // lines until it ends; 0 for no end
    int seconds = 0;                   // until it ends; 0 for no end
    double slowMilliseconds = 100;
};

class TTrace {
public:
    TTrace(const TTraceOptions& given, TOutput& results)
        : options(given), output(results), end(TClock::now() + std::chrono::seconds(given.seconds)) {}

    // Until the end that the options say, a signal, or until nobody reads. Returns the exit code.
    int Run();

private:
    bool PrintWaiting();
    bool Print(DBusMessage* message);
    bool IsWanted(const TTraceEntry& entry) const;
    bool WaitForMore();
    int TimeoutMs() const;

    const TTraceOptions& options;
    TOutput& output;
    const TClock::time_point end;
    TStopSignal stop;
    TBus monitor;
    std::unique_ptr<TTracePeers> peers;
    std::unique_ptr<TTraceReader> reader;
    int printed = 0;
    int exitCode = EXIT_DONE;
};

int TTrace::Run() {
    // On a busy machine who a short command was is known only to those who ask at once. Others than root may
    // not.
    (void)setpriority(PRIO_PROCESS, 0, HIGH_PRIORITY);
    monitor.BecomeMonitor(TTraceReader::Rules());
    // Whoever comes while these are listed has been seen by the monitor already.
    peers = std::make_unique<TTracePeers>();
    reader = std::make_unique<TTraceReader>(*peers, options.slowMilliseconds);
    while (PrintWaiting() && WaitForMore()) {
    }
    return exitCode;
}

// False when it is enough.
bool TTrace::PrintWaiting() {
    while (TMessage message = monitor.Next(0)) {
        if (!Print(message.get())) {
            return false;
        }
    }
    peers->Collect();
    return true;
}

bool TTrace::Print(DBusMessage* message) {
    std::optional<TTraceEntry> entry = reader->Read(message);
    if (!entry || !IsWanted(*entry)) {
        return true;
    }
    ++printed;
    return output.Add(LineOf(*entry), RecordOf(*entry)) && printed != options.count;
}

bool TTrace::IsWanted(const TTraceEntry& entry) const {
    return options.patterns.empty() ||
           std::any_of(options.patterns.begin(), options.patterns.end(),
                       [&entry](const std::string& pattern) { return Matches(entry, pattern); });
}

int TTrace::TimeoutMs() const {
    if (options.seconds == 0) {
        return -1;
    }
    auto remaining = std::chrono::ceil<std::chrono::milliseconds>(end - TClock::now()).count();
    return remaining > 0 ? static_cast<int>(remaining) : 0;
}

bool TTrace::WaitForMore() {
    int watched = -1;
    (void)dbus_connection_get_unix_fd(monitor.Connection(), &watched); // poll passes over -1
    std::array<pollfd, 3> polled = {
        {{watched, POLLIN, 0}, {peers->Descriptor(), POLLIN, 0}, {stop.Fd(), POLLIN, 0}}};
    if (poll(polled.data(), polled.size(), TimeoutMs()) == 0) {
        exitCode = options.count == 0 ? EXIT_DONE : EXIT_TIME_OUT;
        return false;
    }
    exitCode = stop.ExitCode();
    return exitCode == EXIT_DONE;
}

int RunTrace(const TGlobals& globals, const TTraceOptions& options) {
    TOutput output(globals, "TRACE");
    try {
        TTrace trace(options, output);
        return output.Finish(trace.Run());
    } catch (const TBusFailure& failure) {
        PrintError(std::string("trace: ") + failure.what());
        return output.Finish(failure.ExitCode());
    }
}

} // namespace

void AddTraceVerb(TVerb app, TContext& context) {
    auto options = std::make_shared<TTraceOptions>();
    TVerb trace = app.AddVerb("trace", "Print the calls, replies and events of all parties");
    trace.AddOption("PATTERN", options->patterns,
                    "Only what is about such a path, method or event; \"*\" stands for any text");
    trace.AddOption("-n,--count", options->count, "End after so many lines").CheckRange(1, INT32_MAX);
    trace.AddOption("--for", options->seconds, "End after so many seconds").CheckRange(1, 86400);
    trace.AddOption("--slow", options->slowMilliseconds, "Mark replies that took so many milliseconds")
        .CheckNotNegative()
        .ShowDefault();
    trace.OnChosen([&context, options] {
        context.run = [&context, options] { return RunTrace(context.globals, *options); };
    });
}

} // namespace tool
