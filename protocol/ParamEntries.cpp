#include "protocol/ParamEntries.h"

#include "protocol/PlainText.h"
#include "protocol/RequestNames.h"

#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace zelto {

namespace {

constexpr unsigned int WHOLE_PROPERTY = ~0U;

// Only a want of memory makes it fail, that for the object before it included.
void SetNew(json_t* object, const char* key, TJsonHandle value) {
    if (json_object_set_new(object, key, value.release()) != 0) {
        throw std::bad_alloc();
    }
}

bool BeginsWith(const char* text, const char* beginning) {
    return std::strncmp(text, beginning, std::strlen(beginning)) == 0;
}

// jansson has no word of its own for most of these. Without memory it either says nothing or calls a string
// that it has read to its end no token; what is wrong with a string is always said.
bool IsOutOfMemory(const json_error_t& error, const char* text) {
    if (error.text[0] == '\0') {
        return true;
    }
    return (BeginsWith(error.text, "invalid token") || BeginsWith(error.text, "string or '}' expected")) &&
           error.position > 0 && text[error.position - 1] == '"';
}

// Up to the NUL with which every text of the protocol ends.
bool IsUtf8(const std::string& text) {
    const std::string_view carried = text.c_str();
    return Utf8Beginning(carried).size() == carried.size();
}

// Of a text that is UTF-8: without that, jansson has no word for a want of memory.
TJsonHandle MakeText(const std::string& text) {
    TJsonHandle value(json_string(text.c_str()));
    if (!value) {
        throw std::bad_alloc();
    }
    return value;
}

// What a document must begin with. jansson would read other texts far, at 25 ms for each megabyte.
bool CanBeDocument(const char* text) {
    const char first = text[std::strspn(text, " \t\n\r")];
    return first == '{' || first == '[';
}

} // namespace

TJsonHandle ParseDocument(const char* text) {
    if (!CanBeDocument(text)) {
        return nullptr;
    }
    json_error_t error{};
    TJsonHandle document(json_loads(text, 0, &error));
    if (!document && IsOutOfMemory(error, text)) {
        throw std::bad_alloc();
    }
    return document;
}

std::string TextOf(const json_t* object, const char* key) {
    const char* const text = json_string_value(json_object_get(object, key));
    return text != nullptr ? text : std::string();
}

bool FlagOf(const json_t* object, const char* key) {
    return json_is_true(json_object_get(object, key));
}

int IntegerOf(const json_t* object, const char* key) {
    return IntegerValue(json_object_get(object, key));
}

TJsonHandle MakeParamEntry(const std::string& name, const std::string& value) {
    if (!IsUtf8(name)) {
        throw std::runtime_error(NameNotUtf8("parameter name", name));
    }
    if (!IsUtf8(value)) {
        throw std::runtime_error(NotUtf8(name.c_str()));
    }
    TJsonHandle entry(json_object());
    SetNew(entry.get(), KEY_NAME, MakeText(name));
    SetNew(entry.get(), KEY_VALUE, MakeText(value));
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
        throw std::bad_alloc();
    }
}

json_t* ValueOf(const TZeltoJsonObject& body, const char* key) {
    return static_cast<json_t*>(body.GetJsonObject(key, WHOLE_PROPERTY));
}

} // namespace zelto
