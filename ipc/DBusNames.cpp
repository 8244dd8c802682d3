#include "ipc/DBusNames.h"

#include "ipc/TextLimit.h"
#include "utils/Log.h"

#include <dbus/dbus.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace zelto {

namespace {

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsIdentityCharacter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           IsDigit(character) || character == '_';
}

// A refused text may hold anything, and be of any length: it is shown in quotes so that a log stays readable.
std::string Quoted(const std::string& text) {
    constexpr std::size_t MAX_SHOWN = 256;
    static const char* const DIGITS = "0123456789abcdef";
    std::string shown = "'";
    for (const char character : text.substr(0, MAX_SHOWN)) {
        if (character >= ' ' && character <= '~') {
            shown += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            shown += {'\\', 'x', DIGITS[byte >> 4U], DIGITS[byte & 15U]};
        }
    }
    return shown + (text.size() > MAX_SHOWN ? "...'" : "'");
}

// A place up to which the text is ASCII without a NUL. It is not the last one: eight bytes are looked at in
// one step.
const char* SkipAscii(const std::string& text) {
    using TWord = std::uint64_t;
    constexpr TWord EACH_BYTE = 0x0101010101010101U;
    constexpr TWord HIGH_BITS = EACH_BYTE * 0x80U;
    const char* position = text.data();
    const char* const end = position + text.size();
    while (static_cast<std::size_t>(end - position) >= sizeof(TWord)) {
        TWord word = 0;
        std::memcpy(&word, position, sizeof(word));
        if (((word | (word - EACH_BYTE)) & HIGH_BITS) != 0) {
            break;
        }
        position += sizeof(word);
    }
    return position;
}

// Up to the first NUL, as libdbus reads it. Most texts are plain ASCII, of which libdbus would look at every
// byte for itself.
bool IsUtf8(const std::string& text) {
    return dbus_validate_utf8(SkipAscii(text), nullptr) != FALSE;
}

} // namespace

void Fail(const std::string& text) {
    qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", text.c_str());
    throw std::runtime_error(text);
}

bool IsIdentity(const std::string& text) {
    return !text.empty() && text.size() <= MAX_IDENTITY_LENGTH && !IsDigit(text.front()) &&
           std::all_of(text.begin(), text.end(), IsIdentityCharacter);
}

void RequireIdentity(const std::string& text) {
    if (!IsIdentity(text)) {
        Fail(Quoted(text) +
             " is not an identity: 1 to 200 letters, digits and '_', not beginning with a digit");
    }
}

void RequireMember(const char* what, const std::string& text) {
    if (text.find('\0') != std::string::npos || dbus_validate_utf8(text.c_str(), nullptr) == FALSE ||
        dbus_validate_member(text.c_str(), nullptr) == FALSE) {
        Fail(Quoted(text) + " is not a valid " + what +
             " name: 1 to 255 letters, digits and '_', not beginning with a digit");
    }
}

std::string TextFault(const char* what, std::string_view name, const std::string& text) {
    const char* fault = nullptr;
    if (text.size() > MAX_TEXT_LENGTH) {
        fault = "' is longer than 16 MiB";
    } else if (!IsUtf8(text)) {
        fault = "' is not valid UTF-8";
    } else {
        return {};
    }
    return std::string("the ").append(what).append(" of '").append(name).append(fault);
}

void RequireText(const char* what, const std::string& name, const std::string& text) {
    const std::string fault = TextFault(what, name, text);
    if (!fault.empty()) {
        Fail(fault);
    }
}

} // namespace zelto
