// Reading and writing the pieces that JSON bodies are made of. Values are read through borrowed jansson
// values: a list is never copied element by element before it is looked at.
#ifndef ZELTO_PROTOCOL_PARAM_ENTRIES_H
#define ZELTO_PROTOCOL_PARAM_ENTRIES_H

#include "data/JsonHandle.h"
#include "zelto/TZeltoJsonObject.h"

#include <string>

namespace zelto {

// The document of a text; null when it is no JSON. Throws std::bad_alloc when memory runs out: a request must
// not be worked with the defaults of what could not be read.
TJsonHandle ParseDocument(const char* text);

// The text, flag or integer under a key of a JSON object; "" , false or 0 when it is missing or of another
// kind. A null `object` has no keys.
std::string TextOf(const json_t* object, const char* key);
bool FlagOf(const json_t* object, const char* key);
int IntegerOf(const json_t* object, const char* key);

// {"NAME": name, "VALUE": value}. Throws std::runtime_error when a text is not UTF-8; it names the parameter,
// and a name that is not UTF-8 itself up to there. Throws std::bad_alloc when memory runs out.
TJsonHandle MakeParamEntry(const std::string& name, const std::string& value);

// Number of elements of an array, 0 for any other kind, and one element, null past the end. Borrowed.
std::size_t ElementCount(const json_t* array);
json_t* ElementAt(const json_t* array, std::size_t index);

// The integer, 0 for any other kind and for null.
int IntegerValue(const json_t* value);

// Appends an entry; the array is created for the first one, so that an empty list stays null. Throws
// std::bad_alloc when memory runs out.
void AppendEntry(TJsonHandle& array, TJsonHandle entry);

// The value under a key of the body, of any kind; borrowed, null when missing.
json_t* ValueOf(const TZeltoJsonObject& body, const char* key);

} // namespace zelto

#endif
