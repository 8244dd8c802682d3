/*
 * Enumerations and sizes that both sides of the library share. Valid C99 and C++11.
 *
 * The numbers are part of the binary interface. The texts that stand for them on the bus and in log lines
 * come from TZeltoDataMapper (TZeltoDataMapper.h).
 */
#ifndef ZELTO_TYPES_H
#define ZELTO_TYPES_H

#include "zelto/Export.h"

/* Size in bytes of every fixed text field in a record: up to 255 characters and a terminating NUL. */
#define ZELTO_TEXT_SIZE 256

/*
 * Parties that the system knows by number. The text of an identifier ("ZELTO_KESTA") is the party's identity
 * on the bus. The number 5 is unassigned: no text maps to it and it maps to the empty text.
 */
typedef ZELTO_ENUM(tZeltoClientId){
    ZELTO_MANAGER = 0,          ZELTO_KESTA = 1,       ZELTO_LUMEN = 2,
    ZELTO_SPEEDTEST = 3,        ZELTO_DISPATCHER = 4,  ZELTO_APP_SIMULATOR = 6,
    ZELTO_SOFTWARE_UPDATER = 7, ZELTO_ORVAN_AGENT = 8, ZELTO_LOGGING_MANAGER = 9,
    ZELTO_TIRSA = 10,           ZELTO_TOPOLOGY = 11,   ZELTO_REMOTE = 12,
    ZELTO_CLIENT_UNKNOWN = 13, /* what an unknown text maps to */
} tZeltoClientId;

/* Events that the platform side sends. The text of a type is the event's name on the bus. */
typedef ZELTO_ENUM(tZeltoPltEventType){
    PLT_EVENT_CLIENT_CONNECTED = 0,
    PLT_EVENT_CLIENT_RECONNECTED = 1,
    PLT_EVENT_CLIENT_DISCONNECTED = 2,
    PLT_EVENT_CLIENT_UNAUTH_ATTEMPT = 3,
    PLT_EVENT_CLIENT_BLOCKED_ATTEMPT = 4,
    PLT_EVENT_DATA_MODEL_CHANGED = 5,
    PLT_EVENT_UNKNOWN = 6, /* what an unknown text maps to */
} tZeltoPltEventType;

/* State of a client device of the gateway. The values equal those of the client events above. */
typedef ZELTO_ENUM(tZeltoClientDeviceState){
    CLIENT_CONNECTED = 0,       CLIENT_RECONNECTED = 1,   CLIENT_DISCONNECTED = 2, CLIENT_UNAUTH_ATTEMPT = 3,
    CLIENT_BLOCKED_ATTEMPT = 4, CLIENT_STATE_UNKNOWN = 5, /* what an unknown text maps to */
} tZeltoClientDeviceState;

/*
 * What a platform handler returns. Only PLT_SUCCESS means success. The library logs the others by name and
 * answers the application with -1: no finer distinction reaches it. Any other value is logged as
 * "PLT_UNKNOWN".
 */
typedef ZELTO_ENUM(tZeltoPltReturnCode){
    PLT_SUCCESS = 0,
    PLT_FAILURE = 1,
    PLT_INTERNAL_ERROR = 2,
    PLT_INVALID_ARGUMENT = 3,
    PLT_INVALID_PARAM_NAME = 4,
    PLT_INVALID_PARAM_VALUE = 5,
    PLT_NONWRITABLE = 6,
    PLT_NOT_FOUND = 7,
    PLT_NOT_SUPPORTED = 8,
    PLT_RESOURCES_EXCEEDED = 9,
    PLT_RETRY_REQUEST = 10,
    PLT_TIMEOUT = 11,
} tZeltoPltReturnCode;

#endif
