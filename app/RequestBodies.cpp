#include "app/RequestBodies.h"

#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"

namespace zelto {

void SetName(TZeltoJsonObject& body, const std::string& name) {
    SetText(body, KEY_NAME, name, "parameter name");
}

void SetAssignment(TZeltoJsonObject& body, const std::string& name, const std::string& value, bool commit) {
    SetName(body, name);
    SetText(body, KEY_VALUE, value, name);
    SetFlag(body, KEY_COMMIT, commit);
}

void SetNames(TZeltoJsonObject& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params) {
    TJsonHandle entries;
    for (const TZeltoApplication::TZeltoAppParam& param : params) {
        AppendEntry(entries, MakeNameEntry(param.name));
    }
    body.SetJsonObject(KEY_PARAMS, entries.release());
}

} // namespace zelto
