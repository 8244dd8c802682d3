// The one road by which requests reach the platform operations: decode, expand, call, encode.

#include "ipc/TextLimit.h"
#include "platform/NameSegments.h"
#include "platform/ObjectElements.h"
#include "platform/PlatformLib.h"
#include "platform/Wildcards.h"
#include "protocol/MessageBody.h"
#include "protocol/PlainWriter.h"
#include "protocol/RequestNames.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

namespace zelto {

namespace {

constexpr int SUCCESS = 0;
constexpr int FAILURE = -1;
constexpr std::string_view DEFAULT_OBJECT = "Device.";
// Room for an entry with a name and a value of common length. A request may be refused at its first name, so
// room for a longer list than this is made once it is needed.
constexpr std::size_t TYPICAL_ENTRY_SIZE = 80;
constexpr std::size_t LONG_LIST = 4096;

std::string TextProperty(const TMessageBody& request, TBodyText key) {
    return std::string(request.Text(key));
}

std::string ObjectPath(const TMessageBody& request, TBodyText key) {
    const std::string_view given = request.Text(key);
    std::string path(given.data() != nullptr ? given : DEFAULT_OBJECT);
    if (path.empty() || path.back() != '.') {
        path += '.';
    }
    return path;
}

void WriteName(TPlainWriter& answer, const std::string& name) {
    answer.Text(KEY_NAME, name, "parameter name");
}

// A value that is not UTF-8 cannot be carried; one odd host name must not fail a whole table.
void WriteValue(TPlainWriter& answer, const std::string& name, const std::string& value) {
    if (!answer.TextOrNull(KEY_VALUE, value)) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"The value of %s is not valid UTF-8\"", name.c_str());
    }
}

void WriteEntry(TPlainWriter& answer, const std::string& name, const std::string& value) {
    answer.BeginObject();
    WriteName(answer, name);
    WriteValue(answer, name, value);
    answer.EndObject();
}

int ReadValue(const std::string& name, bool fromWildcard, std::string& value) {
    if (zeltoPlatLibGetParam(name, value, fromWildcard) != 0) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"zeltoPlatLibGetParam(%s) failed\"", name.c_str());
        return FAILURE;
    }
    return SUCCESS;
}

int SetValue(const std::string& name, const std::string& value, bool commit, bool fromWildcard) {
    if (zeltoPlatLibSetParam(name, value, commit, fromWildcard) != 0) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"zeltoPlatLibSetParam(%s, %s) failed\"", name.c_str(),
                      value.c_str());
        return FAILURE;
    }
    return SUCCESS;
}

int ReadEntry(const std::string& name, TPlainWriter& answer) {
    std::string value;
    if (ReadValue(name, false, value) != SUCCESS) {
        return FAILURE;
    }
    WriteEntry(answer, name, value);
    return SUCCESS;
}

// Whether a list of entries is longer than any answer that can be sent. It is then given up, or a small
// request would have gigabytes made for nothing.
bool IsTooLong(const TPlainWriter& answer) {
    constexpr std::string_view ENDING = "]}";
    return answer.Size() + ENDING.size() > MAX_TEXT_LENGTH;
}

// Answers are in the application's numbering.
int ReadInstances(const std::string& wildcard, TPlainWriter& answer) {
    const TInstanceNames names(wildcard);
    std::string name;
    for (std::size_t i = 0; i < names.Count(); ++i) {
        names.Write(i, name);
        std::string value;
        if (ReadValue(name, true, value) != SUCCESS) {
            return FAILURE;
        }
        if (!IsMarked(name)) {
            referResponseIndexMap(name);
        }
        WriteEntry(answer, name, value);
        if (IsTooLong(answer)) {
            return FAILURE;
        }
    }
    return names.Count() > 0 ? SUCCESS : FAILURE;
}

// Writes the entries that a name stands for.
int ReadNames(const std::string& requested, TPlainWriter& answer) {
    return IsWildcard(requested) ? ReadInstances(requested, answer) : ReadEntry(requested, answer);
}

int SetInstances(const std::string& wildcard, const std::string& value, bool commit) {
    const TInstanceNames names(wildcard);
    std::string name;
    for (std::size_t i = 0; i < names.Count(); ++i) {
        names.Write(i, name);
        if (SetValue(name, value, commit, true) != SUCCESS) {
            return FAILURE;
        }
    }
    return names.Count() > 0 ? SUCCESS : FAILURE;
}

int SetNames(const std::string& requested, const std::string& value, bool commit) {
    return IsWildcard(requested) ? SetInstances(requested, value, commit)
                                 : SetValue(requested, value, commit, false);
}

int GetParam(const TMessageBody& request, TPlainWriter& answer) {
    answer.BeginList(KEY_PARAMS);
    const int status = ReadNames(TextProperty(request, BODY_NAME), answer);
    answer.EndList();
    return status;
}

int SetParam(const TMessageBody& request, TPlainWriter&) {
    return SetNames(TextProperty(request, BODY_NAME), TextProperty(request, BODY_VALUE), request.Commit());
}

int GetLongParam(const TMessageBody& request, TPlainWriter& answer) {
    const std::string name = TextProperty(request, BODY_NAME);
    std::string value;
    if (ReadValue(name, false, value) != SUCCESS) {
        return FAILURE;
    }
    WriteValue(answer, name, value);
    return SUCCESS;
}

int SetLongParam(const TMessageBody& request, TPlainWriter&) {
    return SetValue(TextProperty(request, BODY_NAME), TextProperty(request, BODY_VALUE), request.Commit(),
                    false);
}

int GetParamArray(const TMessageBody& request, TPlainWriter& answer) {
    answer.Reserve(std::min(request.Params().size(), LONG_LIST) * TYPICAL_ENTRY_SIZE);
    answer.BeginList(KEY_PARAMS);
    std::string name;
    for (const TBodyEntry& entry : request.Params()) {
        name = entry.name;
        if (ReadNames(name, answer) != SUCCESS || IsTooLong(answer)) {
            return FAILURE;
        }
    }
    answer.EndList();
    return SUCCESS;
}

int SetParamArray(const TMessageBody& request, TPlainWriter&) {
    if (request.Params().empty()) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s request without parameters\"",
                      METHOD_NAMES[METHOD_SET_PARAM_ARRAY]);
        return FAILURE;
    }
    for (const TBodyEntry& entry : request.Params()) {
        // The flag of each element counts. One at the top, as applications send it, is not looked at.
        if (SetNames(std::string(entry.name), std::string(entry.value), entry.commit) != SUCCESS) {
            return FAILURE;
        }
    }
    return SUCCESS;
}

int GetObject(const TMessageBody& request, TPlainWriter& answer) {
    std::vector<TZeltoPlatLibObject> names;
    std::vector<std::pair<std::string, std::string>> result;
    if (!ReadElements(METHOD_GET_OBJECT, request, names) ||
        zeltoPlatLibGetObject(ObjectPath(request, BODY_ROOT).c_str(), names, result) != 0) {
        return FAILURE;
    }
    answer.BeginList(KEY_PARAMS);
    for (const auto& [name, value] : result) {
        WriteEntry(answer, name, value);
        if (IsTooLong(answer)) {
            return FAILURE;
        }
    }
    answer.EndList();
    return SUCCESS;
}

int SetObject(const TMessageBody& request, TPlainWriter&) {
    std::vector<TZeltoPlatLibObject> params;
    if (!ReadElements(METHOD_SET_OBJECT, request, params)) {
        return FAILURE;
    }
    return zeltoPlatLibSetObject(ObjectPath(request, BODY_ROOT).c_str(), params, request.Commit());
}

int AddObjectInstance(const TMessageBody& request, TPlainWriter& answer) {
    int id = 0;
    if (zeltoPlatLibAddObjectInstance(ObjectPath(request, BODY_OBJ).c_str(), &id) != 0) {
        return FAILURE;
    }
    answer.Integer(KEY_ID, id);
    return SUCCESS;
}

int DeleteObjectInstance(const TMessageBody& request, TPlainWriter&) {
    return zeltoPlatLibDelObjectInstance(ObjectPath(request, BODY_OBJ).c_str());
}

int GetObjectInstances(const TMessageBody& request, TPlainWriter& answer) {
    int count = 0;
    int* ids = nullptr;
    if (zeltoPlatLibGetObjectIds(ObjectPath(request, BODY_OBJ).c_str(), &count, &ids) != 0) {
        return FAILURE;
    }
    const std::unique_ptr<int, TFree> owned(ids);
    answer.Integer(KEY_COUNT, count);
    answer.BeginList(KEY_IDS);
    std::for_each(ids, ids + count, [&answer](int id) { answer.Element(id); });
    answer.EndList();
    return SUCCESS;
}

void WriteIndexPairs(TPlainWriter& answer, const tZeltoNameIndexPairs& model) {
    answer.BeginList(KEY_INDEX_MAP);
    for (int32_t i = 0; i < model.count; ++i) {
        answer.BeginObject();
        answer.Integer(KEY_APP_INDEX, model.pairs[i].appIndex);
        answer.Integer(KEY_PLATFORM_INDEX, model.pairs[i].platformIndex);
        answer.EndObject();
    }
    answer.EndList();
}

int GetIndexMap(const TMessageBody&, TPlainWriter& answer) {
    const std::size_t count = std::min(rootVector.size(), std::size(DataModelNameIndexPairs));
    answer.BeginList(KEY_DATA_MODELS);
    for (std::size_t i = 0; i < count; ++i) {
        answer.BeginObject();
        WriteName(answer, rootVector[i]);
        WriteIndexPairs(answer, DataModelNameIndexPairs[i]);
        answer.EndObject();
    }
    answer.EndList();
    return SUCCESS;
}

struct TMethodRow {
    TRequestMethod method;
    // What is written is sent on success only; an answer without keys is not sent.
    int (*work)(const TMessageBody& request, TPlainWriter& answer);
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

int WorkRequest(const TMethodRow& row, std::string_view input, std::string& output) {
    // The index map's request is not looked at.
    const TMessageBody request(row.method != METHOD_GET_INDEX_MAP ? input : "{}");
    if (!request.IsDecoded()) {
        // Its keys take their defaults, so some requests succeed all the same.
        qvLogging_log(LOG_LEVEL_NOTICE, "\"The request of %s is no JSON\"", METHOD_NAMES[row.method]);
    }
    TPlainWriter answer;
    const int status = row.work(request, answer);
    if (status != SUCCESS && IsTooLong(answer)) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"The answer of %s is longer than 16 MiB\"",
                      METHOD_NAMES[row.method]);
    }
    if (status != SUCCESS || answer.IsEmpty()) {
        return status;
    }
    output = answer.Take();
    if (row.method == METHOD_GET_OBJECT) {
        qvLogging_log(LOG_LEVEL_DEBUG, "\"Response Value: %s\"", output.c_str());
    }
    return SUCCESS;
}

// Answers a request; `output` becomes the text of the answer and stays as it was when there is none. A NUL
// stands behind `input`.
int HandleMethod(const char* method, std::string_view input, std::string& output) {
    qvLogging_log(LOG_LEVEL_DEBUG, "\"Method - %s requested, input - %s\"", method, input.data());
    const TMethodRow* const row = FindMethod(method);
    if (row == nullptr) {
        qvLogging_log(LOG_LEVEL_NOTICE, "\"Unknown request method %s\"", method);
        return FAILURE;
    }
    return WorkRequest(*row, input, output);
}

class TZeltoIpcMethodHandler : public IZeltoIpcMethodHandler {
public:
    int OnMethodCall(const std::string& method, const std::string& request, std::string& result) override {
        result.clear();
        return HandleMethod(method.c_str(), request, result);
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
    std::string answer;
    const int status =
        zelto::HandleMethod(method != nullptr ? method : "", input != nullptr ? input : "", answer);
    if (answer.empty()) {
        return status;
    }
    char* const text = ::strdup(answer.c_str());
    if (text == nullptr) {
        return zelto::FAILURE;
    }
    *output = text;
    return status;
}
