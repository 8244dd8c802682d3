/*
 * The C interface of the application side: start and end, event callbacks, and the calls that read and change
 * the data model. Valid C99 and C++11. The records are in ZeltoAppRecords.h, with their rules and the
 * functions that allocate and release them.
 *
 *     zeltoAppLibInitWithString("MY_APPLICATION");
 *
 *     tZeltoParamRequest request = {0};
 *     (void)strcpy(request.param.name, "Device.WiFi.SSID.1.SSID");
 *     if (zeltoAppLibGetParam(&request) == ZELTO_APP_OK && !request.isArray) {
 *         (void)puts(request.param.value);
 *     }
 *     zeltoAppLibReleaseParamRequest(&request);
 *
 * Every call that returns int blocks its thread until the manager has answered: a local call at most for the
 * time-out of the party (60 seconds, unless configured), one to a peer without a limit. Such calls may be
 * made on any thread, on several at once, and from callbacks, once the first zeltoAppLibInit... has returned;
 * they take no lock of their own. They return one of the codes below. On every code but ZELTO_APP_OK the
 * record and the arrays on it keep what they held.
 *
 * Names and values are UTF-8. Other bytes cannot be carried: the call logs the name, up to the first such
 * byte when it is in the name itself, and returns ZELTO_APP_NOT_SENT. A text that is cut to fit into a record
 * may be cut inside a character.
 *
 * When memory runs out, std::bad_alloc leaves the call; that ends a C program.
 */
#ifndef ZELTO_APP_LIB_H
#define ZELTO_APP_LIB_H

#include "zelto/Export.h"
#include "zelto/ZeltoAppRecords.h"
#include "zelto/ZeltoTypes.h"

#include <stdbool.h>

/* What the calls return. */
enum {
    ZELTO_APP_OK = 0,
    ZELTO_APP_FAILED =
        -1,             /* the manager or the peer refused or did not answer; null given to a remote call */
    ZELTO_APP_NULL = 1, /* a null record, text or array given to a local call; nothing was sent */
    ZELTO_APP_NOT_SENT = 3, /* the request could not be built, sent or read; the log has the reason */
};

/*
 * A client device of the gateway changed its state: `state` is a tZeltoClientDeviceState from
 * CLIENT_CONNECTED to CLIENT_BLOCKED_ATTEMPT. A text that the event does not carry is empty, never null.
 */
typedef void (*tZeltoCpeClientStateCallback)(int state, const char* macAddress, const char* hostName);

/*
 * A parameter changed. `name` is in the platform's numbering; `value` is cut to 255 bytes, at a whole
 * character. Both may be empty and are never null.
 *
 * Both kinds of callback run on a dispatch thread of the library with the lock of the subscription held, so
 * one at a time. They may make every call of this header, zeltoAppLibInit... only once one of these has
 * succeeded. A slow callback delays other events, and blocks zeltoAppLibSubscribe, zeltoAppLibUnsubscribe and
 * zeltoAppLibTerm on other threads; so a callback must not wait for a thread that is in one of these. exit()
 * on another thread waits for a callback, and so for the call that it is in. The texts are valid only until
 * the callback returns.
 */
typedef void (*tZeltoDataModelChangeCallback)(const char* name, const char* value);

ZELTO_C_BEGIN

/*
 * Connects the application to the bus under the identity `clientName` (letters, digits and '_', not beginning
 * with a digit, at most 200 characters) and starts the thread that delivers events. Nothing is reported: a
 * failure is logged, the calls then return ZELTO_APP_NOT_SENT or ZELTO_APP_FAILED, and a later
 * zeltoAppLibInit... tries again. Once it has succeeded, further calls change nothing but what
 * zeltoAppLibTerm had undone.
 *
 * The text is only read during the call. Null is not allowed: std::logic_error leaves the function.
 */
ZELTO_API void zeltoAppLibInitWithString(const char* clientName);

/*
 * The same under the identity of a party that the system knows by number. Other numbers stand for the empty
 * identity: the application has no name on the bus then, and no later call of these two gives it one.
 */
ZELTO_API void zeltoAppLibInit(tZeltoClientId clientId);

/*
 * Ends the delivery of events: once it has returned, no callback runs any more (unless a callback itself
 * called it). The connection stays up until the process exits and requests can still be made. The callbacks
 * stay stored; zeltoAppLibInit... delivers to them again.
 */
ZELTO_API void zeltoAppLibTerm(void);

/*
 * Stores both callbacks in place of the earlier ones; null stands for none. Before or after zeltoAppLibInit,
 * on any thread, callbacks included. Once it has returned, the earlier ones are not called any more.
 */
ZELTO_API void zeltoAppLibSubscribe(tZeltoCpeClientStateCallback onClientState,
                                    tZeltoDataModelChangeCallback onDataModelChange);

/* zeltoAppLibSubscribe with null for both. */
ZELTO_API void zeltoAppLibUnsubscribe(void);

/*
 * Reads `request->param.name`, in which one "*" may stand in place of an instance number for all instances.
 * Instance numbers before the "*" are taken for the platform's; the names that come back are in the
 * application's numbering, unless the name begins with "@".
 *
 * One parameter came back: its value is in `param.value`, cut to 255 bytes; the rest of the record is as it
 * was. Any other number: a new array in `paramArray` (an earlier one is released) and `isArray` is true. So
 * set `isArray` to false before a record is used again, or release it.
 */
ZELTO_API int zeltoAppLibGetParam(tZeltoParamRequest* request);

/*
 * Writes one parameter. `commit` is handed to the manager, which says what it means for the parameter; as a
 * rule false prepares a change and true applies it.
 */
ZELTO_API int zeltoAppLibSetParam(tZeltoParam* param, bool commit);

/*
 * Reads the parameters that the array names. The array is replaced by the answer, in the order of the names,
 * with one element for each instance of a name with "*". Each text is cut to 255 bytes.
 */
ZELTO_API int zeltoAppLibGetParamArray(tZeltoParamArray* array);

/*
 * Writes the parameters in order and stops at the first that fails; those before it stay written. An empty
 * array is refused by the manager. In this call the manager does not look at `commit`: it acts as for false.
 */
ZELTO_API int zeltoAppLibSetParamArray(tZeltoParamArray* array, bool commit);

/* As zeltoAppLibGetParamArray, for parameters of the object `request->name`. */
ZELTO_API int zeltoAppLibGetObject(tZeltoObjectRequest* request);

/*
 * Writes parameters of the object `request->name`: one call of the manager's handler gets them all, also when
 * the array is empty, and succeeds or fails as a whole. Of each name and value the handler gets at most the
 * first 255 bytes, whole characters, which is no failure; it does not get `commit`.
 */
ZELTO_API int zeltoAppLibSetObject(tZeltoObjectRequest* request, bool commit);

/* Adds an instance to the table `objectName` ("Device.NAT.PortMapping."); `*instance` receives its number. */
ZELTO_API int zeltoAppLibAddObjectInstance(const char* objectName, int* instance);

/* Deletes the instance `objectName` ("Device.NAT.PortMapping.3."). */
ZELTO_API int zeltoAppLibDelObjectInstance(const char* objectName);

/* Lists the instance numbers of the table `request->name`. `ids` is replaced; it may be empty. */
ZELTO_API int zeltoAppLibGetObjectIds(tZeltoObjectIdsRequest* request);

/*
 * Reads which instance numbers applications and platform use for the same instances; one map for each table
 * that has two numberings, in no particular order. An earlier answer in the record is NOT released: do that
 * first, with zeltoAppLibReleaseIndexMapRequest.
 */
ZELTO_API int zeltoAppLibGetIndexMapping(tZeltoIndexMapRequest* request);

/*
 * Reads a value of any length. `value` receives a new terminated text and `size` its length with the NUL; a
 * parameter without a text gives "". An earlier buffer in the record is NOT released: do that first, with
 * zeltoAppLibReleaseLongParamRequest.
 */
ZELTO_API int zeltoAppLibGetLongParam(tZeltoLongParamRequest* request);

/* Writes a value of any length: `value` up to its NUL. `size` is not looked at. */
ZELTO_API int zeltoAppLibSetLongParam(tZeltoLongParamRequest* request, bool commit);

/*
 * Requests to a peer gateway at the numeric IP address in `remoteAddress`, over TCP port 42042. They need no
 * zeltoAppLibInit. Once connected, they wait for the peer without a limit. A null record is logged and gives
 * ZELTO_APP_FAILED, as every failure does but a text that is not UTF-8 (ZELTO_APP_NOT_SENT).
 */

/* Writes one parameter of the peer. */
ZELTO_API int zeltoAppLibSetParamRemote(tZeltoParamRemoteRequest* request, bool commit);

/*
 * Reads a parameter of the peer. An earlier array in the record is released. Several parameters: a new array
 * in `paramArray`, and `isArray` is true. One: its name and its value go into `param`, 255 bytes of each at
 * most, and the last byte of both fields stays as the caller had it (zero it before). None: `param` stays as
 * it was.
 */
ZELTO_API int zeltoAppLibGetParamRemote(tZeltoParamRemoteRequest* request);

/*
 * Fetches the file `request.name` of the peer, at most 1048575 bytes. An earlier buffer in the record is
 * released; `value` receives a new one of `size` bytes: there is NO terminating NUL. An empty file gives size
 * 0 and a buffer that is not null, as does one that the peer announces as larger. ZELTO_APP_OK does not mean
 * that the file is whole: when the peer closes early, zeros stand for what did not come.
 */
ZELTO_API int zeltoAppLibGetFileRemote(tZeltoLongParamRemoteRequest* request);

ZELTO_C_END

#endif
