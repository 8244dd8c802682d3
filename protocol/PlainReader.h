// Reads the texts that this library itself writes, without building a document: one object with keys of the
// protocol, each at most once, and strings without escapes. Everything else is left to jansson.
#ifndef ZELTO_PROTOCOL_PLAIN_READER_H
#define ZELTO_PROTOCOL_PLAIN_READER_H

#include "protocol/RequestNames.h"

#include <string_view>
#include <vector>

namespace zelto {

// The texts of a body that are read on the hot roads.
enum TBodyText : unsigned {
    BODY_NAME,
    BODY_VALUE,
    BODY_ROOT,
    BODY_OBJ,
    BODY_MAC_ADDRESS,
    BODY_HOST_NAME,
    BODY_DATA_MODEL_NAME,
    BODY_DATA_MODEL_VALUE,
    BODY_TEXT_COUNT
};

// One element of "PARAMS". What is missing or of another kind is empty or false.
struct TBodyEntry {
    std::string_view name;
    std::string_view value;
    bool commit = false;
};

// What a body holds; the views point into its text. A text that is missing or of another kind is a view
// without data, one that is there and empty has data.
struct TBodyFields {
    std::string_view texts[BODY_TEXT_COUNT];
    bool commit = false;
    std::vector<TBodyEntry> params;
};

// The JSON key of each text.
constexpr std::string_view BODY_TEXT_KEYS[BODY_TEXT_COUNT] = {KEY_NAME,
                                                              KEY_VALUE,
                                                              KEY_ROOT,
                                                              KEY_OBJ,
                                                              KEY_MAC_ADDRESS,
                                                              KEY_HOST_NAME,
                                                              KEY_DATA_MODEL_NAME,
                                                              KEY_DATA_MODEL_VALUE};

// Returns false when the text is not of the plain shape; `fields` is then half written.
bool ReadPlain(std::string_view text, TBodyFields& fields);

} // namespace zelto

#endif
