// Ends itself from an event callback of the process-wide transport.

#include "bus/Party.h"

#include <chrono>
#include <cstdlib>
#include <thread>

int main() {
    TZeltoIpc* const ipc = getZeltoIpcInstance();
    party::TListener listener([](const std::string& name, const std::string&) {
        if (name == "END") {
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
