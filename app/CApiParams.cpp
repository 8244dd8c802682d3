#include "app/CApiConvert.h"
#include "app/CApiState.h"
#include "app/RequestBodies.h"
#include "app/RequestRunner.h"
#include "protocol/MessageBody.h"
#include "utils/FixedText.h"
#include "zelto/ZeltoAppLib.h"

// The reads go past TZeltoApplication, so that names and values go straight between the records and the
// texts.

namespace zelto {

namespace {

void StoreAnswer(tZeltoParamRequest& request, const std::vector<TBodyEntry>& params) {
    if (params.size() == 1) {
        CopyTerminated(request.param.value, params.front().value);
        return;
    }
    StoreParams(request.paramArray, params);
    request.isArray = true;
}

} // namespace

} // namespace zelto

int zeltoAppLibGetParam(tZeltoParamRequest* request) {
    if (request == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::RunRequest(
        zelto::CApiIpc(), zelto::METHOD_GET_PARAM,
        [request](zelto::TPlainWriter& body) {
            zelto::WriteName(body, zelto::ViewField(request->param.name));
        },
        [request](const std::string& answer) {
            zelto::StoreAnswer(*request, zelto::TMessageBody(answer).Params());
        });
}

int zeltoAppLibSetParam(tZeltoParam* param, bool commit) {
    if (param == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::CApiApplication().SetParam(zelto::ReadField(param->name), zelto::ReadField(param->value),
                                             commit);
}

int zeltoAppLibGetParamArray(tZeltoParamArray* array) {
    if (array == nullptr || array->params == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::RunRequest(
        zelto::CApiIpc(), zelto::METHOD_GET_PARAM_ARRAY,
        [array](zelto::TPlainWriter& body) { zelto::WriteNames(body, *array); },
        [array](const std::string& answer) {
            zelto::StoreParams(*array, zelto::TMessageBody(answer).Params());
        });
}

int zeltoAppLibSetParamArray(tZeltoParamArray* array, bool commit) {
    if (array == nullptr || array->params == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::CApiApplication().SetParamArray(zelto::ParamsOf(*array), commit);
}
