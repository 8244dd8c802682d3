#include "app/RequestBodies.h"
#include "app/RequestRunner.h"
#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"
#include "zelto/TZeltoApplication.h"

int TZeltoApplication::AddObject(const std::string& object, int& instanceId) {
    return zelto::RunRequest(
        *ipc, zelto::METHOD_ADD_OBJECT_INSTANCE,
        [&](zelto::TPlainWriter& body) { zelto::WritePath(body, zelto::KEY_OBJ, object); },
        [&](const std::string& answer) {
            instanceId = zelto::IntegerOf(zelto::ParseDocument(answer.c_str()).get(), zelto::KEY_ID);
        });
}

int TZeltoApplication::RemoveObject(const std::string& object) {
    return zelto::RunRequest(*ipc, zelto::METHOD_DELETE_OBJECT_INSTANCE, [&](zelto::TPlainWriter& body) {
        zelto::WritePath(body, zelto::KEY_OBJ, object);
    });
}

int TZeltoApplication::GetObjectIds(const std::string& object, std::vector<int>& ids) {
    return zelto::RunRequest(
        *ipc, zelto::METHOD_GET_OBJECT_INSTANCES,
        [&](zelto::TPlainWriter& body) { zelto::WritePath(body, zelto::KEY_OBJ, object); },
        [&](const std::string& answer) {
            const zelto::TJsonHandle response = zelto::ParseDocument(answer.c_str());
            const json_t* const answered = json_object_get(response.get(), zelto::KEY_IDS);
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
        [&](zelto::TPlainWriter& body) {
            zelto::WriteNames(body, params);
            zelto::WritePath(body, zelto::KEY_ROOT, root);
        },
        [&](const std::string& answer) { zelto::ReadParams(answer, params); });
}

int TZeltoApplication::SetObject(const std::string& root, const std::vector<TZeltoAppParam>& params,
                                 bool commit) {
    return zelto::RunRequest(*ipc, zelto::METHOD_SET_OBJECT, [&](zelto::TPlainWriter& body) {
        zelto::WriteParams(body, params);
        zelto::WritePath(body, zelto::KEY_ROOT, root);
        body.Flag(zelto::KEY_COMMIT, commit);
    });
}
