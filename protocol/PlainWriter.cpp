#include "protocol/PlainWriter.h"

#include "protocol/PlainText.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace zelto {

namespace {

constexpr std::size_t FIRST_ROOM = 128;

bool IsEscaped(char character) {
    return static_cast<unsigned char>(character) < 0x80;
}

} // namespace

void TPlainWriter::QuoteOrThrow(std::string_view text, std::string_view what) {
    if (!AppendQuoted(text)) {
        throw std::runtime_error(NotUtf8(what));
    }
}

void TPlainWriter::QuoteNameOrThrow(std::string_view name, std::string_view what) {
    if (!AppendQuoted(name)) {
        throw std::runtime_error(NameNotUtf8(what, name));
    }
}

bool TPlainWriter::QuoteOrNull(std::string_view text) {
    const std::size_t begin = used;
    if (AppendQuoted(text)) {
        return true;
    }
    used = begin;
    Append("null");
    return false;
}

void TPlainWriter::Flag(std::string_view key, bool flag) {
    Key(key);
    Append(flag ? "true" : "false");
}

void TPlainWriter::Integer(std::string_view key, int number) {
    Key(key);
    Append(std::to_string(number));
}

void TPlainWriter::Null(std::string_view key) {
    Key(key);
    Append("null");
}

void TPlainWriter::BeginList(std::string_view key) {
    Key(key);
    Append("[");
    first = true;
}

void TPlainWriter::Element(int number) {
    char* const begin = Room(SEPARATOR.size());
    used += static_cast<std::size_t>(Separate(begin) - begin);
    Append(std::to_string(number));
}

std::string TPlainWriter::Take() {
    Close('}');
    out.resize(used);
    return std::move(out);
}

// Writing into a text that is long enough already is several times as fast as appending piece by piece.
void TPlainWriter::Grow(std::size_t size) {
    out.resize(std::max({used + size, 2 * out.size(), FIRST_ROOM}));
}

void TPlainWriter::Append(std::string_view bytes) {
    Write(Room(bytes.size()), bytes);
    used += bytes.size();
}

bool TPlainWriter::AppendQuoted(std::string_view text) {
    char* const at = Room(text.size() + 2); // a long text at once, or it would be moved several times
    const char* const end = text.data() + text.size();
    const char* const stop = EndOfPlainText(text.data(), end);
    const auto plain = static_cast<std::size_t>(stop - text.data());
    *at = '"';
    Write(at + 1, text.substr(0, plain));
    used += 1 + plain;
    if (stop != end) {
        return AppendRest(stop, end);
    }
    at[1 + plain] = '"';
    ++used;
    return true;
}

// Appends what follows the first plain characters of a text, and the closing quote.
bool TPlainWriter::AppendRest(const char* position, const char* end) {
    while (position != end && *position != '\0') {
        if (!IsEscaped(*position)) {
            return false;
        }
        AppendEscaped(*position);
        const char* const begin = position + 1;
        position = EndOfPlainText(begin, end);
        Append(std::string_view(begin, static_cast<std::size_t>(position - begin)));
    }
    *Room(1) = '"';
    ++used;
    return true;
}

// Appends what stands for a quote, a backslash or a control character.
void TPlainWriter::AppendEscaped(char character) {
    constexpr std::string_view WITH_SHORT_FORM = "\"\\\b\f\n\r\t";
    constexpr std::string_view SHORT_FORMS = "\"\\bfnrt";
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    const std::size_t known = WITH_SHORT_FORM.find(character);
    if (known != std::string_view::npos) {
        const char form[] = {'\\', SHORT_FORMS[known]};
        Append(std::string_view(form, sizeof(form)));
        return;
    }
    const auto code = static_cast<unsigned char>(character);
    const char form[] = {'\\', 'u', '0', '0', DIGITS[code >> 4U], DIGITS[code & 0xFU]};
    Append(std::string_view(form, sizeof(form)));
}

} // namespace zelto
