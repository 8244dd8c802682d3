#include "app/IpcObserver.h"

#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoDataMapper.h"
#include "zelto/TZeltoJsonObject.h"

namespace {

using TClientState = IZeltoCpeClientStateObserver::TZeltoCpeClientState;

void NotifyClientState(TZeltoApplication& application, tZeltoPltEventType type, const std::string& payload) {
    TZeltoJsonObject event;
    (void)event.DecodeFromString(payload); // what cannot be decoded has no keys
    application.NotifyCpeClientStateObservers(static_cast<TClientState>(type),
                                              zelto::TextIn(event, zelto::KEY_MAC_ADDRESS),
                                              zelto::TextIn(event, zelto::KEY_HOST_NAME));
}

void NotifyDataModelChange(TZeltoApplication& application, const std::string& payload) {
    TZeltoJsonObject event;
    (void)event.DecodeFromString(payload);
    application.NotifyDataModelChangeObservers(zelto::TextIn(event, zelto::KEY_DATA_MODEL_NAME),
                                               zelto::TextIn(event, zelto::KEY_DATA_MODEL_VALUE));
}

} // namespace

TZeltoIpcObserver::TZeltoIpcObserver(TZeltoApplication* notifiedApplication)
    : application(notifiedApplication) {}

TZeltoIpcObserver::~TZeltoIpcObserver() = default;

void TZeltoIpcObserver::OnEvent(const std::string& eventName, const std::string& payload) {
    // The data of a presence event is the other party's identity as it stands, not JSON.
    if (eventName == TZeltoIpc::ON_APP_CONNECTED_EVENT) {
        application->NotifyAppStateChangeObservers(IZeltoAppStateObserver::APP_CONNECTED, payload);
        return;
    }
    if (eventName == TZeltoIpc::ON_APP_DISCONNECTED_EVENT) {
        application->NotifyAppStateChangeObservers(IZeltoAppStateObserver::APP_DISCONNECTED, payload);
        return;
    }
    const tZeltoPltEventType type = TZeltoDataMapper::GetInstance()->MapStrToPltEventType(eventName);
    if (type == PLT_EVENT_DATA_MODEL_CHANGED) {
        NotifyDataModelChange(*application, payload);
    } else if (type != PLT_EVENT_UNKNOWN) {
        NotifyClientState(*application, type, payload);
    }
}
