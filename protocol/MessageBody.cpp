#include "protocol/MessageBody.h"

#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"

namespace zelto {

namespace {

std::string_view ViewOf(const json_t* object, const char* key) {
    const json_t* const value = json_object_get(object, key);
    return {json_string_value(value), json_string_length(value)};
}

TBodyFields FieldsOf(const json_t* document) {
    TBodyFields fields;
    for (unsigned text = 0; text < BODY_TEXT_COUNT; ++text) {
        fields.texts[text] = ViewOf(document, BODY_TEXT_KEYS[text].data());
    }
    fields.commit = FlagOf(document, KEY_COMMIT);
    const json_t* const params = json_object_get(document, KEY_PARAMS);
    fields.params.resize(ElementCount(params));
    for (std::size_t i = 0; i < fields.params.size(); ++i) {
        const json_t* const entry = ElementAt(params, i);
        fields.params[i] = {ViewOf(entry, KEY_NAME), ViewOf(entry, KEY_VALUE), FlagOf(entry, KEY_COMMIT)};
    }
    return fields;
}

} // namespace

TMessageBody::TMessageBody(std::string_view text) {
    isPlain = ReadPlain(text, fields);
    if (!isPlain) {
        document = ParseDocument(text.data());
        fields = FieldsOf(document.get());
    }
}

} // namespace zelto
