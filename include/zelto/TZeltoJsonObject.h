// The JSON document in which every request, answer and event body is built and read.
#ifndef ZELTO_JSON_OBJECT_H
#define ZELTO_JSON_OBJECT_H

#include "zelto/Export.h"

#include <string>
#include <vector>

struct json_t;

// Kinds of JSON values. Note that true and false are one kind, and that null comes after them.
enum tZeltoJsonType : int {
    JSON_TYPE_OBJECT = 0,
    JSON_TYPE_ARRAY = 1,
    JSON_TYPE_STRING = 2,
    JSON_TYPE_INTEGER = 3,
    JSON_TYPE_REAL = 4,
    JSON_TYPE_BOOLEAN = 5,
    JSON_TYPE_NULL = 6,
    JSON_TYPE_INVALID = 7 // a missing value
};

// Owns one jansson value, the root. The root may be null (no document): then every reader gives its default
// and every setter fails. Copies are deep. An object is used by one thread at a time, together with all
// objects that share values with it through GetObjectRef. Nothing is logged. Without memory a new object or
// copy has no document; nothing throws but std::bad_alloc, and that only GetProperties and
// GetJsonValue<std::string>.
class ZELTO_API TZeltoJsonObject {
public:
    // An empty JSON object.
    TZeltoJsonObject();
    TZeltoJsonObject(const TZeltoJsonObject& other);
    TZeltoJsonObject& operator=(const TZeltoJsonObject& other);
    // The order of virtual functions is binary interface.
    virtual ~TZeltoJsonObject();

    // Replaces the document by the parsed text. Returns whether it parsed; the root is null when it did not.
    // The empty text returns false and changes nothing.
    bool DecodeFromString(const std::string& text);
    // One line, keys in the order they were set; "" when there is no document or it cannot be encoded.
    std::string EncodeToString() const;
    // As DecodeFromString, from a file. A missing or malformed file leaves no document.
    bool LoadFile(const std::string& path);
    // Writes the document to a file, indented by the low five bits of `indent` (0 to 31 spaces).
    bool DumpToFile(const std::string& path, int indent) const;

    // A deep copy of the named property, of any kind; no document when it is missing.
    TZeltoJsonObject GetObject(const std::string& name) const;
    // The named property itself: changes through either object are seen by both. That holds for an object
    // that is initialised with the result; to assign the result to one makes a deep copy as always.
    TZeltoJsonObject GetObjectRef(const std::string& name) const;
    // True for an empty object, a root that is no object, and no document.
    bool IsEmpty() const;
    bool HasProperty(const std::string& name) const;
    // Returns whether the property was there.
    bool RemoveProperty(const std::string& name);
    // Removes all properties. Returns false when the root is no object.
    bool Clear();
    tZeltoJsonType GetPropertyType(const std::string& name) const;
    // The kind of all elements of an array: JSON_TYPE_NULL for an empty one, JSON_TYPE_INVALID for mixed
    // kinds or when the property is no array.
    tZeltoJsonType GetSequenceType(const std::string& name) const;
    // The kind of a json_t; null gives JSON_TYPE_INVALID.
    tZeltoJsonType GetJsonObjectType(void* value) const;
    // Names of the properties, in order.
    std::vector<std::string> GetProperties() const;

    // The json_t of a property (null when missing); of an array, its element at `index`. An index past the
    // end yields the array itself: the index -1 fetches a property whatever its kind. It is borrowed: it
    // lives until it is replaced or removed where it stands, or the last object goes that holds or shares
    // what it stands in. A json_incref of the caller's keeps it longer.
    void* GetJsonObject(const std::string& name, unsigned int index) const;
    // Sets a property to a json_t, taking over the caller's reference, on failure too; null stores JSON null,
    // also the null of a ToJson that failed. Returns 0 or -1.
    int SetJsonObject(const std::string& name, void* value);
    // 0 when the property is missing or no array.
    unsigned int GetJsonArraySize(const std::string& name) const;
    // Appends a json_t to an array, taking over the caller's reference, on failure too; null is a failure. A
    // null `*array` is created first; it belongs to the caller until SetJsonObject takes it over. Returns 0
    // or -1.
    int AppendJsonArray(void** array, void* value);

    // Converts a json_t to T, or gives `defaultValue` when it is null or of another kind. There is no
    // conversion between texts and numbers. T is one of: TZeltoJsonObject (objects only), bool, const char*
    // (borrowed from the value), std::string, unsigned short, int and long (cut to 16, 32 and 32 bits), long
    // long, double (reals and integers).
    template <typename T>
    T GetJsonValue(const void* value, const T& defaultValue) const;

    // A new json_t that the caller owns. T is one of: const char*, std::string, char (its number), unsigned
    // short, int, unsigned int, long, unsigned long, long long, double, TZeltoJsonObject (a deep copy), bool.
    // A null text, a text that is not UTF-8, NaN, infinity and an object without a document give null.
    template <typename T>
    json_t* ToJson(const T& value) const;
    json_t* ToJson(const char* text) const;
    json_t* ToJson(char* text) const;

private:
    // Takes over the reference to `ownedRoot`.
    explicit TZeltoJsonObject(json_t* ownedRoot);

    json_t* root;
};

#endif
