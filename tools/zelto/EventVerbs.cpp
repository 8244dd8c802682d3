// watch.

#include "ExitCodes.h"
#include "Output.h"
#include "Verbs.h"

#include "zelto/TZeltoIpc.h"
#include "zelto/TZeltoJsonObject.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace tool {

namespace {

// The time in UTC with milliseconds.
std::string TimeText() {
    timespec now = {};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    tm parts = {};
    (void)gmtime_r(&now.tv_sec, &parts);
    char text[64];
    size_t length = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    (void)std::snprintf(text + length, sizeof(text) - length, ".%03ldZ", now.tv_nsec / 1000000);
    return text;
}

std::string Member(const TZeltoJsonObject& body, const char* key) {
    return body.GetJsonValue<std::string>(body.GetJsonObject(key, static_cast<unsigned>(-1)), "");
}

// What an event says, in the form of `get` where it is about a parameter.
std::string Describe(const std::string& eventData) {
    TZeltoJsonObject body;
    body.DecodeFromString(eventData);
    if (body.HasProperty("DATA_MODEL_NAME")) {
        return Member(body, "DATA_MODEL_NAME") + "=" + Member(body, "DATA_MODEL_VALUE");
    }
    if (body.HasProperty("MAC_ADDRESS")) {
        return Member(body, "MAC_ADDRESS") + " " + Member(body, "HOST_NAME");
    }
    return eventData;
}

// Events of the connection itself, which nobody sent.
bool IsOfConnection(const std::string& eventName) {
    return eventName == "NameAcquired" || eventName == "NameLost" || eventName == "Disconnected";
}

class TEventPrinter : public IZeltoIpcEventListener {
public:
    void OnEvent(const std::string& eventName, const std::string& eventData) override {
        if (IsOfConnection(eventName) || failed) {
            return;
        }
        if (!PrintLine(TimeText() + " " + Escape(eventName + " " + Describe(eventData)))) {
            failed = true;
            (void)kill(getpid(), SIGTERM); // ends the wait below
        }
    }
    bool HasFailed() const { return failed; }

private:
    std::atomic<bool> failed{false};
};

sigset_t StopSignals() {
    sigset_t signals;
    (void)sigemptyset(&signals);
    (void)sigaddset(&signals, SIGINT);
    (void)sigaddset(&signals, SIGTERM);
    return signals;
}

int RunWatch() {
    sigset_t signals = StopSignals();
    (void)pthread_sigmask(SIG_BLOCK, &signals, nullptr); // before the library starts its threads
    TZeltoIpc* ipc = getZeltoIpcInstance();
    TEventPrinter printer;
    ipc->AddEventLstener("", &printer);
    int signalNumber = 0;
    try {
        // Only a party with a name is connected for good; one of its own keeps it out of the others' way.
        ipc->Init("ZELTO_CLI_" + std::to_string(getpid()));
        ipc->Run();
        (void)sigwait(&signals, &signalNumber);
        ipc->Stop();
        ipc->RemoveEventLstener(&printer);
    } catch (const std::runtime_error& error) {
        ipc->RemoveEventLstener(&printer);
        PrintError(std::string("watch: ") + error.what());
        return EXIT_RUN_TIME;
    }
    if (printer.HasFailed()) {
        PrintError("watch: cannot write to standard output");
        return EXIT_RUN_TIME;
    }
    return EXIT_SIGNAL_BASE + signalNumber;
}

} // namespace

void AddEventVerbs(CLI::App& app, TContext& context) {
    CLI::App* watch = app.add_subcommand("watch", "Print the events of the system as they come");
    watch->callback([&context] { context.run = RunWatch; });
}

} // namespace tool
