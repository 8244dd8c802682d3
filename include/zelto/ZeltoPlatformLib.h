/*
 * The platform side: what the managing daemon calls and the records its handlers get. Valid C99 and C++11.
 *
 * The manager fills a table of handlers, one group for each data-model name, and hands it over once with
 * zeltoPlatformLibInit. From then on the library answers the applications' requests on threads of its own and
 * calls the handlers from there.
 */
#ifndef ZELTO_PLATFORM_LIB_H
#define ZELTO_PLATFORM_LIB_H

#include "zelto/Export.h"
#include "zelto/ZeltoTypes.h"

#include <stdbool.h>
#include <stdint.h>

/* The operation that a handler serves; also the number of its slot. */
typedef ZELTO_ENUM(tZeltoPltRequestType){
    PLT_REQUEST_GET_PARAM = 0,      PLT_REQUEST_SET_PARAM = 1,  PLT_REQUEST_GET_OBJECT = 2,
    PLT_REQUEST_SET_OBJECT = 3,     PLT_REQUEST_ADD_OBJECT = 4, PLT_REQUEST_DELETE_OBJECT = 5,
    PLT_REQUEST_GET_OBJECT_IDS = 6,
} tZeltoPltRequestType;

/* Number of handler slots of an entry. A pair with a type of this value or above is ignored. */
#define ZELTO_PLT_REQUEST_TYPES 7

/* Most instance numbers that a get-object-ids handler can report: what fits behind the count in `value`. */
#define ZELTO_MAX_OBJECT_IDS 63

/*
 * A handler. The argument points to a tZeltoPlatformObjectRequest for PLT_REQUEST_GET_OBJECT and
 * PLT_REQUEST_SET_OBJECT, and to a tZeltoPlatformRequest for every other type. The record and everything it
 * points to are valid only during the call. Returns a tZeltoPltReturnCode, PLT_SUCCESS for success.
 *
 * Handlers run on the library's dispatch threads, at most one at a time for requests from the bus, and on any
 * thread that calls a zeltoPlatLib operation directly; so they lock for themselves. A handler must not
 * request anything from its own party: nobody would answer until the handler has returned. An exception of a
 * C++ handler fails the request: it is logged and the application gets -1, or it passes on to the thread that
 * called the operation directly.
 */
typedef int32_t (*tZeltoPltHandler)(void* request);

typedef struct tZeltoPltHandlerSlot {
    tZeltoPltRequestType type;
    tZeltoPltHandler handler; /* null: this operation is not served */
} tZeltoPltHandlerSlot;

/* One entry of the manager's table. The texts must stay valid as long as the process runs. */
typedef struct tZeltoPltFunctionTable {
    const char* name;        /* key such as "Device.WiFi.SSID.{i}.SSID", or "*" when no key matches */
    int32_t userData;        /* copied into the descriptor; the library gives it no meaning */
    const char* handlerName; /* copied into every request record sent to this entry's handlers */
    bool paramChangeEvent;   /* send "DATA_MODEL_CHANGED" after a successful set */
    tZeltoPltHandlerSlot handlers[ZELTO_PLT_REQUEST_TYPES]; /* in any order */
} tZeltoPltFunctionTable;

/* What zeltoPlatformLibInit gets. It is only read, and only during the call. */
typedef struct tZeltoPlatformLibTable {
    const tZeltoPltFunctionTable* entries; /* null: no entries */
    int32_t count;                         /* number of entries */
    const char* indexMapPath;              /* index-map file; null: the built-in maps */
} tZeltoPlatformLibTable;

/* The handler that serves a request, filled by zeltoGetPlatformRequestDescr (ZeltoPlatformOps.h). */
typedef struct tZeltoPlatformRequestDescr {
    tZeltoPltHandler handler;
    int32_t userData;
    char name[ZELTO_TEXT_SIZE]; /* the entry's handlerName, always terminated */
    bool paramChangeEvent;
} tZeltoPlatformRequestDescr;

/* The record of every handler but those of whole objects. */
typedef struct tZeltoPlatformRequest {
    char name[ZELTO_TEXT_SIZE]; /* the entry's handlerName, always terminated */
    /*
     * The name, always terminated; a longer one is cut to at most 255 bytes, whole characters, with an error
     * line. Get and set: in platform numbering. Add, delete and get object ids: as it was given, for the ids
     * without its "@".
     */
    char paramName[ZELTO_TEXT_SIZE];
    int32_t indexCount; /* number of instance numbers in the name */
    int32_t* indices;   /* that many, outer first; null when there are none */
    /*
     * Set: the value when it is shorter than 256 characters, else empty.
     * Get: the handler may write a value of up to 255 characters and a NUL.
     * Add: the handler writes the new instance number, an int32_t, at the start.
     * Get object ids: the handler writes the count, an int32_t from 0 to 63, and then that many int32_t.
     */
    char value[ZELTO_TEXT_SIZE];
    /*
     * Set: the whole value, of any length; it belongs to the library. The handler may change it in place.
     * Get: the handler may store a text here that it allocated with malloc. It is used instead of `value`,
     * and the library frees it, also when the handler fails.
     */
    char* longValue;
    bool commit; /* set: the request's commit flag */
} tZeltoPlatformRequest;

/*
 * One parameter of an object request. Its texts are always terminated; longer ones are cut to at most 255
 * bytes, whole characters, and an error line tells of the first one of the request that is cut.
 */
typedef struct tZeltoPlatformObjectParam {
    char paramName[ZELTO_TEXT_SIZE]; /* the name in platform numbering */
    char value[ZELTO_TEXT_SIZE];     /* set: the value; get: empty, for the handler */
    int32_t indexCount;
    int32_t* indices; /* this name's instance numbers; null when there are none */
} tZeltoPlatformObjectParam;

/* The record of the get-object and set-object handlers. */
typedef struct tZeltoPlatformObjectRequest {
    char name[ZELTO_TEXT_SIZE];      /* the entry's handlerName, always terminated */
    char paramName[ZELTO_TEXT_SIZE]; /* the root in platform numbering, cut as other names */
    int32_t indexCount;
    int32_t* indices;   /* the root's instance numbers; null when there are none */
    int32_t paramCount; /* number of elements */
    tZeltoPlatformObjectParam* params;
} tZeltoPlatformObjectRequest;

/* Record of a client event (types 0 to 4). Both texts are terminated. */
typedef struct tZeltoPltClientEvent {
    char macAddress[18]; /* six groups of two hexadecimal digits, separated by ':' */
    char hostName[ZELTO_TEXT_SIZE];
} tZeltoPltClientEvent;

/* Record of PLT_EVENT_DATA_MODEL_CHANGED. Both texts are terminated. */
typedef struct tZeltoPltDataModelEvent {
    char name[ZELTO_TEXT_SIZE];
    char value[ZELTO_TEXT_SIZE];
} tZeltoPltDataModelEvent;

ZELTO_C_BEGIN

/*
 * Starts the platform side: keeps the handlers, loads the index-map file if there is one (a missing or bad
 * file leaves the built-in maps in force), takes the identity "ZELTO_DISPATCHER" on the bus, serves the
 * twelve request methods, and runs the shell command "zelto_manager_helper.sh", waiting for it.
 *
 * May be called again, by one thread at a time, handlers included, while requests are served: it adds its
 * entries to those there and repeats the other steps. A later entry of the same name replaces the earlier one
 * whole. Requests from the bus that arrive meanwhile wait and are answered. It waits for a handler in
 * progress, so no lock may be held that a handler takes; a call to another party which that handler has under
 * way ends with -1. Functions of this library that look up names (zeltoPlatLib..., the dispatcher, those of
 * ZeltoPlatformNames.h) must not run on other threads of the manager meanwhile. When a handler calls it, the
 * script must not ask this manager: nobody answers until the handler returns, which waits for the script.
 *
 * Failures (no bus, for example) are logged and not reported; never throws for them. After a first call that
 * failed, another one starts the platform side. A later call that fails leaves the party serving as before,
 * but for want of threads, or of memory to start them: then nobody serves until the next call. Its entries
 * and its index maps are in force in either case. `table` must not be null.
 *
 * It takes as long as the script, without a limit. A bus that does not answer is given up after some 26
 * seconds.
 */
ZELTO_API void zeltoPlatformLibInit(const tZeltoPlatformLibTable* table);

/* Writes two lines to the log and does nothing else; requests are served until the process exits. */
ZELTO_API void zeltoPlatformLibTerm(void);

/*
 * Sends an event to every application. `record` points to a tZeltoPltClientEvent for the types 0 to 4 and to
 * a tZeltoPltDataModelEvent for type 5; a null record or another type sends nothing. The record is only read.
 * A text of it that is not UTF-8 is sent as null, with an error line.
 *
 * May be called from any thread, handlers included. Connects to the bus when the process has not done so yet.
 * Waits for a bus that does not read, but no longer than a second. Failures are logged and not reported;
 * never throws for them.
 */
ZELTO_API void zeltoPlatformLibSendEvent(tZeltoPltEventType type, const void* record);

ZELTO_C_END

#endif
