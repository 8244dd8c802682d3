// Ends itself from an event callback of the process-wide transport; with an argument, after giving that
// another identity.

#include "bus/Party.h"

#include <chrono>
#include <cstdlib>
#include <thread>

int main(int argc, char**) {
    TZeltoIpc* const ipc = getZeltoIpcInstance();
    party::TListener listener([ipc, argc](const std::string& name, const std::string&) {
        if (name == "END") {
            if (argc > 1) {
                ipc->Init("RENAMED");
                ipc->SendEvent("RENAMED", ""); // wakes the new threads, too
            }
            std::exit(5);
        }
    });
    ipc->Configure({2, 10, false});
    ipc->AddEventLstener("", &listener);
    ipc->Init("EXITING");
    ipc->Run();
    ipc->SendEvent("END", "");
    std::this_thread::sleep_for(std::chrono::seconds(10));
    return 1;
}
