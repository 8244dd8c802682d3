#include "RequestReader.h"

namespace remoted {

namespace {

bool IsControl(char c) {
    return static_cast<unsigned char>(c) < 0x20;
}

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

} // namespace

TRequestReader::TState TRequestReader::Feed(const char* data, std::size_t size) {
    for (std::size_t index = 0; index < size && state == INCOMPLETE; ++index) {
        if (text.size() == maxSize) {
            state = TOO_LONG;
            break;
        }
        text += data[index];
        state = inString ? TakeInString(data[index]) : Take(data[index]);
    }
    return state;
}

TRequestReader::TState TRequestReader::Take(char c) {
    if (IsSpace(c)) {
        return INCOMPLETE;
    }
    if (IsControl(c) || (depth == 0 && c != '{')) {
        return MALFORMED;
    }
    if (c == '"') {
        inString = true;
    } else if (c == '{' || c == '[') {
        ++depth;
    } else if (c == '}' || c == ']') {
        --depth;
    }
    return depth == 0 ? COMPLETE : INCOMPLETE;
}

TRequestReader::TState TRequestReader::TakeInString(char c) {
    if (IsControl(c)) {
        return MALFORMED;
    }
    if (isEscaped) {
        isEscaped = false;
    } else if (c == '\\') {
        isEscaped = true;
    } else if (c == '"') {
        inString = false;
    }
    return INCOMPLETE;
}

} // namespace remoted
