// Writes the text of a JSON object directly: the bytes that jansson writes for it (JSON_PRESERVE_ORDER), for
// a tenth of the time. Keys are ours and are written as they stand.
#ifndef ZELTO_PROTOCOL_PLAIN_WRITER_H
#define ZELTO_PROTOCOL_PLAIN_WRITER_H

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace zelto {

class TPlainWriter {
public:
    // Begins the object.
    TPlainWriter() : out(1, '{') {}

    // Makes room for so many more bytes at once.
    void Reserve(std::size_t size) { static_cast<void>(Room(size)); }

    // These write one key and its value. A text ends at its first NUL, as every text of the protocol does.

    // Throws std::runtime_error naming `what` when the text is not UTF-8.
    void Text(std::string_view key, std::string_view text, std::string_view what) {
        Key(key);
        QuoteOrThrow(text, what);
    }
    // The same for a text that is a name: the error shows it as far as it is UTF-8.
    void Name(std::string_view key, std::string_view name, std::string_view what) {
        Key(key);
        QuoteNameOrThrow(name, what);
    }
    // Writes null and returns false when the text is not UTF-8.
    bool TextOrNull(std::string_view key, std::string_view text) {
        Key(key);
        return QuoteOrNull(text);
    }
    void Flag(std::string_view key, bool flag);
    void Integer(std::string_view key, int number);
    void Null(std::string_view key);

    // A list of objects or integers. Between BeginObject and EndObject the keys are those of the element.
    void BeginList(std::string_view key);
    void EndList() { Close(']'); }
    void BeginObject() {
        char* const begin = Room(SEPARATOR.size() + 1);
        char* const at = Separate(begin);
        *at = '{';
        used += static_cast<std::size_t>(at + 1 - begin);
        first = true;
    }
    void EndObject() { Close('}'); }
    void Element(int number);

    // Whether no key has been written.
    bool IsEmpty() const { return used == 1; }
    // Bytes written so far.
    std::size_t Size() const { return used; }

    // Ends the object and hands over its text; the writer is used up.
    std::string Take();

private:
    static constexpr std::string_view SEPARATOR = ", ";
    static constexpr std::string_view BEHIND_KEY = "\": ";

    static char* Write(char* at, std::string_view bytes) {
        std::memcpy(at, bytes.data(), bytes.size());
        return at + bytes.size();
    }

    // Where so many bytes may be written. What has been written there counts once `used` says so.
    char* Room(std::size_t size) {
        if (out.size() - used < size) {
            Grow(size);
        }
        return out.data() + used;
    }
    void Grow(std::size_t size);
    void Append(std::string_view bytes);
    // Writes a comma unless nothing stands before; returns the place behind it.
    char* Separate(char* at) {
        char* const behind = first ? at : Write(at, SEPARATOR);
        first = false;
        return behind;
    }
    // In place, for keys whose length is known there cost a few instructions.
    void Key(std::string_view key) {
        char* const begin = Room(SEPARATOR.size() + 1 + key.size() + BEHIND_KEY.size());
        char* at = Separate(begin);
        *at = '"';
        at = Write(Write(at + 1, key), BEHIND_KEY);
        used += static_cast<std::size_t>(at - begin);
    }
    void Close(char bracket) {
        *Room(1) = bracket;
        ++used;
        first = false;
    }
    void QuoteOrThrow(std::string_view text, std::string_view what);
    void QuoteNameOrThrow(std::string_view name, std::string_view what);
    bool QuoteOrNull(std::string_view text);
    bool AppendQuoted(std::string_view text);
    bool AppendRest(const char* position, const char* end);
    void AppendEscaped(char character);

    std::string out; // longer than what has been written
    std::size_t used = 1;
    bool first = true; // nothing stands yet in the innermost object or list
};

} // namespace zelto

#endif
