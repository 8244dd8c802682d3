#include "app/CApiConvert.h"
#include "app/CApiState.h"
#include "utils/FixedText.h"
#include "zelto/ZeltoAppLib.h"

int zeltoAppLibGetObject(tZeltoObjectRequest* request) {
    if (request == nullptr || request->paramArray.params == nullptr) {
        return ZELTO_APP_NULL;
    }
    zelto::TAppParams params = zelto::NamesOf(request->paramArray);
    const int code = zelto::CApiApplication().GetObject(zelto::ReadField(request->name), params);
    if (code == ZELTO_APP_OK) {
        zelto::StoreParams(request->paramArray, params);
    }
    return code;
}

int zeltoAppLibSetObject(tZeltoObjectRequest* request, bool commit) {
    if (request == nullptr || request->paramArray.params == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::CApiApplication().SetObject(zelto::ReadField(request->name),
                                              zelto::ParamsOf(request->paramArray), commit);
}

int zeltoAppLibAddObjectInstance(const char* objectName, int* instance) {
    if (objectName == nullptr || instance == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::CApiApplication().AddObject(objectName, *instance);
}

int zeltoAppLibDelObjectInstance(const char* objectName) {
    if (objectName == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::CApiApplication().RemoveObject(objectName);
}

int zeltoAppLibGetObjectIds(tZeltoObjectIdsRequest* request) {
    if (request == nullptr) {
        return ZELTO_APP_NULL;
    }
    std::vector<int> ids;
    const int code = zelto::CApiApplication().GetObjectIds(zelto::ReadField(request->name), ids);
    if (code == ZELTO_APP_OK) {
        zelto::StoreIds(*request, ids);
    }
    return code;
}

int zeltoAppLibGetIndexMapping(tZeltoIndexMapRequest* request) {
    if (request == nullptr) {
        return ZELTO_APP_NULL;
    }
    zelto::TIndexMap indexMap;
    const int code = zelto::CApiApplication().GetIndexMap(indexMap);
    if (code == ZELTO_APP_OK) {
        zelto::StoreIndexMap(*request, indexMap);
    }
    return code;
}
