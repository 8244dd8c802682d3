#include "app/RequestBodies.h"

#include "ipc/TextLimit.h"
#include "protocol/MessageBody.h"
#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"
#include "utils/FixedText.h"

#include <algorithm>

namespace zelto {

namespace {

// Room for an entry with a name and a value of common length. Nobody sends more of them than the limit takes.
constexpr std::size_t TYPICAL_ENTRY_SIZE = 80;
constexpr std::size_t MOST_TYPICAL_ENTRIES = MAX_TEXT_LENGTH / TYPICAL_ENTRY_SIZE;

// One entry for each parameter, with the keys that `writeKeys(param)` writes.
template <typename TParam, typename TWriteKeys>
void WriteEntries(TPlainWriter& body, const TParam* params, std::size_t count, const TWriteKeys& writeKeys) {
    if (count == 0) {
        body.Null(KEY_PARAMS);
        return;
    }
    body.Reserve(std::min(count, MOST_TYPICAL_ENTRIES) * TYPICAL_ENTRY_SIZE);
    body.BeginList(KEY_PARAMS);
    std::for_each(params, params + count, [&](const TParam& param) {
        body.BeginObject();
        writeKeys(param);
        body.EndObject();
    });
    body.EndList();
}

} // namespace

void WriteName(TPlainWriter& body, std::string_view name) {
    body.Name(KEY_NAME, name, "parameter name");
}

void WriteAssignment(TPlainWriter& body, std::string_view name, std::string_view value, bool commit) {
    WriteName(body, name);
    body.Text(KEY_VALUE, value, name);
    body.Flag(KEY_COMMIT, commit);
}

void WriteNames(TPlainWriter& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params) {
    WriteEntries(body, params.data(), params.size(),
                 [&](const TZeltoApplication::TZeltoAppParam& param) { WriteName(body, param.name); });
}

void WriteNames(TPlainWriter& body, const tZeltoParamArray& params) {
    WriteEntries(body, params.params, params.count,
                 [&](const tZeltoParam& param) { WriteName(body, ViewField(param.name)); });
}

void WriteParams(TPlainWriter& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params) {
    WriteEntries(body, params.data(), params.size(), [&](const TZeltoApplication::TZeltoAppParam& param) {
        WriteName(body, param.name);
        body.Text(KEY_VALUE, param.value, param.name);
    });
}

void WritePath(TPlainWriter& body, std::string_view key, std::string_view path) {
    body.Name(key, path, "object path");
}

void ReadParams(const std::string& answer, std::vector<TZeltoApplication::TZeltoAppParam>& params) {
    const TMessageBody response(answer);
    const std::vector<TBodyEntry>& entries = response.Params();
    params.resize(entries.size());
    for (std::size_t index = 0; index < params.size(); ++index) {
        params[index].value = entries[index].value;
        params[index].name = entries[index].name;
    }
}

void ReadEntries(const json_t* entries, std::vector<TZeltoApplication::TZeltoAppParam>& params) {
    params.resize(ElementCount(entries));
    for (std::size_t index = 0; index < params.size(); ++index) {
        const json_t* const entry = ElementAt(entries, index);
        params[index].value = TextOf(entry, KEY_VALUE);
        params[index].name = TextOf(entry, KEY_NAME);
    }
}

} // namespace zelto
