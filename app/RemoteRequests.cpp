#include "app/RequestBodies.h"
#include "protocol/ParamEntries.h"
#include "protocol/RemoteExchange.h"
#include "protocol/RequestNames.h"
#include "utils/Log.h"
#include "zelto/TZeltoApplication.h"

namespace {

// No method name carries the type of a remote request, so its body does.
zelto::TPlainWriter NewBody(const char* requestType) {
    zelto::TPlainWriter body;
    body.Text(zelto::KEY_REQUEST_TYPE, requestType, "request type");
    return body;
}

bool HasSucceeded(const json_t* response) {
    const std::string status = zelto::TextOf(response, zelto::KEY_STATUS);
    if (status == zelto::STATUS_OK) {
        return true;
    }
    qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Remote Zelto has failed with '%s'\"", status.c_str());
    return false;
}

} // namespace

int TZeltoApplication::SetParamRemote(const std::string& address, const std::string& name,
                                      const std::string& value, bool commit) {
    zelto::TPlainWriter body = NewBody(zelto::METHOD_NAMES[zelto::METHOD_SET_PARAM]);
    zelto::WriteAssignment(body, name, value, commit);
    std::string answer;
    if (!PerformRemoteRequest(body.Take(), address, answer, nullptr)) {
        return -1;
    }
    return HasSucceeded(zelto::ParseDocument(answer.c_str()).get()) ? 0 : -1;
}

int TZeltoApplication::GetParamRemote(const std::string& address, const std::string& name,
                                      std::vector<TZeltoAppParam>& params) {
    zelto::TPlainWriter body = NewBody(zelto::METHOD_NAMES[zelto::METHOD_GET_PARAM]);
    zelto::WriteName(body, name);
    std::string answer;
    if (!PerformRemoteRequest(body.Take(), address, answer, nullptr)) {
        return -1;
    }
    const zelto::TJsonHandle response = zelto::ParseDocument(answer.c_str());
    if (!HasSucceeded(response.get())) {
        return -1;
    }
    zelto::ReadEntries(json_object_get(response.get(), zelto::KEY_PARAMS), params);
    return 0;
}

int TZeltoApplication::GetFileRemote(const std::string& address, const std::string& fileName,
                                     std::vector<char>& fileData) {
    zelto::TPlainWriter body = NewBody(zelto::GET_FILE_REQUEST);
    body.Name(zelto::KEY_FILE_NAME, fileName, "file name");
    std::string answer;
    if (!PerformRemoteRequest(body.Take(), address, answer, &fileData)) {
        return -1;
    }
    const zelto::TJsonHandle response = zelto::ParseDocument(answer.c_str());
    if (!response) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Failed to parse response: %s\"", answer.c_str());
    }
    const std::string status = zelto::TextOf(response.get(), zelto::KEY_STATUS);
    if (status == zelto::STATUS_OK) {
        return 0;
    }
    // The log gets the two characters of each "\n", not a line break: an answer stays on one line.
    qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Remote Zelto has failed with '%s'. \\n\\n %s\\n\"",
                  status.c_str(), answer.c_str());
    return -1;
}

bool TZeltoApplication::PerformRemoteRequest(const std::string& request, const std::string& address,
                                             std::string& response, std::vector<char>* blob) {
    return zelto::ExchangeWithPeer(request, address, response, blob);
}
