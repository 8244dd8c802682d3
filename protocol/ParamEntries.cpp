#include "protocol/ParamEntries.h"

#include "protocol/RequestNames.h"

#include <stdexcept>
#include <utility>

namespace zelto {

namespace {

constexpr unsigned int WHOLE_PROPERTY = ~0U;

void SetNew(json_t* object, const char* key, TJsonHandle value) {
    if (json_object_set_new(object, key, value.release()) != 0) {
        throw std::runtime_error(std::string("cannot set the key ") + key);
    }
}

std::string TextValue(const json_t* value) {
    return json_is_string(value) ? json_string_value(value) : std::string();
}

} // namespace

std::string TextOf(const json_t* object, const char* key) {
    return TextValue(json_object_get(object, key));
}

bool FlagOf(const json_t* object, const char* key) {
    return json_is_true(json_object_get(object, key));
}

int IntegerOf(const json_t* object, const char* key) {
    return IntegerValue(json_object_get(object, key));
}

TJsonHandle MakeText(const std::string& text, const std::string& what) {
    // The length ends at a NUL, as it does in every text of the protocol.
    TJsonHandle value(json_string(text.c_str()));
    if (!value) {
        throw std::runtime_error(what + ": the text is not valid UTF-8");
    }
    return value;
}

TJsonHandle MakeNameEntry(const std::string& name) {
    TJsonHandle entry(json_object());
    SetNew(entry.get(), KEY_NAME, MakeText(name, "parameter name"));
    return entry;
}

TJsonHandle MakeParamEntry(const std::string& name, const std::string& value) {
    TJsonHandle entry = MakeNameEntry(name);
    SetNew(entry.get(), KEY_VALUE, MakeText(value, name));
    return entry;
}

std::size_t ElementCount(const json_t* array) {
    return json_array_size(array);
}

json_t* ElementAt(const json_t* array, std::size_t index) {
    return json_array_get(array, index);
}

int IntegerValue(const json_t* value) {
    return static_cast<int>(json_integer_value(value));
}

void AppendEntry(TJsonHandle& array, TJsonHandle entry) {
    if (!array) {
        array.reset(json_array());
    }
    if (json_array_append_new(array.get(), entry.release()) != 0) {
        throw std::runtime_error("cannot append to a JSON array");
    }
}

json_t* ValueOf(const TZeltoJsonObject& body, const char* key) {
    return static_cast<json_t*>(body.GetJsonObject(key, WHOLE_PROPERTY));
}

std::string TextIn(const TZeltoJsonObject& body, const char* key) {
    return TextValue(ValueOf(body, key));
}

} // namespace zelto
