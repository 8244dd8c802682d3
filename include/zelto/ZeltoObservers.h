// What an application implements to hear of events. Observers run on a dispatch thread with the lock of the
// observer sets held: once Remove... has returned, the observer is not called again. An observer must not
// wait for a thread that adds or removes observers. An exception that leaves an observer is logged by the
// transport, and keeps the event from the observers and listeners after this one. exit() on another thread
// waits for an observer, and so for the request that it is in: up to the time-out, one to a peer without a
// limit.
#ifndef ZELTO_OBSERVERS_H
#define ZELTO_OBSERVERS_H

#include "zelto/Export.h"

#include <string>

// Hears of client devices of the gateway.
class ZELTO_API IZeltoCpeClientStateObserver {
public:
    // The values equal those of the client events in tZeltoPltEventType.
    enum TZeltoCpeClientState : int {
        STATE_CONNECTED = 0,
        STATE_RECONNECTED = 1,
        STATE_DISCONNECTED = 2,
        STATE_UNAUTH_ATTEMPT = 3,
        STATE_BLOCKED_ATTEMPT = 4
    };

    // The order of virtual functions is binary interface.
    virtual ~IZeltoCpeClientStateObserver();
    // A text that the event does not carry is empty.
    virtual void OnCpeClientStateChanged(TZeltoCpeClientState state, const std::string& macAddress,
                                         const std::string& hostName) = 0;
};

// Hears of changed parameters.
class ZELTO_API IZeltoDataModelChangeObserver {
public:
    // The order of virtual functions is binary interface.
    virtual ~IZeltoDataModelChangeObserver();
    // `name` is in the platform's numbering; `value` is cut to 255 bytes.
    virtual void OnDataModelChanged(const std::string& name, const std::string& value) = 0;
};

// Hears of applications that come to the bus and leave it; needs a party in monitor mode.
class ZELTO_API IZeltoAppStateObserver {
public:
    enum TZeltoAppState : int { APP_CONNECTED = 0, APP_DISCONNECTED = 1 };

    // The order of virtual functions is binary interface.
    virtual ~IZeltoAppStateObserver();
    virtual void OnAppStateChanged(TZeltoAppState state, const std::string& appName) = 0;
};

#endif
