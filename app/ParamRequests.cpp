#include "app/NameMatch.h"
#include "app/RequestBodies.h"
#include "app/RequestRunner.h"
#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"
#include "zelto/TZeltoApplication.h"

#include <new>
#include <utility>

namespace {

using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

// An element of an answer that is about to go, handed over instead of copied.
zelto::TJsonHandle TakeObject(json_t* element) {
    return zelto::TJsonHandle(json_is_object(element) ? json_incref(element) : json_object());
}

// Clearing what is empty changes nothing, and tells an object from other documents.
bool IsObject(TZeltoJsonObject& document) {
    return !document.IsEmpty() || document.Clear();
}

// Fails without memory. A document that is no object has no properties and stays as it is.
void SetParams(TZeltoJsonObject& document, zelto::TJsonHandle entries) {
    if (document.SetJsonObject(zelto::KEY_PARAMS, entries.release()) != 0 && IsObject(document)) {
        throw std::bad_alloc();
    }
}

} // namespace

int TZeltoApplication::GetParam(const std::string& name, std::vector<TZeltoAppParam>& params) {
    return zelto::RunRequest(
        *ipc, zelto::METHOD_GET_PARAM, [&](zelto::TPlainWriter& body) { zelto::WriteName(body, name); },
        [&](const std::string& answer) { zelto::ReadParams(answer, params); });
}

int TZeltoApplication::GetParam(const std::string& name, std::string& value) {
    TParams params;
    const int rc = GetParam(name, params);
    if (rc == 0 && !params.empty()) {
        value = std::move(params.front().value);
    }
    return rc;
}

int TZeltoApplication::GetParam(const std::string& name, TZeltoJsonObject& result) {
    return zelto::RunRequest(
        *ipc, zelto::METHOD_GET_PARAM, [&](zelto::TPlainWriter& body) { zelto::WriteName(body, name); },
        [&](const std::string& answer) {
            const zelto::TJsonHandle response = zelto::ParseDocument(answer.c_str());
            const json_t* const answered = json_object_get(response.get(), zelto::KEY_PARAMS);
            zelto::TJsonHandle entries;
            for (std::size_t index = 0; index < zelto::ElementCount(answered); ++index) {
                zelto::AppendEntry(entries, TakeObject(zelto::ElementAt(answered, index)));
            }
            SetParams(result, std::move(entries));
        });
}

int TZeltoApplication::SetParam(const std::string& name, const std::string& value, bool commit) {
    return zelto::RunRequest(*ipc, zelto::METHOD_SET_PARAM, [&](zelto::TPlainWriter& body) {
        zelto::WriteAssignment(body, name, value, commit);
    });
}

int TZeltoApplication::GetParamArray(std::vector<TZeltoAppParam>& params) {
    return zelto::RunRequest(
        *ipc, zelto::METHOD_GET_PARAM_ARRAY,
        [&](zelto::TPlainWriter& body) { zelto::WriteNames(body, params); },
        [&](const std::string& answer) { zelto::ReadParams(answer, params); });
}

int TZeltoApplication::GetParamArray(const std::vector<std::string>& names,
                                     std::vector<std::vector<std::pair<std::string, std::string>>>& results) {
    TParams params;
    params.reserve(names.size());
    for (const std::string& name : names) {
        params.push_back({name, std::string()});
    }
    const int rc = GetParamArray(params);
    if (rc != 0) {
        return rc;
    }
    results.resize(names.size());
    const zelto::TRequestedNames requested(names);
    for (TZeltoAppParam& param : params) {
        const std::size_t index = requested.FirstMatch(param.name);
        if (index < results.size()) {
            results[index].emplace_back(std::move(param.name), std::move(param.value));
        }
    }
    return rc;
}

int TZeltoApplication::SetParamArray(const std::vector<TZeltoAppParam>& params, bool commit) {
    return zelto::RunRequest(*ipc, zelto::METHOD_SET_PARAM_ARRAY, [&](zelto::TPlainWriter& body) {
        zelto::WriteParams(body, params);
        // Beside the list, although the manager looks for it in each entry: both sides are fixed.
        body.Flag(zelto::KEY_COMMIT, commit);
    });
}

void TZeltoApplication::PopulateParamArray(const TZeltoJsonObject& response,
                                           std::vector<TZeltoAppParam>& params) {
    zelto::ReadEntries(zelto::ValueOf(response, zelto::KEY_PARAMS), params);
}

void TZeltoApplication::ParamArrayToJson(const std::vector<TZeltoAppParam>& params, TZeltoJsonObject& json) {
    zelto::TJsonHandle entries;
    for (const TZeltoAppParam& param : params) {
        zelto::AppendEntry(entries, zelto::MakeParamEntry(param.name, param.value));
    }
    SetParams(json, std::move(entries));
}
