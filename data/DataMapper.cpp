#include "zelto/TZeltoDataMapper.h"

#include <cstddef>

namespace {

// Indexed by the number that stands for the text.
constexpr const char* EVENT_TYPE_TEXTS[] = {
    "CLIENT_CONNECTED",      "CLIENT_RECONNECTED",     "CLIENT_DISCONNECTED",
    "CLIENT_UNAUTH_ATTEMPT", "CLIENT_BLOCKED_ATTEMPT", "DATA_MODEL_CHANGED",
};

constexpr const char* DEVICE_STATE_TEXTS[] = {
    "CLIENT_CONNECTED",      "CLIENT_RECONNECTED",     "CLIENT_DISCONNECTED",
    "CLIENT_UNAUTH_ATTEMPT", "CLIENT_BLOCKED_ATTEMPT",
};

constexpr const char* CLIENT_ID_TEXTS[] = {
    "ZELTO_MANAGER",
    "ZELTO_KESTA",
    "ZELTO_LUMEN",
    "ZELTO_SPEEDTEST",
    "ZELTO_DISPATCHER",
    nullptr, // unassigned: the numbers behind it are fixed
    "ZELTO_APP_SIMULATOR",
    "ZELTO_SOFTWARE_UPDATER",
    "ZELTO_ORVAN_AGENT",
    "ZELTO_LOGGING_MANAGER",
    "ZELTO_TIRSA",
    "ZELTO_TOPOLOGY",
    "ZELTO_REMOTE",
};

template <typename T, std::size_t Size>
T ValueOf(const char* const (&texts)[Size], const std::string& text, T unknown) {
    for (std::size_t value = 0; value < Size; ++value) {
        if (texts[value] != nullptr && text == texts[value]) {
            return static_cast<T>(value);
        }
    }
    return unknown;
}

template <std::size_t Size>
const char* TextOf(const char* const (&texts)[Size], int value) {
    const bool known = value >= 0 && static_cast<std::size_t>(value) < Size && texts[value] != nullptr;
    return known ? texts[value] : "";
}

} // namespace

TZeltoDataMapper::TZeltoDataMapper() = default;

TZeltoDataMapper::~TZeltoDataMapper() = default;

TZeltoDataMapper* TZeltoDataMapper::GetInstance() {
    static TZeltoDataMapper instance;
    return &instance;
}

tZeltoPltEventType TZeltoDataMapper::MapStrToPltEventType(const std::string& text) const {
    return ValueOf(EVENT_TYPE_TEXTS, text, PLT_EVENT_UNKNOWN);
}

tZeltoClientDeviceState TZeltoDataMapper::MapStrToClientDeviceState(const std::string& text) const {
    return ValueOf(DEVICE_STATE_TEXTS, text, CLIENT_STATE_UNKNOWN);
}

const char* TZeltoDataMapper::MapPltEventTypeToStr(tZeltoPltEventType type) const {
    return TextOf(EVENT_TYPE_TEXTS, type);
}

tZeltoClientId TZeltoDataMapper::MapStrToClientId(const std::string& text) const {
    return ValueOf(CLIENT_ID_TEXTS, text, ZELTO_CLIENT_UNKNOWN);
}

const char* TZeltoDataMapper::MapClientIdToStr(tZeltoClientId clientId) const {
    return TextOf(CLIENT_ID_TEXTS, clientId);
}

int TZeltoDataMapper::MapRcPltToCmn(int returnCode) const {
    return returnCode == PLT_SUCCESS ? 0 : -1;
}
