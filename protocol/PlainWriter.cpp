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

void TPlainWriter::Text(std::string_view key, std::string_view text, std::string_view what) {
    Key(key);
    if (!AppendQuoted(text)) {
        throw std::runtime_error(std::string(what) + ": the text is not valid UTF-8");
    }
}

bool TPlainWriter::TextOrNull(std::string_view key, std::string_view text) {
    Key(key);
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

void TPlainWriter::BeginObject() {
    Separate();
    Append("{");
    first = true;
}

void TPlainWriter::Element(int number) {
    Separate();
    Append(std::to_string(number));
}

std::string TPlainWriter::Take() {
    Close("}");
    out.resize(used);
    return std::move(out);
}

// Writing into a text that is long enough already is several times as fast as appending piece by piece.
char* TPlainWriter::Room(std::size_t size) {
    if (out.size() - used < size) {
        out.resize(std::max({used + size, 2 * out.size(), FIRST_ROOM}));
    }
    return out.data() + used;
}

void TPlainWriter::Append(std::string_view bytes) {
    std::memcpy(Room(bytes.size()), bytes.data(), bytes.size());
    used += bytes.size();
}

void TPlainWriter::Key(std::string_view key) {
    constexpr std::string_view BEHIND = "\": ";
    Separate();
    char* const at = Room(1 + key.size() + BEHIND.size());
    *at = '"';
    std::memcpy(at + 1, key.data(), key.size());
    std::memcpy(at + 1 + key.size(), BEHIND.data(), BEHIND.size());
    used += 1 + key.size() + BEHIND.size();
}

void TPlainWriter::Separate() {
    if (!first) {
        Append(", ");
    }
    first = false;
}

void TPlainWriter::Close(std::string_view bracket) {
    Append(bracket);
    first = false;
}

bool TPlainWriter::AppendQuoted(std::string_view text) {
    Reserve(text.size() + 2); // a long text at once, or it would be moved several times
    Append("\"");
    const char* position = text.data();
    const char* const end = position + text.size();
    while (true) {
        const char* const stop = EndOfPlainText(position, end);
        Append(std::string_view(position, static_cast<std::size_t>(stop - position)));
        if (stop == end || *stop == '\0') {
            Append("\"");
            return true;
        }
        if (!IsEscaped(*stop)) {
            return false;
        }
        AppendEscaped(*stop);
        position = stop + 1;
    }
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
