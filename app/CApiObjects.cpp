#include "app/CApiConvert.h"
#include "app/CApiState.h"
#include "app/RequestBodies.h"
#include "app/RequestRunner.h"
#include "protocol/MessageBody.h"
#include "utils/FixedText.h"
#include "zelto/ZeltoAppLib.h"

int zeltoAppLibGetObject(tZeltoObjectRequest* request) {
    if (request == nullptr || request->paramArray.params == nullptr) {
        return ZELTO_APP_NULL;
    }
    // Past TZeltoApplication, as in the reading of parameters.
    return zelto::RunRequest(
        zelto::CApiIpc(), zelto::METHOD_GET_OBJECT,
        [request](zelto::TPlainWriter& body) {
            zelto::WriteNames(body, request->paramArray);
            zelto::WritePath(body, zelto::KEY_ROOT, zelto::ViewField(request->name));
        },
        [request](const std::string& answer) {
            zelto::StoreParams(request->paramArray, zelto::TMessageBody(answer).Params());
        });
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
