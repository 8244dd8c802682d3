// Finds the end of a request. Nothing marks it but the JSON text itself, so the brackets are counted as the
// bytes come; whether the text between them is well-formed shows when it is decoded.
#ifndef REMOTED_REQUEST_READER_H
#define REMOTED_REQUEST_READER_H

#include "Limits.h"

#include <cstddef>
#include <string>
#include <utility>

namespace remoted {

class TRequestReader {
public:
    enum TState {
        INCOMPLETE,
        COMPLETE,
        MALFORMED, // no continuation could make it a JSON object
        TOO_LONG,
    };

    explicit TRequestReader(std::size_t maxTextSize = MAX_REQUEST_SIZE) : maxSize(maxTextSize) {}

    // Takes the bytes up to the end of the request and drops those behind it. Once the state is other than
    // INCOMPLETE it stays.
    TState Feed(const char* data, std::size_t size);

    TState State() const { return state; }
    bool IsEmpty() const { return text.empty(); }
    // From the first byte on, as far as it was taken.
    const std::string& Text() const { return text; }
    std::string TakeText() { return std::move(text); }

private:
    TState Take(char c);
    TState TakeInString(char c);

    std::size_t maxSize;
    std::string text;
    TState state = INCOMPLETE;
    std::size_t depth = 0;
    bool inString = false;
    bool isEscaped = false;
};

} // namespace remoted

#endif
