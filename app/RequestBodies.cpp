#include "app/RequestBodies.h"

#include "protocol/MessageBody.h"
#include "protocol/RequestNames.h"

namespace zelto {

namespace {

// Room for an entry with a name and a value of common length.
constexpr std::size_t TYPICAL_ENTRY_SIZE = 80;

// One entry for each parameter, with the keys that `writeKeys(param)` writes.
template <typename TWriteKeys>
void WriteEntries(TPlainWriter& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params,
                  const TWriteKeys& writeKeys) {
    if (params.empty()) {
        body.Null(KEY_PARAMS);
        return;
    }
    body.Reserve(params.size() * TYPICAL_ENTRY_SIZE);
    body.BeginList(KEY_PARAMS);
    for (const TZeltoApplication::TZeltoAppParam& param : params) {
        body.BeginObject();
        writeKeys(param);
        body.EndObject();
    }
    body.EndList();
}

} // namespace

void WriteName(TPlainWriter& body, const std::string& name) {
    body.Text(KEY_NAME, name, "parameter name");
}

void WriteAssignment(TPlainWriter& body, const std::string& name, const std::string& value, bool commit) {
    WriteName(body, name);
    body.Text(KEY_VALUE, value, name.c_str());
    body.Flag(KEY_COMMIT, commit);
}

void WriteNames(TPlainWriter& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params) {
    WriteEntries(body, params,
                 [&](const TZeltoApplication::TZeltoAppParam& param) { WriteName(body, param.name); });
}

void WriteParams(TPlainWriter& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params) {
    WriteEntries(body, params, [&](const TZeltoApplication::TZeltoAppParam& param) {
        WriteName(body, param.name);
        body.Text(KEY_VALUE, param.value, param.name.c_str());
    });
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

TZeltoJsonObject Decoded(const std::string& answer) {
    TZeltoJsonObject response;
    (void)response.DecodeFromString(answer);
    return response;
}

} // namespace zelto
