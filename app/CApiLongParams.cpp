#include "app/CApiConvert.h"
#include "app/CApiState.h"
#include "app/RequestBodies.h"
#include "app/RequestRunner.h"
#include "protocol/MessageBody.h"
#include "protocol/RequestNames.h"
#include "utils/FixedText.h"
#include "zelto/ZeltoAppLib.h"

#include <string>

// These two go past TZeltoApplication, straight to the transport.

int zeltoAppLibGetLongParam(tZeltoLongParamRequest* request) {
    if (request == nullptr) {
        return ZELTO_APP_NULL;
    }
    const auto build = [request](zelto::TPlainWriter& body) {
        zelto::WriteName(body, zelto::ReadField(request->name));
    };
    const auto read = [request](const std::string& answer) {
        zelto::StoreText(*request, zelto::TMessageBody(answer).Text(zelto::BODY_VALUE));
    };
    return zelto::RunRequest(zelto::CApiIpc(), zelto::METHOD_GET_LONG_PARAM, build, read);
}

int zeltoAppLibSetLongParam(tZeltoLongParamRequest* request, bool commit) {
    if (request == nullptr || request->value == nullptr) {
        return ZELTO_APP_NULL;
    }
    return zelto::RunRequest(
        zelto::CApiIpc(), zelto::METHOD_SET_LONG_PARAM, [request, commit](zelto::TPlainWriter& body) {
            zelto::WriteAssignment(body, zelto::ReadField(request->name), request->value, commit);
        });
}
