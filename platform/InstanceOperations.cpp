#include "platform/OperationFrame.h"
#include "platform/ReturnCodeNames.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformOps.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// The integer at a position of the field in which handlers hand back instance numbers.
int32_t NumberAt(const tZeltoPlatformRequest& request, std::size_t position) {
    int32_t number = 0;
    std::memcpy(&number, request.value + position * sizeof(number), sizeof(number));
    return number;
}

// Copies the ids that follow the count. The array is zero-filled and allocated for a count of 0, too.
int* CopyIds(const tZeltoPlatformRequest& request, int32_t count) {
    int* const ids = static_cast<int*>(std::calloc(static_cast<std::size_t>(count) + 1, sizeof(int)));
    if (ids == nullptr) {
        throw std::bad_alloc();
    }
    for (int32_t i = 0; i < count; ++i) {
        ids[i] = NumberAt(request, static_cast<std::size_t>(i) + 1);
        qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"instlist[%d]: %d\"", i, ids[i]);
    }
    return ids;
}

} // namespace

int zeltoPlatLibAddObjectInstance(const char* obj, int* id) {
    if (obj == nullptr || id == nullptr) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"AddObject request without an object name or an id\"");
        return -1;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Received AddObject request for Root: %s\"", obj);
    zelto::TTarget target;
    if (!zelto::PrepareTarget(PLT_REQUEST_ADD_OBJECT, obj, false, target)) {
        return -1;
    }
    tZeltoPlatformRequest request = zelto::MakeRequest(target);
    const int32_t code = target.handler.call(&request);
    if (code != PLT_SUCCESS) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Request AddObject(%s) failed with error - '%s'\"", obj,
                      zelto::ReturnCodeName(code));
        return -1;
    }
    *id = NumberAt(request, 0);
    return 0;
}

int zeltoPlatLibDelObjectInstance(const char* obj) {
    if (obj == nullptr) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"DeleteObject request without an object name\"");
        return -1;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Received DeleteObject request for Root: %s\"", obj);
    zelto::TTarget target;
    if (!zelto::PrepareTarget(PLT_REQUEST_DELETE_OBJECT, obj, false, target)) {
        return -1;
    }
    tZeltoPlatformRequest request = zelto::MakeRequest(target);
    const int32_t code = target.handler.call(&request);
    if (code != PLT_SUCCESS) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Request DeleteObject(%s) failed with error - '%s'\"", obj,
                      zelto::ReturnCodeName(code));
        return -1;
    }
    return 0;
}

int zeltoPlatLibGetObjectIds(const char* obj, int* count, int** ids) {
    if (obj == nullptr || count == nullptr || ids == nullptr) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"GetObjectIds request without an object name or results\"");
        return -1;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Received GetObjectIds request for Root: %s\"", obj);
    zelto::TTarget target;
    if (!zelto::PrepareTarget(PLT_REQUEST_GET_OBJECT_IDS, obj, false, target)) {
        return -1;
    }
    tZeltoPlatformRequest request = zelto::MakeRequest(target);
    const int32_t code = target.handler.call(&request);
    if (code != PLT_SUCCESS) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Request GetObjectIds(%s) failed with error - '%s'\"", obj,
                      zelto::ReturnCodeName(code));
        return -1;
    }
    const int32_t reported = NumberAt(request, 0);
    // More do not fit behind the count in `value`.
    if (reported < 0 || reported > ZELTO_MAX_OBJECT_IDS) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"The handler of %s reports %d instances\"", obj, reported);
        return -1;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"numCount = %d\"", reported);
    *ids = CopyIds(request, reported);
    *count = reported;
    return 0;
}
