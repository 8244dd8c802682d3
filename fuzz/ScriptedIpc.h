// The transport object of a fuzz target: it needs no bus and no threads.
#ifndef ZELTO_FUZZ_SCRIPTED_IPC_H
#define ZELTO_FUZZ_SCRIPTED_IPC_H

#include "zelto/TZeltoIpc.h"

#include <string>
#include <vector>

namespace fuzz {

class TScriptedIpc : public TZeltoIpc {
public:
    struct TEvent {
        std::string name;
        std::string data;
    };

    void Run() override {}
    void SendEvent(const std::string& eventName, const std::string& eventData) override;
    int CallMethod(const std::string& method, const std::string& request, std::string& result) override;
    int CallMethod(const std::string& method, const std::string& request, std::string& result,
                   TMethodSettings& settings) override;

    // What the next calls answer with. Like the bus, it hands out the text whatever the code is.
    std::string answer;
    int code = 0;
    // What was sent.
    std::string request;
    std::vector<TEvent> events;

protected:
    void MainLoop() override {}
};

// The one that getZeltoIpcInstance() returns.
TScriptedIpc& Ipc();

} // namespace fuzz

#endif
