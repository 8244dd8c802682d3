// The JSON texts that go to the manager and come from it.
#ifndef ZELTO_TOOL_BODIES_H
#define ZELTO_TOOL_BODIES_H

#include "zelto/TZeltoJsonObject.h"

#include <string>
#include <vector>

namespace tool {

struct TParam {
    std::string name;
    std::string value;
};

using TNames = std::vector<std::string>;
using TParams = std::vector<TParam>;
using TObjects = std::vector<TZeltoJsonObject>;

// Sets a property. Throws std::runtime_error when the text cannot be carried: it is not UTF-8 or has a NUL.
void SetText(TZeltoJsonObject& object, const std::string& key, const std::string& text);
void SetBoolean(TZeltoJsonObject& object, const std::string& key, bool value);
void SetInteger(TZeltoJsonObject& object, const std::string& key, int value);
void SetList(TZeltoJsonObject& object, const std::string& key, const TObjects& elements);

// What is missing, or of another kind, reads as empty.
TZeltoJsonObject Decode(const std::string& text);
std::string GetText(const TZeltoJsonObject& object, const std::string& key);
int GetInteger(const TZeltoJsonObject& object, const std::string& key);
TObjects GetList(const TZeltoJsonObject& object, const std::string& key);
std::vector<int> GetIntegers(const TZeltoJsonObject& object, const std::string& key);

// {"NAME": name}
TZeltoJsonObject NameEntry(const std::string& name);
// {"NAME": name, "VALUE": value}
TZeltoJsonObject ParamEntry(const TParam& param);

} // namespace tool

#endif
