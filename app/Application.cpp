#include "app/IpcObserver.h"
#include "app/ObserverSet.h"
#include "app/RequestRunner.h"
#include "protocol/RequestNames.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoDataMapper.h"

#include <atomic>
#include <memory>

#include <unistd.h>

namespace {

// The process that has handed the application to the transport; 0 for none. A child that was forked off takes
// nothing back: it has no threads that could call observers, but maybe locks that those held.
std::atomic<pid_t> registeredBy{0};

// An application that does not answer within this many seconds counts as not active.
constexpr int32_t IS_APP_ACTIVE_TIMEOUT = 1;

// Serialises Initialize. Apart from the lock of the observer sets, which callbacks need while the transport
// waits for them.
TZeltoRecursiveMutex& InitializeLock() {
    static TZeltoRecursiveMutex mutex;
    return mutex;
}

} // namespace

TZeltoApplication& TZeltoApplication::GetInstance() {
    static TZeltoApplication instance;
    return instance;
}

TZeltoApplication::TZeltoApplication()
    : initialized(false),
      ipc(getZeltoIpcInstance()),
      ipcObserver(new TZeltoIpcObserver(this)),
      dataMapper(TZeltoDataMapper::GetInstance()) {}

TZeltoApplication::~TZeltoApplication() {
    // The transport outlives this object, and its dispatch threads may still run. A process that is no
    // application waits for none of them.
    if (registeredBy == getpid()) {
        ipc->RemoveEventLstener(ipcObserver);
        ipc->RemoveMethodHandler(zelto::IS_APP_ACTIVE_METHOD);
    }
    delete ipcObserver;
}

int TZeltoApplication::OnMethodCall(const std::string& method, const std::string& /*input*/,
                                    std::string& /*output*/) {
    return method == zelto::IS_APP_ACTIVE_METHOD ? 0 : -1;
}

void TZeltoApplication::Initialize(const std::string& busName) {
    const TZeltoScopedLock lock(InitializeLock());
    if (initialized) {
        return;
    }
    (void)zelto::Guarded([&] {
        ipc->Init(busName);
        ipc->SetMethodServerId("*", dataMapper->MapClientIdToStr(ZELTO_DISPATCHER));
        registeredBy = getpid();
        ipc->AddEventLstener("", ipcObserver);
        ipc->AddMethodHandler(zelto::IS_APP_ACTIVE_METHOD, this);
        ipc->Run();
        initialized = true;
        return 0;
    });
}

void TZeltoApplication::Initialize(tZeltoClientId clientId) {
    Initialize(std::string(dataMapper->MapClientIdToStr(clientId)));
}

int TZeltoApplication::IsAppActive(tZeltoClientId clientId, bool& isActive) {
    return zelto::Guarded([&] {
        TZeltoIpc::TMethodSettings settings{};
        settings.serverId = dataMapper->MapClientIdToStr(clientId);
        if (settings.serverId.empty()) {
            return -1;
        }
        settings.timeout = IS_APP_ACTIVE_TIMEOUT;
        std::string unread;
        const int result = ipc->CallMethod(zelto::IS_APP_ACTIVE_METHOD, "", unread, settings);
        const int rc = dataMapper->MapRcPltToCmn(result);
        isActive = rc == 0;
        return rc;
    });
}

void TZeltoApplication::AddCpeClientStateObserver(IZeltoCpeClientStateObserver* observer) {
    const TZeltoScopedLock lock(observersMutex);
    cpeClientStateObservers.insert(observer);
}

void TZeltoApplication::RemoveCpeClientStateObserver(IZeltoCpeClientStateObserver* observer) {
    const TZeltoScopedLock lock(observersMutex);
    cpeClientStateObservers.erase(observer);
}

void TZeltoApplication::NotifyCpeClientStateObservers(
    IZeltoCpeClientStateObserver::TZeltoCpeClientState state, const std::string& macAddress,
    const std::string& hostName) {
    const TZeltoScopedLock lock(observersMutex);
    zelto::NotifyEach(cpeClientStateObservers, [&](IZeltoCpeClientStateObserver& observer) {
        observer.OnCpeClientStateChanged(state, macAddress, hostName);
    });
}

void TZeltoApplication::AddDataModelChangeObserver(IZeltoDataModelChangeObserver* observer) {
    const TZeltoScopedLock lock(observersMutex);
    dataModelChangeObservers.insert(observer);
}

void TZeltoApplication::RemoveDataModelChangeObserver(IZeltoDataModelChangeObserver* observer) {
    const TZeltoScopedLock lock(observersMutex);
    dataModelChangeObservers.erase(observer);
}

void TZeltoApplication::NotifyDataModelChangeObservers(const std::string& name, const std::string& value) {
    const TZeltoScopedLock lock(observersMutex);
    zelto::NotifyEach(dataModelChangeObservers, [&](IZeltoDataModelChangeObserver& observer) {
        observer.OnDataModelChanged(name, value);
    });
}

void TZeltoApplication::AddAppStateChangeObserver(IZeltoAppStateObserver* observer) {
    const TZeltoScopedLock lock(observersMutex);
    appStateObservers.insert(observer);
}

void TZeltoApplication::RemoveAppStateChangeObserver(IZeltoAppStateObserver* observer) {
    const TZeltoScopedLock lock(observersMutex);
    appStateObservers.erase(observer);
}

void TZeltoApplication::NotifyAppStateChangeObservers(IZeltoAppStateObserver::TZeltoAppState state,
                                                      const std::string& appName) {
    const TZeltoScopedLock lock(observersMutex);
    zelto::NotifyEach(appStateObservers,
                      [&](IZeltoAppStateObserver& observer) { observer.OnAppStateChanged(state, appName); });
}
