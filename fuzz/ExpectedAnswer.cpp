#include "ExpectedAnswer.h"

#include "data/JsonHandle.h"

namespace fuzz {

namespace {

std::string TextIn(const json_t* object, const char* key) {
    const char* const text = json_string_value(json_object_get(object, key));
    return text != nullptr ? text : "";
}

int IntegerIn(const json_t* value) {
    return static_cast<int>(json_integer_value(value));
}

std::vector<std::pair<int, int>> PairsIn(const json_t* list) {
    std::vector<std::pair<int, int>> pairs;
    for (std::size_t i = 0; i < json_array_size(list); ++i) {
        const json_t* const pair = json_array_get(list, i);
        pairs.emplace_back(IntegerIn(json_object_get(pair, "APP_INDEX")),
                           IntegerIn(json_object_get(pair, "PLATFORM_INDEX")));
    }
    return pairs;
}

} // namespace

TExpectedAnswer::TExpectedAnswer(const std::string& text) {
    const zelto::TJsonHandle document(json_loads(text.c_str(), 0, nullptr));
    const json_t* const entries = json_object_get(document.get(), "PARAMS");
    for (std::size_t i = 0; i < json_array_size(entries); ++i) {
        const json_t* const entry = json_array_get(entries, i);
        params.emplace_back(TextIn(entry, "NAME"), TextIn(entry, "VALUE"));
    }
    value = TextIn(document.get(), "VALUE");
    status = TextIn(document.get(), "STATUS");
    id = IntegerIn(json_object_get(document.get(), "ID"));
    const json_t* const numbers = json_object_get(document.get(), "IDS");
    for (std::size_t i = 0; i < json_array_size(numbers); ++i) {
        ids.push_back(IntegerIn(json_array_get(numbers, i)));
    }
    const json_t* const models = json_object_get(document.get(), "DATA_MODELS");
    for (std::size_t i = 0; i < json_array_size(models); ++i) {
        const json_t* const model = json_array_get(models, i);
        indexMap[TextIn(model, "NAME")] = PairsIn(json_object_get(model, "INDEX_MAP"));
    }
}

} // namespace fuzz
