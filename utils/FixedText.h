// The ways in which a text gets into a fixed field of a record.
#ifndef ZELTO_UTILS_FIXED_TEXT_H
#define ZELTO_UTILS_FIXED_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace zelto {

// Puts a text at the beginning of a field and zeros behind it. Kept apart: where a compiler sees the bounds
// it writes string instructions, which take longer to begin than the C library takes for the whole field.
[[gnu::noinline]] inline void FillField(char* field, std::size_t size, const char* text, std::size_t length) {
    if (length > 0) { // a text without any may have no address either
        std::memcpy(field, text, length);
    }
    std::memset(field + length, 0, size - length);
}

// Kept apart likewise.
[[gnu::noinline]] inline void FillWithZeros(void* record, std::size_t size) {
    std::memset(record, 0, size);
}

// As much of the text as fits, always terminated; the rest of the field is zero.
template <std::size_t Size>
void CopyTerminated(char (&field)[Size], const char* text, std::size_t length) {
    FillField(field, Size, text, std::min(length, Size - 1));
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
    CopyTerminated(field, text.data(), text.size());
}

// As much of the text as fits, always terminated; a character of UTF-8 that does not fit whole is left out.
// Returns whether that is all of the text.
template <std::size_t Size>
bool CopyWholeCharacters(char (&field)[Size], const char* text) {
    constexpr std::size_t MAX_CONTINUATION = 3;
    const auto isContinuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
    const std::size_t found = ::strnlen(text, Size);
    std::size_t length = std::min(found, Size - 1);
    for (std::size_t i = 0; length < found && i < MAX_CONTINUATION && isContinuation(text[length]); ++i) {
        --length;
    }
    CopyTerminated(field, text, length);
    return length == found;
}

// The text up to its NUL into all but the field's last byte, padded with zeros. The last byte stays as the
// caller had it: existing programs rely on owning it.
template <std::size_t Size>
void CopyAllButLast(char (&field)[Size], const std::string& text) {
    FillField(field, Size - 1, text.c_str(), ::strnlen(text.c_str(), Size - 1));
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
