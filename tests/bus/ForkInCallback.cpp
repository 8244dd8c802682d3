// Forks in a callback, which is called with the locks of all that lies between it and the bus held, and waits
// for the child. Exit code 0 when the child can leave by exit. The argument says which callback: "event" of
// the C interface, "method" or "listener" of the transport alone, without an application.

#include "bus/Party.h"

#include "zelto/ZeltoAppLib.h"

#include <cstdlib>
#include <future>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace {

// These live as long as the process: callbacks still run at its exit.

std::promise<int>& childStatus = *new std::promise<int>;

void ForkAndWait();

auto* const handler = new party::THandler([](const std::string&, std::string&) {
    ForkAndWait();
    return 0;
});

auto* const listener = new party::TListener([](const std::string& name, const std::string&) {
    if (name == "FORK") {
        ForkAndWait();
    }
});

void ForkAndWait() {
    const pid_t child = fork();
    if (child == 0) {
        (void)alarm(10); // it must not hang for ever
        std::exit(0);
    }
    int status = -1;
    (void)waitpid(child, &status, 0);
    childStatus.set_value(status);
}

void ForkInACallbackOfTheCInterface() {
    zeltoAppLibInitWithString("FORKING");
    zeltoAppLibSubscribe(nullptr, [](const char*, const char*) { ForkAndWait(); });
    getZeltoIpcInstance()->SendEvent("DATA_MODEL_CHANGED",
                                     R"({"DATA_MODEL_NAME": "A", "DATA_MODEL_VALUE": "B"})");
}

void ForkInAMethodHandler() {
    getZeltoIpcInstance()->AddMethodHandler("FORK", handler);
    getZeltoIpcInstance()->Init("FORKING");
    getZeltoIpcInstance()->Run();
    std::string result;
    TZeltoIpc::TMethodSettings settings{"FORKING", 30};
    (void)party::MakeParty()->CallMethod("FORK", "", result, settings);
}

void ForkInAListener() {
    getZeltoIpcInstance()->AddEventLstener("", listener);
    getZeltoIpcInstance()->Init("FORKING");
    getZeltoIpcInstance()->Run();
    getZeltoIpcInstance()->SendEvent("FORK", "");
}

} // namespace

// What the child's thread holds, it holds on a stack of the parent.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "detect_leaks=0";
}

int main(int /*argc*/, char** argv) {
    const std::string callback = argv[1];
    if (callback == "event") {
        ForkInACallbackOfTheCInterface();
    } else if (callback == "method") {
        ForkInAMethodHandler();
    } else {
        ForkInAListener();
    }
    return childStatus.get_future().get() == 0 ? 0 : 1;
}
