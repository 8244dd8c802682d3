#include "app/CApiConvert.h"
#include "zelto/ZeltoAppRecords.h"

#include <cstddef>
#include <cstdint>

namespace {

// The layout is binary interface on 32-bit targets; with 8-byte pointers only what hangs on a pointer moves.
constexpr std::size_t POINTER = sizeof(void*);
static_assert(POINTER == 4 || POINTER == 8, "no layout for pointers of this size");
constexpr std::size_t ARRAY = POINTER == 4 ? 8 : 16;
constexpr std::size_t PARAM_REQUEST = POINTER == 4 ? 524 : 536;
constexpr std::size_t NAMED_ARRAY = POINTER == 4 ? 264 : 272;

static_assert(sizeof(bool) == 1, "isArray is one byte");
static_assert(sizeof(tZeltoParam) == 512 && offsetof(tZeltoParam, value) == 256, "tZeltoParam");
static_assert(sizeof(tZeltoParamArray) == ARRAY && offsetof(tZeltoParamArray, count) == POINTER,
              "tZeltoParamArray");
static_assert(sizeof(tZeltoParamRequest) == PARAM_REQUEST &&
                  offsetof(tZeltoParamRequest, paramArray) == 512 &&
                  offsetof(tZeltoParamRequest, isArray) == 512 + ARRAY,
              "tZeltoParamRequest");
static_assert(offsetof(tZeltoParamRemoteRequest, remoteAddress) == PARAM_REQUEST, "tZeltoParamRemoteRequest");
static_assert(sizeof(tZeltoLongParamRequest) == NAMED_ARRAY &&
                  offsetof(tZeltoLongParamRequest, value) == 256 &&
                  offsetof(tZeltoLongParamRequest, size) == 256 + POINTER,
              "tZeltoLongParamRequest");
static_assert(offsetof(tZeltoLongParamRemoteRequest, remoteAddress) == NAMED_ARRAY,
              "tZeltoLongParamRemoteRequest");
static_assert(sizeof(tZeltoParamArrayRequest) == ARRAY, "tZeltoParamArrayRequest");
static_assert(sizeof(tZeltoObjectRequest) == NAMED_ARRAY && offsetof(tZeltoObjectRequest, paramArray) == 256,
              "tZeltoObjectRequest");
static_assert(sizeof(tZeltoObjectIdsRequest) == NAMED_ARRAY && offsetof(tZeltoObjectIdsRequest, ids) == 256 &&
                  offsetof(tZeltoObjectIdsRequest, count) == 256 + POINTER,
              "tZeltoObjectIdsRequest");
static_assert(sizeof(tZeltoIndexPair) == 8 && offsetof(tZeltoIndexPair, second) == 4, "tZeltoIndexPair");
static_assert(sizeof(tZeltoIndexMap) == NAMED_ARRAY && offsetof(tZeltoIndexMap, pairs) == 256 &&
                  offsetof(tZeltoIndexMap, count) == 256 + POINTER,
              "tZeltoIndexMap");
static_assert(sizeof(tZeltoIndexMapRequest) == ARRAY && offsetof(tZeltoIndexMapRequest, count) == POINTER,
              "tZeltoIndexMapRequest");

static_assert(ZELTO_MAX_PARAMS == 0x7FFFFFFFU / sizeof(tZeltoParam), "ZELTO_MAX_PARAMS");
static_assert(ZELTO_MAX_IDS == 0x7FFFFFFFU / sizeof(std::int32_t), "ZELTO_MAX_IDS");

// The new array is made before the earlier one goes, so that a failure leaves the record as it was.
template <typename T>
void Allocate(T*& array, std::uint32_t& size, std::uint32_t count) {
    T* const earlier = array;
    array = zelto::NewArray<T>(count).release();
    size = count;
    delete[] earlier;
}

template <typename T>
void Release(T*& array, std::uint32_t& size) {
    delete[] array;
    array = nullptr;
    size = 0;
}

} // namespace

void zeltoAppLibAllocateParamArray(tZeltoParamArray* array, std::uint32_t count) {
    if (array != nullptr) {
        Allocate(array->params, array->count, count);
    }
}

void zeltoAppLibReleaseParamArray(tZeltoParamArray* array) {
    if (array != nullptr) {
        Release(array->params, array->count);
    }
}

void zeltoAppLibReleaseParamRequest(tZeltoParamRequest* request) {
    if (request != nullptr) {
        zeltoAppLibReleaseParamArray(&request->paramArray);
        request->isArray = false;
    }
}

void zeltoAppLibAllocateLongParamRequest(tZeltoLongParamRequest* request, std::uint32_t size) {
    if (request != nullptr) {
        Allocate(request->value, request->size, size);
    }
}

void zeltoAppLibReleaseLongParamRequest(tZeltoLongParamRequest* request) {
    if (request != nullptr) {
        Release(request->value, request->size);
    }
}

void zeltoAppLibReleaseLongParamRemote(tZeltoLongParamRemoteRequest* request) {
    if (request != nullptr) {
        zeltoAppLibReleaseLongParamRequest(&request->request);
    }
}

void zeltoAppLibAllocateParamArrayRequest(tZeltoParamArrayRequest* request, std::uint32_t count) {
    if (request != nullptr) {
        zeltoAppLibAllocateParamArray(&request->paramArray, count);
    }
}

void zeltoAppLibReleaseParamArrayRequest(tZeltoParamArrayRequest* request) {
    if (request != nullptr) {
        zeltoAppLibReleaseParamArray(&request->paramArray);
    }
}

void zeltoAppLibAllocateObjectRequest(tZeltoObjectRequest* request, std::uint32_t count) {
    if (request != nullptr) {
        zeltoAppLibAllocateParamArray(&request->paramArray, count);
    }
}

void zeltoAppLibReleaseObjectRequest(tZeltoObjectRequest* request) {
    if (request != nullptr) {
        zeltoAppLibReleaseParamArray(&request->paramArray);
    }
}

void zeltoAppLibAllocateObjectIdsRequest(tZeltoObjectIdsRequest* request, std::uint32_t count) {
    if (request != nullptr) {
        Allocate(request->ids, request->count, count);
    }
}

void zeltoAppLibReleaseObjectIdsRequest(tZeltoObjectIdsRequest* request) {
    if (request != nullptr) {
        Release(request->ids, request->count);
    }
}

void zeltoAppLibReleaseIndexMapRequest(tZeltoIndexMapRequest* request) {
    if (request == nullptr) {
        return;
    }
    // A record without maps has nothing to walk, whatever its count says.
    for (std::uint32_t i = 0; request->maps != nullptr && i < request->count; ++i) {
        delete[] request->maps[i].pairs;
    }
    // The request's own fields stay as they are: it is the one record that must not be released twice, and
    // its callers clear it themselves.
    delete[] request->maps;
}
