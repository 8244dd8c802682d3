#include "protocol/PlainText.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zelto {

namespace {

using TWord = std::uint64_t;

constexpr TWord EACH_BYTE = 0x0101010101010101U;
constexpr TWord HIGH_BITS = EACH_BYTE * 0x80U;

unsigned char ByteAt(const char* position) {
    return static_cast<unsigned char>(*position);
}

// The number of plain ASCII characters among the eight at `position`, counted from the first; on machines
// whose first byte is the highest only whether there are eight or fewer. The subtractions borrow from the
// byte above only where a byte below is marked already.
std::size_t PlainCount(const char* position) {
    TWord word = 0;
    std::memcpy(&word, position, sizeof(word));
    const TWord controls = word - EACH_BYTE * 0x20U;
    const TWord quotes = (word ^ EACH_BYTE * static_cast<unsigned char>('"')) - EACH_BYTE;
    const TWord backslashes = (word ^ EACH_BYTE * static_cast<unsigned char>('\\')) - EACH_BYTE;
    const TWord marks = (word | controls | quotes | backslashes) & HIGH_BITS;
    if (marks == 0) {
        return sizeof(word);
    }
    constexpr bool FIRST_IS_LOWEST = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    return FIRST_IS_LOWEST ? static_cast<std::size_t>(__builtin_ctzll(marks)) / 8 : 0;
}

bool IsPlainByte(unsigned char byte) {
    return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
}

// Length of the character that a first byte above ASCII begins, 0 when none does.
std::size_t LengthAfter(unsigned char first) {
    if (first < 0xC2 || first > 0xF4) {
        return 0;
    }
    return first < 0xE0 ? 2 : (first < 0xF0 ? 3 : 4);
}

// The second byte excludes what is too long, a surrogate or above U+10FFFF.
bool MayFollow(unsigned char first, unsigned char second) {
    const unsigned char lowest = first == 0xE0 ? 0xA0 : (first == 0xF0 ? 0x90 : 0x80);
    const unsigned char highest = first == 0xED ? 0x9F : (first == 0xF4 ? 0x8F : 0xBF);
    return second >= lowest && second <= highest;
}

// Length of the character above ASCII at `position`, 0 when it is none.
std::size_t CharacterLength(const char* position, const char* end) {
    const std::size_t length = LengthAfter(ByteAt(position));
    if (length == 0 || static_cast<std::size_t>(end - position) < length ||
        !MayFollow(ByteAt(position), ByteAt(position + 1))) {
        return 0;
    }
    for (std::size_t i = 2; i < length; ++i) {
        if ((ByteAt(position + i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    return length;
}

// Whether what is left of a text, less than a word, is plain ASCII; looked at together with what stands
// before.
bool IsRestPlain(const char* begin, const char* position, const char* end) {
    constexpr std::ptrdiff_t SIZE = sizeof(TWord);
    return end - position < SIZE && end - begin >= SIZE && PlainCount(end - SIZE) == sizeof(TWord);
}

} // namespace

const char* EndOfPlainText(const char* begin, const char* end) {
    const char* position = begin;
    while (position != end) {
        while (static_cast<std::size_t>(end - position) >= sizeof(TWord)) {
            const std::size_t count = PlainCount(position);
            position += count;
            if (count < sizeof(TWord)) {
                break;
            }
        }
        if (IsRestPlain(begin, position, end)) {
            return end;
        }
        while (position != end && IsPlainByte(ByteAt(position))) {
            ++position;
        }
        const std::size_t length =
            position != end && ByteAt(position) >= 0x80 ? CharacterLength(position, end) : 0;
        if (length == 0) {
            return position;
        }
        position += length;
    }
    return end;
}

std::string_view Utf8Beginning(std::string_view text) {
    const char* const end = text.data() + text.size();
    const char* position = EndOfPlainText(text.data(), end);
    while (position != end && ByteAt(position) < 0x80 && *position != '\0') {
        position = EndOfPlainText(position + 1, end);
    }
    return text.substr(0, static_cast<std::size_t>(position - text.data()));
}

std::string NotUtf8(std::string_view what) {
    return std::string(what).append(": the text is not valid UTF-8");
}

std::string NameNotUtf8(std::string_view what, std::string_view name) {
    return NotUtf8(std::string(what).append(" beginning with '").append(Utf8Beginning(name)).append("'"));
}

} // namespace zelto
