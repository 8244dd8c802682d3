// The body of a request, an answer or an event, read once: directly when it is of the plain shape, by jansson
// when it is not. The result is the same.
#ifndef ZELTO_PROTOCOL_MESSAGE_BODY_H
#define ZELTO_PROTOCOL_MESSAGE_BODY_H

#include "data/JsonHandle.h"
#include "protocol/PlainReader.h"

#include <string_view>
#include <vector>

namespace zelto {

class TMessageBody {
public:
    // A NUL must stand behind the text, and it must outlive the body, which refers to it. What cannot be
    // decoded has no keys.
    explicit TMessageBody(std::string_view text);

    // Whether the text could be decoded, to a document of whatever kind.
    bool IsDecoded() const { return isPlain || document; }
    // Without data when the key is missing or its value is no text.
    std::string_view Text(TBodyText key) const { return fields.texts[key]; }
    // "COMMIT" of the body itself.
    bool Commit() const { return fields.commit; }
    // The elements of "PARAMS", none when it is no list.
    const std::vector<TBodyEntry>& Params() const { return fields.params; }

private:
    TBodyFields fields;
    bool isPlain = false;
    TJsonHandle document; // what the fields refer to instead of the text, when jansson read it
};

} // namespace zelto

#endif
