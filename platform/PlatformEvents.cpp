#include "platform/PlatformEvents.h"

#include "platform/PlatformLib.h"
#include "protocol/PlainWriter.h"
#include "protocol/RequestNames.h"
#include "utils/FixedText.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformLib.h"

#include <exception>

namespace zelto {

namespace {

// One odd host name must not keep the event from the applications: it is sent as null.
void WriteField(TPlainWriter& body, const char* key, std::string_view text) {
    if (!body.TextOrNull(key, text)) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"The %s of an event is not valid UTF-8\"", key);
    }
}

void WriteClientEvent(TPlainWriter& body, const tZeltoPltClientEvent& record) {
    WriteField(body, KEY_MAC_ADDRESS, ViewField(record.macAddress));
    WriteField(body, KEY_HOST_NAME, ViewField(record.hostName));
}

void WriteChangeEvent(TPlainWriter& body, const tZeltoPltDataModelEvent& record) {
    WriteField(body, KEY_DATA_MODEL_NAME, ViewField(record.name));
    WriteField(body, KEY_DATA_MODEL_VALUE, ViewField(record.value));
}

void SendRecord(const char* eventName, tZeltoPltEventType type, const void* record) {
    TPlainWriter body;
    if (type == PLT_EVENT_DATA_MODEL_CHANGED) {
        WriteChangeEvent(body, *static_cast<const tZeltoPltDataModelEvent*>(record));
    } else {
        WriteClientEvent(body, *static_cast<const tZeltoPltClientEvent*>(record));
    }
    platformIpc->SendEvent(eventName, body.Take());
}

} // namespace

void SendChangeEvent(const char* name, const std::string& value) {
    tZeltoPltDataModelEvent record;
    // A character cut in half would make the whole text unsendable.
    (void)CopyWholeCharacters(record.name, name);
    (void)CopyWholeCharacters(record.value, value.c_str());
    zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, &record);
}

} // namespace zelto

void zeltoPlatformLibSendEvent(tZeltoPltEventType type, const void* record) {
    const char* const eventName = zelto::platformMapper->MapPltEventTypeToStr(type);
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"[%s] Received event %s\n\"", __func__, eventName);
    const bool known = type >= PLT_EVENT_CLIENT_CONNECTED && type <= PLT_EVENT_DATA_MODEL_CHANGED;
    if (!known || record == nullptr) {
        return;
    }
    // The callers are C programs, so no exception leaves.
    try {
        zelto::SendRecord(eventName, type, record);
    } catch (const std::exception& error) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"%s\"", error.what());
    }
}
