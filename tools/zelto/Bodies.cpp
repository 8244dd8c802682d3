#include "Bodies.h"

#include <stdexcept>

namespace tool {

namespace {

constexpr unsigned int NO_ELEMENT = static_cast<unsigned int>(-1); // the property itself

// Enough to tell which text is meant.
constexpr size_t SHOWN_BYTES = 60;

std::string Shorten(const std::string& text) {
    return text.size() <= SHOWN_BYTES ? text : text.substr(0, SHOWN_BYTES) + "...";
}

} // namespace

void SetText(TZeltoJsonObject& object, const std::string& key, const std::string& text) {
    const std::string::size_type nul = text.find('\0');
    if (nul != std::string::npos) {
        throw std::runtime_error("cannot be sent, since it has a NUL byte after: " +
                                 Shorten(text.substr(0, nul)));
    }
    (void)object.SetJsonObject(key, object.ToJson(text));
    if (object.GetPropertyType(key) != JSON_TYPE_STRING) {
        throw std::runtime_error("cannot be sent, since it is not UTF-8: " + Shorten(text));
    }
}

void SetBoolean(TZeltoJsonObject& object, const std::string& key, bool value) {
    (void)object.SetJsonObject(key, object.ToJson(value));
}

void SetInteger(TZeltoJsonObject& object, const std::string& key, int value) {
    (void)object.SetJsonObject(key, object.ToJson(value));
}

void SetList(TZeltoJsonObject& object, const std::string& key, const TObjects& elements) {
    void* list = nullptr;
    for (const TZeltoJsonObject& element : elements) {
        (void)object.AppendJsonArray(&list, object.ToJson(element));
    }
    (void)object.SetJsonObject(key, list);
}

TZeltoJsonObject Decode(const std::string& text) {
    TZeltoJsonObject object;
    (void)object.DecodeFromString(text);
    return object;
}

std::string GetText(const TZeltoJsonObject& object, const std::string& key) {
    return object.GetJsonValue<std::string>(object.GetJsonObject(key, NO_ELEMENT), "");
}

int GetInteger(const TZeltoJsonObject& object, const std::string& key) {
    return object.GetJsonValue<int>(object.GetJsonObject(key, NO_ELEMENT), 0);
}

TObjects GetList(const TZeltoJsonObject& object, const std::string& key) {
    TObjects elements;
    for (unsigned int i = 0; i < object.GetJsonArraySize(key); ++i) {
        elements.push_back(
            object.GetJsonValue<TZeltoJsonObject>(object.GetJsonObject(key, i), TZeltoJsonObject()));
    }
    return elements;
}

std::vector<int> GetIntegers(const TZeltoJsonObject& object, const std::string& key) {
    std::vector<int> numbers;
    for (unsigned int i = 0; i < object.GetJsonArraySize(key); ++i) {
        numbers.push_back(object.GetJsonValue<int>(object.GetJsonObject(key, i), 0));
    }
    return numbers;
}

TZeltoJsonObject NameEntry(const std::string& name) {
    TZeltoJsonObject entry;
    SetText(entry, "NAME", name);
    return entry;
}

TZeltoJsonObject ParamEntry(const TParam& param) {
    TZeltoJsonObject entry = NameEntry(param.name);
    SetText(entry, "VALUE", param.value);
    return entry;
}

} // namespace tool
