// The two ways in which a text gets into a fixed field of a record.
#ifndef ZELTO_UTILS_FIXED_TEXT_H
#define ZELTO_UTILS_FIXED_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace zelto {

// As much of the text as fits, always terminated; the rest of the field is zero.
template <std::size_t Size>
void CopyTerminated(char (&field)[Size], const char* text, std::size_t length) {
    const std::size_t copied = std::min(length, Size - 1);
    std::memcpy(field, text, copied);
    std::memset(field + copied, 0, Size - copied);
}

template <std::size_t Size>
void CopyTerminated(char (&field)[Size], const char* text) {
    CopyTerminated(field, text, ::strnlen(text, Size));
}

template <std::size_t Size>
void CopyTerminated(char (&field)[Size], const std::string& text) {
    CopyTerminated(field, text.c_str(), ::strnlen(text.c_str(), Size));
}

// Of a text without NUL, which may have no data.
template <std::size_t Size>
void CopyTerminated(char (&field)[Size], std::string_view text) {
    const std::size_t copied = text.copy(field, Size - 1);
    std::memset(field + copied, 0, Size - copied);
}

// The text up to its NUL into all but the field's last byte, padded with zeros. The last byte stays as the
// caller had it: existing programs rely on owning it.
template <std::size_t Size>
void CopyAllButLast(char (&field)[Size], const std::string& text) {
    const std::size_t copied = ::strnlen(text.c_str(), Size - 1);
    std::memcpy(field, text.c_str(), copied);
    std::memset(field + copied, 0, Size - 1 - copied);
}

// As CopyAllButLast, of a text without NUL into a field that is all zeros.
template <std::size_t Size>
void CopyIntoZeros(char (&field)[Size], std::string_view text) {
    static_cast<void>(text.copy(field, Size - 1));
}

// The text of a field, as ReadField reads it, in place.
template <std::size_t Size>
std::string_view ViewField(const char (&field)[Size]) {
    return std::string_view(field, ::strnlen(field, Size));
}

// The text of a field that its owner may have left without a terminator.
template <std::size_t Size>
std::string ReadField(const char (&field)[Size]) {
    return std::string(field, ::strnlen(field, Size));
}

} // namespace zelto

#endif
