#include "ipc/PartyThreads.h"
#include "ipc/Timeouts.h"
#include "utils/Log.h"
#include "zelto/TZeltoIpc.h"

using namespace zelto;

const std::string TZeltoIpc::ON_APP_CONNECTED_EVENT = "APP_CONNECTED";
const std::string TZeltoIpc::ON_APP_DISCONNECTED_EVENT = "APP_DISCONNECTED";

IZeltoIpcEventListener::~IZeltoIpcEventListener() = default;
IZeltoIpcMethodHandler::~IZeltoIpcMethodHandler() = default;

TZeltoIpc::TZeltoIpc() : running(false), monitor(false), methodTimeoutMs(60000), threadCount(1) {}

TZeltoIpc::~TZeltoIpc() {
    // Without threads the guard is not needed. It may be held for ever in a child that was forked off.
    if (!threads.empty()) {
        TZeltoIpc::Stop();
    }
}

void TZeltoIpc::OnEvent(const std::string& eventName, const std::string& eventData) {
    qvLogging_log(LOG_LEVEL_DEBUG, "\"'%s' - '%s'\"", eventName.c_str(), eventData.c_str());
    const TZeltoScopedLock lock(listenerLock);
    // A listener may remove itself or others: the next one is found by its address, not by an iterator.
    auto next = listeners.begin();
    while (next != listeners.end()) {
        IZeltoIpcEventListener* const listener = *next;
        listener->OnEvent(eventName, eventData);
        next = listeners.upper_bound(listener);
    }
}

void TZeltoIpc::Init(const std::string& localIdentity) {
    identity = localIdentity;
}

void TZeltoIpc::Run() {
    running = true;
    StartThreads(threads, threadCount, [this] { MainLoop(); });
}

// Every listener gets every event: existing users rely on it and select by themselves.
void TZeltoIpc::AddEventLstener(const std::string& /*eventName*/, IZeltoIpcEventListener* listener) {
    const TZeltoScopedLock lock(listenerLock);
    listeners.insert(listener);
}

void TZeltoIpc::RemoveEventLstener(IZeltoIpcEventListener* listener) {
    const TZeltoScopedLock lock(listenerLock);
    listeners.erase(listener);
}

void TZeltoIpc::AddMethodHandler(const std::string& method, IZeltoIpcMethodHandler* handler) {
    const TZeltoScopedLock lock(handlerLock);
    methodHandlers[method] = handler;
}

void TZeltoIpc::RemoveMethodHandler(const std::string& method) {
    const TZeltoScopedLock lock(handlerLock);
    methodHandlers.erase(method);
}

int TZeltoIpc::OnMethodCall(const std::string& method, const std::string& request, std::string& result) {
    const TZeltoScopedLock lock(handlerLock);
    const auto entry = methodHandlers.find(method);
    if (entry == methodHandlers.end()) {
        return -1;
    }
    return entry->second->OnMethodCall(method, request, result);
}

void TZeltoIpc::Stop() {
    running = false;
    std::vector<std::thread> stopped = TakeThreads(threads);
    JoinOrLeave(stopped);
}

void TZeltoIpc::Configure(const TZeltoIpcSettings& settings) {
    methodTimeoutMs = SecondsToMilliseconds(settings.methodTimeout);
    threadCount = settings.threadCount;
    monitor = settings.monitor;
}

void TZeltoIpc::GetSettings(TZeltoIpcSettings& settings) const {
    settings.threadCount = threadCount;
    settings.methodTimeout = methodTimeoutMs / 1000;
    settings.monitor = monitor;
}

int TZeltoIpc::GetEventListenersNumber() const {
    const TZeltoScopedLock lock(listenerLock);
    return static_cast<int>(listeners.size());
}

void TZeltoIpc::GetMethodServerId(const std::string& method, std::string& serverId) const {
    // Callers preset their own default and rely on it as long as nothing is configured at all.
    if (serverIds.empty()) {
        return;
    }
    auto entry = serverIds.find(method);
    if (entry == serverIds.end()) {
        entry = serverIds.find("*");
    }
    serverId = entry == serverIds.end() ? std::string() : entry->second;
}

void TZeltoIpc::SetMethodServerId(const std::string& method, const std::string& serverId) {
    serverIds[method] = serverId;
}
