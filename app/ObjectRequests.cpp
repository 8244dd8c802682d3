#include "app/RequestBodies.h"
#include "app/RequestRunner.h"
#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"
#include "zelto/TZeltoApplication.h"

namespace {

void SetPath(TZeltoJsonObject& body, const char* key, const std::string& path) {
    zelto::SetText(body, key, path, "object path");
}

} // namespace

int TZeltoApplication::AddObject(const std::string& object, int& instanceId) {
    return zelto::RunRequest(
        *ipc, zelto::METHOD_ADD_OBJECT_INSTANCE,
        [&](TZeltoJsonObject& body) { SetPath(body, zelto::KEY_OBJ, object); },
        [&](const TZeltoJsonObject& response) {
            instanceId = zelto::IntegerValue(zelto::ValueOf(response, zelto::KEY_ID));
        });
}

int TZeltoApplication::RemoveObject(const std::string& object) {
    return zelto::RunRequest(*ipc, zelto::METHOD_DELETE_OBJECT_INSTANCE,
                             [&](TZeltoJsonObject& body) { SetPath(body, zelto::KEY_OBJ, object); });
}

int TZeltoApplication::GetObjectIds(const std::string& object, std::vector<int>& ids) {
    return zelto::RunRequest(
        *ipc, zelto::METHOD_GET_OBJECT_INSTANCES,
        [&](TZeltoJsonObject& body) { SetPath(body, zelto::KEY_OBJ, object); },
        [&](const TZeltoJsonObject& response) {
            const json_t* const answered = zelto::ValueOf(response, zelto::KEY_IDS);
            ids.clear();
            ids.reserve(zelto::ElementCount(answered));
            for (std::size_t index = 0; index < zelto::ElementCount(answered); ++index) {
                ids.push_back(zelto::IntegerValue(zelto::ElementAt(answered, index)));
            }
        });
}

int TZeltoApplication::GetObject(const std::string& root, std::vector<TZeltoAppParam>& params) {
    return zelto::RunRequest(
        *ipc, zelto::METHOD_GET_OBJECT,
        [&](TZeltoJsonObject& body) {
            zelto::SetNames(body, params);
            SetPath(body, zelto::KEY_ROOT, root);
        },
        [&](const TZeltoJsonObject& response) { PopulateParamArray(response, params); });
}

int TZeltoApplication::SetObject(const std::string& root, const std::vector<TZeltoAppParam>& params,
                                 bool commit) {
    return zelto::RunRequest(*ipc, zelto::METHOD_SET_OBJECT, [&](TZeltoJsonObject& body) {
        ParamArrayToJson(params, body);
        SetPath(body, zelto::KEY_ROOT, root);
        zelto::SetFlag(body, zelto::KEY_COMMIT, commit);
    });
}
