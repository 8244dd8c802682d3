// Does once what a party can do, and gives everything back: run under a memory checker.

#include "zelto/TZeltoDBus.h"

#include <memory>
#include <stdexcept>

namespace {

class TEcho : public IZeltoIpcMethodHandler {
public:
    int OnMethodCall(const std::string& /*method*/, const std::string& request,
                     std::string& result) override {
        result = request;
        return 0;
    }
};

class TSilent : public IZeltoIpcEventListener {
public:
    void OnEvent(const std::string& /*eventName*/, const std::string& /*eventData*/) override {}
};

bool IsRefused(TZeltoIpc& party, const std::string& identity) {
    try {
        party.Init(identity);
    } catch (const std::runtime_error&) {
        return true;
    }
    return false;
}

bool ServeAndCall() {
    TEcho echo;
    TSilent silent;
    const std::unique_ptr<TZeltoIpc> server(newZeltoIpcInstance());
    const std::unique_ptr<TZeltoIpc> caller(newZeltoIpcInstance());
    server->Configure({2, 10, false});
    server->AddMethodHandler("ECHO", &echo);
    server->AddEventLstener("", &silent);
    server->Init("SERVER");
    server->Run();
    caller->SetMethodServerId("*", "SERVER");
    std::string result;
    bool isWell = caller->CallMethod("ECHO", "request", result) == 0 && result == "request";
    TZeltoIpc::TMethodSettings noTime{"SERVER", 0};
    (void)caller->CallMethod("ECHO", "late", result, noTime); // its answer comes when nobody waits
    caller->SendEvent("EVENT", "data");
    isWell = IsRefused(*server, "FORBIDDEN") && IsRefused(*server, "A-B") && isWell;
    server->Init("RENAMED");
    server->Stop();
    server->Run();
    TZeltoIpc::TMethodSettings renamed{"RENAMED", 10};
    return caller->CallMethod("ECHO", "again", result, renamed) == 0 && result == "again" && isWell;
}

bool Watch() {
    const std::unique_ptr<TZeltoIpc> watcher(newZeltoIpcInstance());
    watcher->Configure({1, 10, true});
    watcher->Init("WATCHER");
    watcher->Run();
    watcher->Run();
    watcher->Init("OTHER_WATCHER");
    return true;
}

} // namespace

int main() {
    const bool isWell = ServeAndCall() && Watch();
    dbus_shutdown();
    return isWell ? 0 : 1;
}
