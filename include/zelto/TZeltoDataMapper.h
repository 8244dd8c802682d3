// The one place where the shared enumerations and their texts are converted into each other.
#ifndef ZELTO_DATA_MAPPER_H
#define ZELTO_DATA_MAPPER_H

#include "zelto/Export.h"
#include "zelto/ZeltoTypes.h"

#include <string>

// A stateless singleton. Every operation may be called from any thread, takes no lock and does not throw.
// Texts are compared exactly, case included. Returned texts are never null and live as long as the process.
class ZELTO_API TZeltoDataMapper {
public:
    // The one instance, created on the first call and destroyed at exit; the caller does not own it.
    static TZeltoDataMapper* GetInstance();

    // The order of virtual functions is binary interface.
    virtual ~TZeltoDataMapper();

    // PLT_EVENT_UNKNOWN for a text without a value.
    tZeltoPltEventType MapStrToPltEventType(const std::string& text) const;
    // CLIENT_STATE_UNKNOWN for a text without a value.
    tZeltoClientDeviceState MapStrToClientDeviceState(const std::string& text) const;
    // "" for a value without a text.
    const char* MapPltEventTypeToStr(tZeltoPltEventType type) const;
    // ZELTO_CLIENT_UNKNOWN for a text without a value.
    tZeltoClientId MapStrToClientId(const std::string& text) const;
    // "" for a value without a text, such as 5.
    const char* MapClientIdToStr(tZeltoClientId clientId) const;
    // Folds a platform return code into the common result code: 0 for PLT_SUCCESS, -1 for every other value.
    int MapRcPltToCmn(int returnCode) const;

private:
    TZeltoDataMapper();
    TZeltoDataMapper(const TZeltoDataMapper&) = delete;
    TZeltoDataMapper& operator=(const TZeltoDataMapper&) = delete;
};

#endif
