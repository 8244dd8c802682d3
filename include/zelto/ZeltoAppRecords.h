/*
 * The records of the C interface, and the functions that allocate and release what hangs on them. Valid C99
 * and C++11. The calls that use the records are in ZeltoAppLib.h.
 *
 *     tZeltoParamArray array = {NULL, 0};
 *
 *     zeltoAppLibAllocateParamArray(&array, 1);
 *     (void)strcpy(array.params[0].name, "Device.NAT.PortMapping.*.Description");
 *     code = zeltoAppLibGetParamArray(&array);
 *     for (i = 0; code == ZELTO_APP_OK && i < array.count; ++i) {
 *         (void)printf("%s = %s\n", array.params[i].name, array.params[i].value);
 *     }
 *     zeltoAppLibReleaseParamArray(&array);
 *
 * Rules for all records:
 *
 * - The caller owns the record itself and may keep it anywhere. It must be zeroed before its first use, since
 *   the library releases the arrays that it finds in it.
 * - The array that hangs on a record is allocated by the library and belongs to the caller, who hands it back
 *   with the release function named beside the record, and never with free(). The library replaces such an
 *   array when a call gives a new one.
 * - Texts are fixed fields of ZELTO_TEXT_SIZE bytes: up to 255 characters and a NUL. A field that its caller
 *   left without a NUL is read to its end and no further.
 * - A record is used by one thread at a time. The functions take no lock and may be called on any thread,
 *   callbacks included.
 * - The order and the widths of the fields are binary interface.
 *
 * The allocate and release functions have no result. A null record makes each of them do nothing. Allocated
 * arrays are filled with zeros. When an allocation fails, std::bad_alloc leaves the function and the record
 * is as it was; that ends a C program.
 */
#ifndef ZELTO_APP_RECORDS_H
#define ZELTO_APP_RECORDS_H

#include "zelto/Export.h"
#include "zelto/ZeltoTypes.h"

#include <stdbool.h>
#include <stdint.h>

/* Holds the longest numeric IP address as text ("0000:...:255.255.255.255") and its NUL. */
#define ZELTO_REMOTE_ADDRESS_SIZE 46

/* Largest number of elements of a parameter array and of an array of instance numbers: 2 GiB of memory. */
#define ZELTO_MAX_PARAMS 4194303U
#define ZELTO_MAX_IDS 536870911U

/* One parameter. Nothing hangs on it. */
typedef struct tZeltoParam {
    char name[ZELTO_TEXT_SIZE];  /* full path, such as "Device.WiFi.SSID.1.SSID" */
    char value[ZELTO_TEXT_SIZE]; /* as text */
} tZeltoParam;

/* Several parameters. Released with zeltoAppLibReleaseParamArray. */
typedef struct tZeltoParamArray {
    tZeltoParam* params; /* the array, or null */
    uint32_t count;      /* number of its elements */
} tZeltoParamArray;

/* A read of one name that may stand for several parameters. Released with zeltoAppLibReleaseParamRequest. */
typedef struct tZeltoParamRequest {
    tZeltoParam param;           /* the name asked for; the value when exactly one parameter came back */
    tZeltoParamArray paramArray; /* the parameters otherwise */
    bool isArray;                /* the answer is in paramArray */
} tZeltoParamRequest;

/* The same to a peer gateway. Released with zeltoAppLibReleaseParamRequest on `request`. */
typedef struct tZeltoParamRemoteRequest {
    tZeltoParamRequest request;
    char remoteAddress[ZELTO_REMOTE_ADDRESS_SIZE]; /* numeric IP address */
} tZeltoParamRemoteRequest;

/* A value of any length. Released with zeltoAppLibReleaseLongParamRequest. */
typedef struct tZeltoLongParamRequest {
    char name[ZELTO_TEXT_SIZE];
    char* value;   /* the buffer, or null */
    uint32_t size; /* its size in bytes, the NUL of a text included */
} tZeltoLongParamRequest;

/* A file of a peer gateway. Released with zeltoAppLibReleaseLongParamRemote. */
typedef struct tZeltoLongParamRemoteRequest {
    tZeltoLongParamRequest request;                /* `name` is the path of the file on the peer */
    char remoteAddress[ZELTO_REMOTE_ADDRESS_SIZE]; /* numeric IP address */
} tZeltoLongParamRemoteRequest;

/* A parameter array as a request. Released with zeltoAppLibReleaseParamArrayRequest. */
typedef struct tZeltoParamArrayRequest {
    tZeltoParamArray paramArray;
} tZeltoParamArrayRequest;

/* Parameters of one object. Released with zeltoAppLibReleaseObjectRequest. */
typedef struct tZeltoObjectRequest {
    char name[ZELTO_TEXT_SIZE];  /* path of the object, ending in '.', such as "Device.WiFi.SSID.1." */
    tZeltoParamArray paramArray; /* its parameters, named by their full paths */
} tZeltoObjectRequest;

/* The instance numbers of a table. Released with zeltoAppLibReleaseObjectIdsRequest. */
typedef struct tZeltoObjectIdsRequest {
    char name[ZELTO_TEXT_SIZE]; /* path of the table, ending in '.', such as "Device.WiFi.SSID." */
    int32_t* ids;               /* the array, or null */
    uint32_t count;             /* number of its elements */
} tZeltoObjectIdsRequest;

/* One instance in its two numberings. */
typedef struct tZeltoIndexPair {
    int32_t first;  /* the number that applications see */
    int32_t second; /* the platform's own */
} tZeltoIndexPair;

/* The instances of one table. Belongs to the request that it came with. */
typedef struct tZeltoIndexMap {
    char name[ZELTO_TEXT_SIZE]; /* path of the table */
    tZeltoIndexPair* pairs;     /* never null in an answer */
    uint32_t count;             /* number of pairs */
} tZeltoIndexMap;

/* The index map. Released with zeltoAppLibReleaseIndexMapRequest, once. */
typedef struct tZeltoIndexMapRequest {
    tZeltoIndexMap* maps; /* the array, or null */
    uint32_t count;       /* number of its elements */
} tZeltoIndexMapRequest;

ZELTO_C_BEGIN

/*
 * Replaces `array->params` by a new array of `count` elements, which may be 0: then the array is empty and
 * not null. An earlier array is released. A `count` above ZELTO_MAX_PARAMS fails with
 * std::bad_array_new_length.
 */
ZELTO_API void zeltoAppLibAllocateParamArray(tZeltoParamArray* array, uint32_t count);

/* Releases the array and leaves null and 0 in its place; so releasing twice is safe. */
ZELTO_API void zeltoAppLibReleaseParamArray(tZeltoParamArray* array);

/*
 * Releases `request->paramArray` as zeltoAppLibReleaseParamArray does and sets `isArray` to false. `param` is
 * left as it is. Releasing twice is safe.
 */
ZELTO_API void zeltoAppLibReleaseParamRequest(tZeltoParamRequest* request);

/*
 * Replaces `request->value` by a new buffer of `size` bytes; an earlier buffer is released. A `size` above
 * 2147483647 fails with std::bad_array_new_length.
 */
ZELTO_API void zeltoAppLibAllocateLongParamRequest(tZeltoLongParamRequest* request, uint32_t size);

/* Releases the buffer and leaves null and 0 in its place; so releasing twice is safe. */
ZELTO_API void zeltoAppLibReleaseLongParamRequest(tZeltoLongParamRequest* request);

/* zeltoAppLibReleaseLongParamRequest on the embedded request. The address is left as it is. */
ZELTO_API void zeltoAppLibReleaseLongParamRemote(tZeltoLongParamRemoteRequest* request);

/* zeltoAppLibAllocateParamArray and zeltoAppLibReleaseParamArray on `request->paramArray`. */
ZELTO_API void zeltoAppLibAllocateParamArrayRequest(tZeltoParamArrayRequest* request, uint32_t count);
ZELTO_API void zeltoAppLibReleaseParamArrayRequest(tZeltoParamArrayRequest* request);

/* The same on the array of an object request. The object's name is left as it is. */
ZELTO_API void zeltoAppLibAllocateObjectRequest(tZeltoObjectRequest* request, uint32_t count);
ZELTO_API void zeltoAppLibReleaseObjectRequest(tZeltoObjectRequest* request);

/*
 * Replaces `request->ids` by a new array of `count` numbers; an earlier array is released. A `count` above
 * ZELTO_MAX_IDS fails with std::bad_array_new_length. zeltoAppLibGetObjectIds allocates by itself.
 */
ZELTO_API void zeltoAppLibAllocateObjectIdsRequest(tZeltoObjectIdsRequest* request, uint32_t count);

/* Releases the array and leaves null and 0 in its place; so releasing twice is safe. */
ZELTO_API void zeltoAppLibReleaseObjectIdsRequest(tZeltoObjectIdsRequest* request);

/*
 * Releases the pairs of each map and the array of maps. `maps` and `count` are left as they are and point
 * nowhere afterwards: do NOT release twice, and set both to 0 before the record is used again. A zeroed
 * record may be released. zeltoAppLibGetIndexMapping allocates by itself.
 */
ZELTO_API void zeltoAppLibReleaseIndexMapRequest(tZeltoIndexMapRequest* request);

ZELTO_C_END

#endif
