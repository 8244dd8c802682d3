#include "app/CApiState.h"

#include "zelto/TZeltoDataMapper.h"
#include "zelto/ZeltoAppLib.h"
#include "zelto/ZeltoLocking.h"
#include "zelto/ZeltoObservers.h"

#include <atomic>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace {

// The order of these objects is the order in which they are made at load, and the reverse of the order in
// which they go at exit: the singletons outlive the listener that is registered with them.
TZeltoDataMapper* const dataMapper = TZeltoDataMapper::GetInstance();
TZeltoIpc* const ipc = getZeltoIpcInstance();
TZeltoApplication* const application = &TZeltoApplication::GetInstance();

// Held while a callback runs; recursive, so that a callback may change the subscription.
TZeltoRecursiveMutex subscriptionMutex;

// Hands events to the callbacks of the C program.
class TZeltoAppEventListener : public IZeltoCpeClientStateObserver, public IZeltoDataModelChangeObserver {
public:
    explicit TZeltoAppEventListener(TZeltoRecursiveMutex& sharedMutex) : mutex(&sharedMutex) {}
    TZeltoAppEventListener(const TZeltoAppEventListener&) = delete;
    TZeltoAppEventListener& operator=(const TZeltoAppEventListener&) = delete;

    // The order of virtual functions is binary interface.

    // The dispatch threads still run at exit: they must not meet a listener that is gone. In a child that was
    // forked off there are none, and maybe a lock that one of them held.
    ~TZeltoAppEventListener() override {
        if (attachedBy == getpid()) {
            Detach();
        }
    }

    void OnCpeClientStateChanged(TZeltoCpeClientState state, const std::string& macAddress,
                                 const std::string& hostName) override {
        const TZeltoScopedLock lock(*mutex);
        // A state that C programs have no name for reaches no callback.
        if (clientStateCallback != nullptr && state >= STATE_CONNECTED && state <= STATE_BLOCKED_ATTEMPT) {
            clientStateCallback(state, macAddress.c_str(), hostName.c_str());
        }
    }

    void OnDataModelChanged(const std::string& name, const std::string& value) override {
        const TZeltoScopedLock lock(*mutex);
        if (dataModelChangeCallback != nullptr) {
            dataModelChangeCallback(name.c_str(), value.c_str());
        }
    }

    void Attach() {
        attachedBy = getpid();
        application->AddCpeClientStateObserver(this);
        application->AddDataModelChangeObserver(this);
    }

    void Detach() {
        application->RemoveCpeClientStateObserver(this);
        application->RemoveDataModelChangeObserver(this);
    }

    void Subscribe(tZeltoCpeClientStateCallback onClientState,
                   tZeltoDataModelChangeCallback onDataModelChange) {
        const TZeltoScopedLock lock(*mutex);
        clientStateCallback = onClientState;
        dataModelChangeCallback = onDataModelChange;
    }

private:
    tZeltoCpeClientStateCallback clientStateCallback ZELTO_GUARDED_BY(*mutex) = nullptr;
    tZeltoDataModelChangeCallback dataModelChangeCallback ZELTO_GUARDED_BY(*mutex) = nullptr;
    TZeltoRecursiveMutex* const mutex;
    std::atomic<pid_t> attachedBy{0}; // the process; 0 for none
};

TZeltoAppEventListener eventListener(subscriptionMutex);

} // namespace

namespace zelto {

TZeltoIpc& CApiIpc() {
    return *ipc;
}

TZeltoApplication& CApiApplication() {
    return *application;
}

} // namespace zelto

void zeltoAppLibInitWithString(const char* clientName) {
    eventListener.Attach();
    if (clientName == nullptr) {
        // The text is contract; what the standard library says here differs from version to version.
        throw std::logic_error("basic_string::_M_construct null not valid");
    }
    application->Initialize(std::string(clientName));
}

void zeltoAppLibInit(tZeltoClientId clientId) {
    zeltoAppLibInitWithString(dataMapper->MapClientIdToStr(clientId));
}

void zeltoAppLibTerm(void) {
    eventListener.Detach();
}

void zeltoAppLibSubscribe(tZeltoCpeClientStateCallback onClientState,
                          tZeltoDataModelChangeCallback onDataModelChange) {
    eventListener.Subscribe(onClientState, onDataModelChange);
}

void zeltoAppLibUnsubscribe(void) {
    eventListener.Subscribe(nullptr, nullptr);
}
