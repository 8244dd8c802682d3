#include "protocol/PlainWriter.h"

#include "protocol/PlainText.h"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace zelto {

namespace {

// Appends what stands for a quote, a backslash or a control character.
void AppendEscaped(std::string& out, char character) {
    constexpr const char* SHORT_FORMS = "\"\"\\\\\bb\ff\nn\rr\tt";
    constexpr const char* DIGITS = "0123456789ABCDEF";
    for (const char* form = SHORT_FORMS; *form != '\0'; form += 2) {
        if (form[0] == character) {
            out.push_back('\\');
            out.push_back(form[1]);
            return;
        }
    }
    const auto code = static_cast<unsigned char>(character);
    out.append("\\u00");
    out.push_back(DIGITS[code >> 4U]);
    out.push_back(DIGITS[code & 0xFU]);
}

bool IsEscaped(char character) {
    return static_cast<unsigned char>(character) < 0x80;
}

} // namespace

void TPlainWriter::Text(const char* key, const std::string& text, const char* what) {
    Key(key);
    if (!AppendQuoted(text)) {
        throw std::runtime_error(std::string(what) + ": the text is not valid UTF-8");
    }
}

bool TPlainWriter::TextOrNull(const char* key, const std::string& text) {
    Key(key);
    const std::size_t begin = out.size();
    if (AppendQuoted(text)) {
        return true;
    }
    out.resize(begin);
    out.append("null");
    return false;
}

void TPlainWriter::Flag(const char* key, bool flag) {
    Key(key);
    out.append(flag ? "true" : "false");
}

void TPlainWriter::Integer(const char* key, int number) {
    Key(key);
    out.append(std::to_string(number));
}

void TPlainWriter::Null(const char* key) {
    Key(key);
    out.append("null");
}

void TPlainWriter::BeginList(const char* key) {
    Key(key);
    out.push_back('[');
    first = true;
}

void TPlainWriter::BeginObject() {
    Separate();
    out.push_back('{');
    first = true;
}

void TPlainWriter::Element(int number) {
    Separate();
    out.append(std::to_string(number));
}

std::string TPlainWriter::Take() {
    Close('}');
    return std::move(out);
}

void TPlainWriter::Key(const char* key) {
    Separate();
    out.push_back('"');
    out.append(key);
    out.append("\": ", 3);
}

void TPlainWriter::Separate() {
    if (!first) {
        out.append(", ", 2);
    }
    first = false;
}

void TPlainWriter::Close(char bracket) {
    out.push_back(bracket);
    first = false;
}

bool TPlainWriter::AppendQuoted(const std::string& text) {
    out.push_back('"');
    const char* position = text.data();
    const char* const end = position + text.size();
    while (true) {
        const char* const stop = EndOfPlainText(position, end);
        out.append(position, stop);
        if (stop == end || *stop == '\0') {
            out.push_back('"');
            return true;
        }
        if (!IsEscaped(*stop)) {
            return false;
        }
        AppendEscaped(out, *stop);
        position = stop + 1;
    }
}

} // namespace zelto
