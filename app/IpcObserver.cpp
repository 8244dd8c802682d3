#include "app/IpcObserver.h"

#include "protocol/MessageBody.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoDataMapper.h"

namespace {

using TClientState = IZeltoCpeClientStateObserver::TZeltoCpeClientState;

void NotifyClientState(TZeltoApplication& application, tZeltoPltEventType type, const std::string& payload) {
    const zelto::TMessageBody event(payload);
    application.NotifyCpeClientStateObservers(static_cast<TClientState>(type),
                                              std::string(event.Text(zelto::BODY_MAC_ADDRESS)),
                                              std::string(event.Text(zelto::BODY_HOST_NAME)));
}

void NotifyDataModelChange(TZeltoApplication& application, const std::string& payload) {
    const zelto::TMessageBody event(payload);
    application.NotifyDataModelChangeObservers(std::string(event.Text(zelto::BODY_DATA_MODEL_NAME)),
                                               std::string(event.Text(zelto::BODY_DATA_MODEL_VALUE)));
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
