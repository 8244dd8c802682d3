#include "ScriptedIpc.h"

namespace fuzz {

void TScriptedIpc::SendEvent(const std::string& eventName, const std::string& eventData) {
    events.push_back({eventName, eventData});
}

int TScriptedIpc::CallMethod(const std::string& /*method*/, const std::string& sent, std::string& result) {
    request = sent;
    result = answer;
    return code;
}

int TScriptedIpc::CallMethod(const std::string& method, const std::string& sent, std::string& result,
                             TMethodSettings& /*settings*/) {
    return CallMethod(method, sent, result);
}

TScriptedIpc& Ipc() {
    static TScriptedIpc instance;
    return instance;
}

} // namespace fuzz

TZeltoIpc* getZeltoIpcInstance() {
    return &fuzz::Ipc();
}
