#include "zelto/TZeltoJsonObject.h"

#include <jansson.h>

#include <cstdio>
#include <utility>

static_assert(JSON_PRESERVE_ORDER == 0x100, "texts and files are written in the order of insertion");

namespace {

constexpr int INDENT_MASK = 0x1F;

// jansson does not look whether the keys of objects could be written: a failure is kept here.
struct TEncoding {
    std::string text;
    bool isWhole = true;
};

int AppendPiece(const char* piece, std::size_t size, void* encoding) {
    auto& result = *static_cast<TEncoding*>(encoding);
    try {
        result.text.append(piece, size);
        return 0;
    } catch (...) { // the caller is C code
        result.isWhole = false;
        return -1;
    }
}

const json_t* AsJson(const void* value) {
    return static_cast<const json_t*>(value);
}

void Replace(json_t*& root, json_t* ownedRoot) {
    json_decref(root);
    root = ownedRoot;
}

} // namespace

TZeltoJsonObject::TZeltoJsonObject() : root(json_object()) {}

TZeltoJsonObject::TZeltoJsonObject(json_t* ownedRoot) : root(ownedRoot) {}

TZeltoJsonObject::TZeltoJsonObject(const TZeltoJsonObject& other) : root(json_deep_copy(other.root)) {}

TZeltoJsonObject& TZeltoJsonObject::operator=(const TZeltoJsonObject& other) {
    if (this != &other) {
        Replace(root, json_deep_copy(other.root));
    }
    return *this;
}

TZeltoJsonObject::~TZeltoJsonObject() {
    json_decref(root);
}

bool TZeltoJsonObject::DecodeFromString(const std::string& text) {
    if (text.empty()) {
        return false;
    }
    json_error_t error;
    Replace(root, json_loads(text.c_str(), 0, &error));
    return root != nullptr;
}

std::string TZeltoJsonObject::EncodeToString() const {
    TEncoding result;
    const bool isEncoded = json_dump_callback(root, AppendPiece, &result, JSON_PRESERVE_ORDER) == 0;
    return isEncoded && result.isWhole ? std::move(result.text) : std::string();
}

bool TZeltoJsonObject::LoadFile(const std::string& path) {
    json_error_t error;
    Replace(root, json_load_file(path.c_str(), 0, &error));
    return root != nullptr;
}

bool TZeltoJsonObject::DumpToFile(const std::string& path, int indent) const {
    const auto flags = static_cast<std::size_t>(indent & INDENT_MASK) | JSON_PRESERVE_ORDER;
    FILE* const file = std::fopen(path.c_str(), "we");
    if (file == nullptr) {
        return false;
    }
    const bool isWritten = json_dumpf(root, file, flags) == 0 && std::ferror(file) == 0;
    return std::fclose(file) == 0 && isWritten;
}

TZeltoJsonObject TZeltoJsonObject::GetObject(const std::string& name) const {
    return TZeltoJsonObject(json_deep_copy(json_object_get(root, name.c_str())));
}

TZeltoJsonObject TZeltoJsonObject::GetObjectRef(const std::string& name) const {
    return TZeltoJsonObject(json_incref(json_object_get(root, name.c_str())));
}

bool TZeltoJsonObject::IsEmpty() const {
    return json_object_iter(root) == nullptr;
}

bool TZeltoJsonObject::HasProperty(const std::string& name) const {
    return json_object_get(root, name.c_str()) != nullptr;
}

bool TZeltoJsonObject::RemoveProperty(const std::string& name) {
    return json_object_del(root, name.c_str()) == 0;
}

bool TZeltoJsonObject::Clear() {
    return json_object_clear(root) == 0;
}

tZeltoJsonType TZeltoJsonObject::GetPropertyType(const std::string& name) const {
    return GetJsonObjectType(json_object_get(root, name.c_str()));
}

tZeltoJsonType TZeltoJsonObject::GetSequenceType(const std::string& name) const {
    const json_t* const sequence = json_object_get(root, name.c_str());
    if (!json_is_array(sequence)) {
        return JSON_TYPE_INVALID;
    }
    const std::size_t size = json_array_size(sequence);
    if (size == 0) {
        return JSON_TYPE_NULL;
    }
    const tZeltoJsonType type = GetJsonObjectType(json_array_get(sequence, 0));
    for (std::size_t index = 1; index < size; ++index) {
        if (GetJsonObjectType(json_array_get(sequence, index)) != type) {
            return JSON_TYPE_INVALID;
        }
    }
    return type;
}

tZeltoJsonType TZeltoJsonObject::GetJsonObjectType(void* value) const {
    if (value == nullptr) {
        return JSON_TYPE_INVALID;
    }
    switch (json_typeof(AsJson(value))) {
    case JSON_OBJECT:
        return JSON_TYPE_OBJECT;
    case JSON_ARRAY:
        return JSON_TYPE_ARRAY;
    case JSON_STRING:
        return JSON_TYPE_STRING;
    case JSON_INTEGER:
        return JSON_TYPE_INTEGER;
    case JSON_REAL:
        return JSON_TYPE_REAL;
    case JSON_TRUE:
    case JSON_FALSE:
        return JSON_TYPE_BOOLEAN;
    case JSON_NULL:
        return JSON_TYPE_NULL;
    }
    return JSON_TYPE_INVALID;
}

std::vector<std::string> TZeltoJsonObject::GetProperties() const {
    std::vector<std::string> names;
    names.reserve(json_object_size(root));
    for (void* step = json_object_iter(root); step != nullptr; step = json_object_iter_next(root, step)) {
        names.emplace_back(json_object_iter_key(step));
    }
    return names;
}

void* TZeltoJsonObject::GetJsonObject(const std::string& name, unsigned int index) const {
    json_t* const property = json_object_get(root, name.c_str());
    // json_array_get gives null past the end and for other kinds: then the property itself is the answer.
    json_t* const element = json_array_get(property, index);
    return element != nullptr ? element : property;
}

int TZeltoJsonObject::SetJsonObject(const std::string& name, void* value) {
    json_t* const stored = value != nullptr ? static_cast<json_t*>(value) : json_null();
    return json_object_set_new(root, name.c_str(), stored);
}

unsigned int TZeltoJsonObject::GetJsonArraySize(const std::string& name) const {
    return static_cast<unsigned int>(json_array_size(json_object_get(root, name.c_str())));
}

int TZeltoJsonObject::AppendJsonArray(void** array, void* value) {
    if (*array == nullptr) {
        *array = json_array();
    }
    return json_array_append_new(static_cast<json_t*>(*array), static_cast<json_t*>(value));
}
