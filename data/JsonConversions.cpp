// Between native values and jansson values: the member templates of TZeltoJsonObject and their
// instantiations.

#include "zelto/TZeltoJsonObject.h"

#include <jansson.h>

#include <cstdint>
#include <type_traits>

namespace {

bool Read(const json_t* value, bool defaultValue) {
    return json_is_boolean(value) ? json_is_true(value) : defaultValue;
}

const char* Read(const json_t* value, const char* defaultValue) {
    return json_is_string(value) ? json_string_value(value) : defaultValue;
}

std::string Read(const json_t* value, const std::string& defaultValue) {
    return json_is_string(value) ? std::string(json_string_value(value)) : defaultValue;
}

double Read(const json_t* value, double defaultValue) {
    return json_is_number(value) ? json_number_value(value) : defaultValue;
}

// Integers are cut to their low bits, as a conversion to `Width` does.
template <typename Width, typename T>
T ReadInteger(const json_t* value, T defaultValue) {
    return json_is_integer(value) ? static_cast<T>(static_cast<Width>(json_integer_value(value)))
                                  : defaultValue;
}

unsigned short Read(const json_t* value, unsigned short defaultValue) {
    return ReadInteger<std::uint16_t>(value, defaultValue);
}

int Read(const json_t* value, int defaultValue) {
    return ReadInteger<std::int32_t>(value, defaultValue);
}

// 32 bits on every machine, so that an answer does not depend on the word size of the program that reads it.
long Read(const json_t* value, long defaultValue) {
    return ReadInteger<std::int32_t>(value, defaultValue);
}

long long Read(const json_t* value, long long defaultValue) {
    return ReadInteger<std::int64_t>(value, defaultValue);
}

json_t* Make(const char* text) {
    return json_string(text);
}

json_t* Make(const std::string& text) {
    return json_string(text.c_str());
}

json_t* Make(double value) {
    return json_real(value);
}

json_t* Make(bool value) {
    return json_boolean(value);
}

// A character is a number here, and a signed one also where plain char is unsigned.
json_t* Make(char value) {
    return json_integer(static_cast<signed char>(value));
}

template <typename T, typename = std::enable_if_t<std::is_integral_v<T>>>
json_t* Make(T value) {
    return json_integer(static_cast<json_int_t>(value));
}

} // namespace

template <typename T>
T TZeltoJsonObject::GetJsonValue(const void* value, const T& defaultValue) const {
    const auto* const json = static_cast<const json_t*>(value);
    if constexpr (std::is_same_v<T, TZeltoJsonObject>) {
        return TZeltoJsonObject(json_deep_copy(json_is_object(json) ? json : defaultValue.root));
    } else {
        return Read(json, defaultValue);
    }
}

template <typename T>
json_t* TZeltoJsonObject::ToJson(const T& value) const {
    if constexpr (std::is_same_v<T, TZeltoJsonObject>) {
        return json_deep_copy(value.root);
    } else {
        return Make(value);
    }
}

json_t* TZeltoJsonObject::ToJson(const char* text) const {
    return Make(text);
}

json_t* TZeltoJsonObject::ToJson(char* text) const {
    return Make(static_cast<const char*>(text));
}

// clang-format off
template ZELTO_API TZeltoJsonObject TZeltoJsonObject::GetJsonValue(const void*, const TZeltoJsonObject&) const;
template ZELTO_API bool TZeltoJsonObject::GetJsonValue(const void*, const bool&) const;
template ZELTO_API const char* TZeltoJsonObject::GetJsonValue(const void*, const char* const&) const;
template ZELTO_API std::string TZeltoJsonObject::GetJsonValue(const void*, const std::string&) const;
template ZELTO_API unsigned short TZeltoJsonObject::GetJsonValue(const void*, const unsigned short&) const;
template ZELTO_API int TZeltoJsonObject::GetJsonValue(const void*, const int&) const;
template ZELTO_API long TZeltoJsonObject::GetJsonValue(const void*, const long&) const;
template ZELTO_API long long TZeltoJsonObject::GetJsonValue(const void*, const long long&) const;
template ZELTO_API double TZeltoJsonObject::GetJsonValue(const void*, const double&) const;

template ZELTO_API json_t* TZeltoJsonObject::ToJson(const char* const&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const std::string&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const char&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const unsigned short&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const int&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const unsigned int&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const long&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const unsigned long&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const long long&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const double&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const TZeltoJsonObject&) const;
template ZELTO_API json_t* TZeltoJsonObject::ToJson(const bool&) const;
// clang-format on
