// The one road by which requests reach the platform operations: decode, expand, call, encode.

#include "data/JsonHandle.h"
#include "platform/PlatformLib.h"
#include "platform/Wildcards.h"
#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"
#include "utils/Log.h"
#include "zelto/TZeltoJsonObject.h"
#include "zelto/ZeltoPlatformNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

namespace zelto {

namespace {

constexpr int SUCCESS = 0;
constexpr int FAILURE = -1;
constexpr const char* DEFAULT_OBJECT = "Device.";
constexpr char MARK = '@';

struct TFree {
    void operator()(void* memory) const { std::free(memory); }
};

std::string TextProperty(const TZeltoJsonObject& request, const char* key, const char* fallback = "") {
    const json_t* const value = ValueOf(request, key);
    return json_is_string(value) ? json_string_value(value) : fallback;
}

bool FlagProperty(const TZeltoJsonObject& request, const char* key) {
    return json_is_true(ValueOf(request, key));
}

std::string ObjectPath(const TZeltoJsonObject& request, const char* key) {
    std::string path = TextProperty(request, key, DEFAULT_OBJECT);
    if (path.empty() || path.back() != '.') {
        path += '.';
    }
    return path;
}

// A value that is not UTF-8 cannot be carried; one odd host name must not fail a whole table.
TJsonHandle MakeValue(const std::string& name, const std::string& value) {
    TJsonHandle text(json_string(value.c_str()));
    if (!text) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"The value of %s is not valid UTF-8\"", name.c_str());
        text.reset(json_null());
    }
    return text;
}

void AppendEntry(json_t* entries, const std::string& name, const std::string& value) {
    TJsonHandle entry = MakeNameEntry(name);
    // Can fail only for want of memory; the entry then lacks its value, which reads as empty.
    static_cast<void>(json_object_set_new(entry.get(), KEY_VALUE, MakeValue(name, value).release()));
    static_cast<void>(json_array_append_new(entries, entry.release()));
}

int ReadValue(const std::string& name, bool fromWildcard, std::string& value) {
    if (zeltoPlatLibGetParam(name, value, fromWildcard) != 0) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"zeltoPlatLibGetParam(%s) failed\"", name.c_str());
        return FAILURE;
    }
    return SUCCESS;
}

int WriteValue(const std::string& name, const std::string& value, bool commit, bool fromWildcard) {
    if (zeltoPlatLibSetParam(name, value, commit, fromWildcard) != 0) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"zeltoPlatLibSetParam(%s, %s) failed\"", name.c_str(),
                      value.c_str());
        return FAILURE;
    }
    return SUCCESS;
}

// Appends the entries that a name stands for. Answers are in the application's numbering.
int ReadNames(std::string requested, json_t* entries) {
    TExpandedNames expanded = ExpandName(std::move(requested));
    for (std::string& name : expanded.names) {
        std::string value;
        if (ReadValue(name, expanded.fromWildcard, value) != SUCCESS) {
            return FAILURE;
        }
        if (expanded.fromWildcard && name.front() != MARK) {
            referResponseIndexMap(name);
        }
        AppendEntry(entries, name, value);
    }
    return expanded.names.empty() ? FAILURE : SUCCESS;
}

int WriteNames(std::string requested, const std::string& value, bool commit) {
    const TExpandedNames expanded = ExpandName(std::move(requested));
    for (const std::string& name : expanded.names) {
        if (WriteValue(name, value, commit, expanded.fromWildcard) != SUCCESS) {
            return FAILURE;
        }
    }
    return expanded.names.empty() ? FAILURE : SUCCESS;
}

int GetParam(const TZeltoJsonObject& request, TZeltoJsonObject& answer) {
    TJsonHandle entries(json_array());
    if (ReadNames(TextProperty(request, KEY_NAME), entries.get()) != SUCCESS) {
        return FAILURE;
    }
    answer.SetJsonObject(KEY_PARAMS, entries.release());
    return SUCCESS;
}

int SetParam(const TZeltoJsonObject& request, TZeltoJsonObject&) {
    return WriteNames(TextProperty(request, KEY_NAME), TextProperty(request, KEY_VALUE),
                      FlagProperty(request, KEY_COMMIT));
}

int GetLongParam(const TZeltoJsonObject& request, TZeltoJsonObject& answer) {
    const std::string name = TextProperty(request, KEY_NAME);
    std::string value;
    if (ReadValue(name, false, value) != SUCCESS) {
        return FAILURE;
    }
    answer.SetJsonObject(KEY_VALUE, MakeValue(name, value).release());
    return SUCCESS;
}

int SetLongParam(const TZeltoJsonObject& request, TZeltoJsonObject&) {
    return WriteValue(TextProperty(request, KEY_NAME), TextProperty(request, KEY_VALUE),
                      FlagProperty(request, KEY_COMMIT), false);
}

int GetParamArray(const TZeltoJsonObject& request, TZeltoJsonObject& answer) {
    const json_t* const params = ValueOf(request, KEY_PARAMS);
    TJsonHandle entries(json_array());
    for (std::size_t i = 0; i < ElementCount(params); ++i) {
        if (ReadNames(TextOf(ElementAt(params, i), KEY_NAME), entries.get()) != SUCCESS) {
            return FAILURE;
        }
    }
    answer.SetJsonObject(KEY_PARAMS, entries.release());
    return SUCCESS;
}

int SetParamArray(const TZeltoJsonObject& request, TZeltoJsonObject&) {
    const json_t* const params = ValueOf(request, KEY_PARAMS);
    if (ElementCount(params) == 0) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s request without parameters\"",
                      METHOD_NAMES[METHOD_SET_PARAM_ARRAY]);
        return FAILURE;
    }
    for (std::size_t i = 0; i < ElementCount(params); ++i) {
        const json_t* const entry = ElementAt(params, i);
        // The flag of each element counts. One at the top, as applications send it, is not looked at.
        if (WriteNames(TextOf(entry, KEY_NAME), TextOf(entry, KEY_VALUE), FlagOf(entry, KEY_COMMIT)) !=
            SUCCESS) {
            return FAILURE;
        }
    }
    return SUCCESS;
}

// The elements of an object request, wildcards expanded in place. False when one of them expands to nothing.
bool ReadElements(const TZeltoJsonObject& request, std::vector<TZeltoPlatLibObject>& elements) {
    const json_t* const params = ValueOf(request, KEY_PARAMS);
    elements.reserve(ElementCount(params));
    for (std::size_t i = 0; i < ElementCount(params); ++i) {
        const json_t* const entry = ElementAt(params, i);
        TExpandedNames expanded = ExpandName(TextOf(entry, KEY_NAME));
        if (expanded.names.empty()) {
            return false;
        }
        for (std::string& name : expanded.names) {
            elements.push_back({std::move(name), TextOf(entry, KEY_VALUE), expanded.fromWildcard});
        }
    }
    return true;
}

int GetObject(const TZeltoJsonObject& request, TZeltoJsonObject& answer) {
    std::vector<TZeltoPlatLibObject> names;
    std::vector<std::pair<std::string, std::string>> result;
    if (!ReadElements(request, names) ||
        zeltoPlatLibGetObject(ObjectPath(request, KEY_ROOT).c_str(), names, result) != 0) {
        return FAILURE;
    }
    TJsonHandle entries(json_array());
    for (const auto& [name, value] : result) {
        AppendEntry(entries.get(), name, value);
    }
    answer.SetJsonObject(KEY_PARAMS, entries.release());
    return SUCCESS;
}

int SetObject(const TZeltoJsonObject& request, TZeltoJsonObject&) {
    std::vector<TZeltoPlatLibObject> params;
    if (!ReadElements(request, params)) {
        return FAILURE;
    }
    return zeltoPlatLibSetObject(ObjectPath(request, KEY_ROOT).c_str(), params,
                                 FlagProperty(request, KEY_COMMIT));
}

int AddObjectInstance(const TZeltoJsonObject& request, TZeltoJsonObject& answer) {
    int id = 0;
    if (zeltoPlatLibAddObjectInstance(ObjectPath(request, KEY_OBJ).c_str(), &id) != 0) {
        return FAILURE;
    }
    answer.SetJsonObject(KEY_ID, json_integer(id));
    return SUCCESS;
}

int DeleteObjectInstance(const TZeltoJsonObject& request, TZeltoJsonObject&) {
    return zeltoPlatLibDelObjectInstance(ObjectPath(request, KEY_OBJ).c_str());
}

int GetObjectInstances(const TZeltoJsonObject& request, TZeltoJsonObject& answer) {
    int count = 0;
    int* ids = nullptr;
    if (zeltoPlatLibGetObjectIds(ObjectPath(request, KEY_OBJ).c_str(), &count, &ids) != 0) {
        return FAILURE;
    }
    const std::unique_ptr<int, TFree> owned(ids);
    TJsonHandle array(json_array());
    for (int i = 0; i < count; ++i) {
        static_cast<void>(json_array_append_new(array.get(), json_integer(ids[i])));
    }
    answer.SetJsonObject(KEY_COUNT, json_integer(count));
    answer.SetJsonObject(KEY_IDS, array.release());
    return SUCCESS;
}

TJsonHandle MakeIndexPairs(const tZeltoNameIndexPairs& model) {
    TJsonHandle pairs(json_array());
    for (int32_t i = 0; i < model.count; ++i) {
        json_t* const pair = json_object();
        static_cast<void>(json_object_set_new(pair, KEY_APP_INDEX, json_integer(model.pairs[i].appIndex)));
        static_cast<void>(
            json_object_set_new(pair, KEY_PLATFORM_INDEX, json_integer(model.pairs[i].platformIndex)));
        static_cast<void>(json_array_append_new(pairs.get(), pair));
    }
    return pairs;
}

int GetIndexMap(const TZeltoJsonObject&, TZeltoJsonObject& answer) {
    TJsonHandle models(json_array());
    const std::size_t count = std::min(rootVector.size(), std::size(DataModelNameIndexPairs));
    for (std::size_t i = 0; i < count; ++i) {
        TJsonHandle model = MakeNameEntry(rootVector[i]);
        static_cast<void>(json_object_set_new(model.get(), KEY_INDEX_MAP,
                                              MakeIndexPairs(DataModelNameIndexPairs[i]).release()));
        static_cast<void>(json_array_append_new(models.get(), model.release()));
    }
    answer.SetJsonObject(KEY_DATA_MODELS, models.release());
    return SUCCESS;
}

struct TMethodRow {
    TRequestMethod method;
    // Fills the answer only on success; an answer left empty is not sent.
    int (*work)(const TZeltoJsonObject& request, TZeltoJsonObject& answer);
};

constexpr TMethodRow METHODS[] = {
    {METHOD_GET_PARAM, GetParam},
    {METHOD_SET_PARAM, SetParam},
    {METHOD_GET_LONG_PARAM, GetLongParam},
    {METHOD_SET_LONG_PARAM, SetLongParam},
    {METHOD_GET_PARAM_ARRAY, GetParamArray},
    {METHOD_SET_PARAM_ARRAY, SetParamArray},
    {METHOD_GET_OBJECT, GetObject},
    {METHOD_SET_OBJECT, SetObject},
    {METHOD_ADD_OBJECT_INSTANCE, AddObjectInstance},
    {METHOD_DELETE_OBJECT_INSTANCE, DeleteObjectInstance},
    {METHOD_GET_OBJECT_INSTANCES, GetObjectInstances},
    {METHOD_GET_INDEX_MAP, GetIndexMap},
};

constexpr bool FollowsMethodOrder() {
    for (std::size_t i = 0; i < std::size(METHODS); ++i) {
        if (METHODS[i].method != i) {
            return false;
        }
    }
    return std::size(METHODS) == METHOD_COUNT;
}

static_assert(FollowsMethodOrder(), "one row for each request method, in the order of their names");

const TMethodRow* FindMethod(const char* method) {
    const auto row =
        std::find_if(std::begin(METHODS), std::end(METHODS), [method](const TMethodRow& candidate) {
            return std::strcmp(METHOD_NAMES[candidate.method], method) == 0;
        });
    return row != std::end(METHODS) ? row : nullptr;
}

// Works a request; `*output` receives the answer text when there is one.
int WorkRequest(const TMethodRow& row, const char* input, char** output) {
    TZeltoJsonObject request;
    // A text that cannot be decoded reads as a request without keys. The index map's is not looked at.
    if (row.method != METHOD_GET_INDEX_MAP) {
        static_cast<void>(request.DecodeFromString(input));
    }
    TZeltoJsonObject answer;
    const int status = row.work(request, answer);
    if (status != SUCCESS || answer.IsEmpty()) {
        return status;
    }
    const std::string encoded = answer.EncodeToString();
    if (row.method == METHOD_GET_OBJECT) {
        qvLogging_log(LOG_LEVEL_DEBUG, "\"Response Value: %s\"", encoded.c_str());
    }
    char* const text = ::strdup(encoded.c_str());
    if (text == nullptr) {
        return FAILURE;
    }
    *output = text;
    return SUCCESS;
}

class TZeltoIpcMethodHandler : public IZeltoIpcMethodHandler {
public:
    int OnMethodCall(const std::string& method, const std::string& request, std::string& result) override {
        char* text = nullptr;
        const int status = zeltoPlatformMethodsHandler(method.c_str(), request.c_str(), &text);
        const std::unique_ptr<char, decltype(&zeltoPlatformDealloc)> owned(text, zeltoPlatformDealloc);
        result = text != nullptr ? text : "";
        return status;
    }
    ~TZeltoIpcMethodHandler() override = default;
};

// Made before and so destroyed after the transport object, whose threads call it until it stops.
__attribute__((init_priority(1000))) TZeltoIpcMethodHandler methodHandler;

} // namespace

IZeltoIpcMethodHandler* PlatformMethodHandler() {
    return &methodHandler;
}

} // namespace zelto

int zeltoPlatformMethodsHandler(const char* method, const char* input, char** output) {
    method = method != nullptr ? method : "";
    input = input != nullptr ? input : "";
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Method - %s requested, input - %s\"", method, input);
    const zelto::TMethodRow* const row = zelto::FindMethod(method);
    if (row == nullptr) {
        qvLogging_log(zelto::LOG_LEVEL_NOTICE, "\"Unknown request method %s\"", method);
        return -1;
    }
    return zelto::WorkRequest(*row, input, output);
}
