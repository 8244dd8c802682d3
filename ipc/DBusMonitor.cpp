#include "ipc/DBusNames.h"
#include "ipc/DBusPrivate.h"
#include "utils/Log.h"

#include <cstring>

using namespace zelto;

void TZeltoDBus::BecomeMonitor() {
    const auto link = own->GetLinkFor(true);
    if (!link) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"Not connected!\"");
        return;
    }
    // Nothing may be sent on a monitor.
    if (!link->isMonitor) {
        RequestMonitoring(*link);
    }
}

void TZeltoDBus::MonitorHandler(DBusMessage* message) {
    const char* const member = dbus_message_get_member(message);
    if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_SIGNAL || member == nullptr) {
        return;
    }
    std::string name;
    int32_t code = -1;
    GetMessageValue(message, name, &code);
    if (name.compare(0, BUS_NAME_PREFIX_LENGTH, BUS_NAME_PREFIX) != 0) {
        return;
    }
    const std::string appName = name.substr(BUS_NAME_PREFIX_LENGTH);
    if (std::strcmp(member, "NameAcquired") == 0) {
        OnEvent(ON_APP_CONNECTED_EVENT, appName);
    } else if (std::strcmp(member, "NameLost") == 0) {
        OnEvent(ON_APP_DISCONNECTED_EVENT, appName);
    }
}
