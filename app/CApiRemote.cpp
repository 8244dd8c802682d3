#include "app/CApiConvert.h"
#include "app/CApiState.h"
#include "app/RequestRunner.h"
#include "utils/FixedText.h"
#include "utils/Log.h"
#include "zelto/ZeltoAppLib.h"

namespace zelto {

namespace {

// Unlike the local calls, the remote ones answer a null record with -1 and a line in the log.
int RefuseNull(const char* function) {
    qvLogging_log(LOG_LEVEL_ERROR, "\"%s: the request is NULL\"", function);
    return ZELTO_APP_FAILED;
}

void StoreAnswer(tZeltoParamRequest& request, const TAppParams& params) {
    zeltoAppLibReleaseParamRequest(&request);
    if (params.size() > 1) {
        StoreParams(request.paramArray, params);
        request.isArray = true;
    } else if (!params.empty()) {
        StoreParam(request.param, params.front());
    }
}

} // namespace

} // namespace zelto

// The operations of the application let a runtime error pass, which would end a C program: here it becomes
// the code that local requests have for it.

int zeltoAppLibSetParamRemote(tZeltoParamRemoteRequest* request, bool commit) {
    if (request == nullptr) {
        return zelto::RefuseNull(__func__);
    }
    return zelto::Guarded([request, commit] {
        const tZeltoParam& param = request->request.param;
        return zelto::CApiApplication().SetParamRemote(zelto::ReadField(request->remoteAddress),
                                                       zelto::ReadField(param.name),
                                                       zelto::ReadField(param.value), commit);
    });
}

int zeltoAppLibGetParamRemote(tZeltoParamRemoteRequest* request) {
    if (request == nullptr) {
        return zelto::RefuseNull(__func__);
    }
    return zelto::Guarded([request] {
        zelto::TAppParams params;
        const int code = zelto::CApiApplication().GetParamRemote(
            zelto::ReadField(request->remoteAddress), zelto::ReadField(request->request.param.name), params);
        if (code == ZELTO_APP_OK) {
            zelto::StoreAnswer(request->request, params);
        }
        return code;
    });
}

int zeltoAppLibGetFileRemote(tZeltoLongParamRemoteRequest* request) {
    if (request == nullptr) {
        return zelto::RefuseNull(__func__);
    }
    return zelto::Guarded([request] {
        std::vector<char> bytes;
        const int code = zelto::CApiApplication().GetFileRemote(
            zelto::ReadField(request->remoteAddress), zelto::ReadField(request->request.name), bytes);
        if (code == ZELTO_APP_OK) {
            zeltoAppLibReleaseLongParamRemote(request);
            zelto::StoreBytes(request->request, bytes.data(), bytes.size());
        }
        return code;
    });
}
