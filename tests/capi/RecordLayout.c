#include "capi/RecordLayout.h"

#include <zelto/ZeltoAppRecords.h>

/* The expected numbers for pointers of 4 and of 8 bytes. */
#define BY_POINTER(with4, with8) (sizeof(void*) == 4 ? (with4) : (with8))

#define SIZE(record, with4, with8)                                                                           \
    { #record, sizeof(record), BY_POINTER(with4, with8) }
#define FIELD(record, field, width, with4, with8)                                                            \
    {#record "." #field, offsetof(record, field), BY_POINTER(with4, with8)}, {                               \
#record "." #field " width", sizeof(((record*)0)->field), (width)                                    \
    }

static const tLayoutEntry entries[] = {
    SIZE(tZeltoParam, 512, 512),
    FIELD(tZeltoParam, name, 256, 0, 0),
    FIELD(tZeltoParam, value, 256, 256, 256),

    SIZE(tZeltoParamArray, 8, 16),
    FIELD(tZeltoParamArray, params, sizeof(void*), 0, 0),
    FIELD(tZeltoParamArray, count, 4, 4, 8),

    SIZE(tZeltoParamRequest, 524, 536),
    FIELD(tZeltoParamRequest, param, 512, 0, 0),
    FIELD(tZeltoParamRequest, paramArray, BY_POINTER(8, 16), 512, 512),
    FIELD(tZeltoParamRequest, isArray, 1, 520, 528),

    SIZE(tZeltoParamRemoteRequest, 572, 584),
    FIELD(tZeltoParamRemoteRequest, request, BY_POINTER(524, 536), 0, 0),
    FIELD(tZeltoParamRemoteRequest, remoteAddress, 46, 524, 536),

    SIZE(tZeltoLongParamRequest, 264, 272),
    FIELD(tZeltoLongParamRequest, name, 256, 0, 0),
    FIELD(tZeltoLongParamRequest, value, sizeof(void*), 256, 256),
    FIELD(tZeltoLongParamRequest, size, 4, 260, 264),

    SIZE(tZeltoLongParamRemoteRequest, 312, 320),
    FIELD(tZeltoLongParamRemoteRequest, request, BY_POINTER(264, 272), 0, 0),
    FIELD(tZeltoLongParamRemoteRequest, remoteAddress, 46, 264, 272),

    SIZE(tZeltoParamArrayRequest, 8, 16),
    FIELD(tZeltoParamArrayRequest, paramArray, BY_POINTER(8, 16), 0, 0),

    SIZE(tZeltoObjectRequest, 264, 272),
    FIELD(tZeltoObjectRequest, name, 256, 0, 0),
    FIELD(tZeltoObjectRequest, paramArray, BY_POINTER(8, 16), 256, 256),

    SIZE(tZeltoObjectIdsRequest, 264, 272),
    FIELD(tZeltoObjectIdsRequest, name, 256, 0, 0),
    FIELD(tZeltoObjectIdsRequest, ids, sizeof(void*), 256, 256),
    FIELD(tZeltoObjectIdsRequest, count, 4, 260, 264),

    SIZE(tZeltoIndexPair, 8, 8),
    FIELD(tZeltoIndexPair, first, 4, 0, 0),
    FIELD(tZeltoIndexPair, second, 4, 4, 4),

    SIZE(tZeltoIndexMap, 264, 272),
    FIELD(tZeltoIndexMap, name, 256, 0, 0),
    FIELD(tZeltoIndexMap, pairs, sizeof(void*), 256, 256),
    FIELD(tZeltoIndexMap, count, 4, 260, 264),

    SIZE(tZeltoIndexMapRequest, 8, 16),
    FIELD(tZeltoIndexMapRequest, maps, sizeof(void*), 0, 0),
    FIELD(tZeltoIndexMapRequest, count, 4, 4, 8),
};

const tLayoutEntry* LayoutEntries(size_t* count) {
    *count = sizeof(entries) / sizeof(entries[0]);
    return entries;
}
