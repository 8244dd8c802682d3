#include "app/CApiConvert.h"
#include "app/CApiState.h"
#include "utils/FixedText.h"
#include "zelto/ZeltoAppLib.h"

namespace zelto {

namespace {

void StoreAnswer(tZeltoParamRequest& request, const TAppParams& params) {
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
    zelto::TAppParams params;
    const int code = zelto::CApiApplication().GetParam(zelto::ReadField(request->param.name), params);
    if (code == ZELTO_APP_OK) {
        zelto::StoreAnswer(*request, params);
    }
    return code;
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
    zelto::TAppParams params = zelto::NamesOf(*array);
    const int code = zelto::CApiApplication().GetParamArray(params);
    if (code == ZELTO_APP_OK) {
        zelto::StoreParams(*array, params);
    }
    return code;
}

int zeltoAppLibSetParamArray(tZeltoParamArray* array, bool commit) {
    if (array == nullptr || array->params == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::CApiApplication().SetParamArray(zelto::ParamsOf(*array), commit);
}
