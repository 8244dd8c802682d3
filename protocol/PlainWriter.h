// Writes the text of a JSON object directly: the bytes that jansson writes for it (JSON_PRESERVE_ORDER), for
// a tenth of the time. Keys are ours and are written as they stand.
#ifndef ZELTO_PROTOCOL_PLAIN_WRITER_H
#define ZELTO_PROTOCOL_PLAIN_WRITER_H

#include <cstddef>
#include <string>

namespace zelto {

class TPlainWriter {
public:
    // Begins the object.
    TPlainWriter() : out(1, '{') {}

    void Reserve(std::size_t size) { out.reserve(size); }

    // These write one key and its value. A text ends at its first NUL, as every text of the protocol does.

    // Throws std::runtime_error naming `what` when the text is not UTF-8.
    void Text(const char* key, const std::string& text, const char* what);
    // Writes null and returns false when the text is not UTF-8.
    bool TextOrNull(const char* key, const std::string& text);
    void Flag(const char* key, bool flag);
    void Integer(const char* key, int number);
    void Null(const char* key);

    // A list of objects or integers. Between BeginObject and EndObject the keys are those of the element.
    void BeginList(const char* key);
    void EndList() { Close(']'); }
    void BeginObject();
    void EndObject() { Close('}'); }
    void Element(int number);

    // Whether no key has been written.
    bool IsEmpty() const { return out.size() == 1; }

    // Ends the object and hands over its text; the writer is used up.
    std::string Take();

private:
    void Key(const char* key);
    void Separate();
    void Close(char bracket);
    bool AppendQuoted(const std::string& text);

    std::string out;
    bool first = true; // nothing stands yet in the innermost object or list
};

} // namespace zelto

#endif
