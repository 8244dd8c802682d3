// What the fuzz targets share: taking an input apart, and saying what must hold.
#ifndef ZELTO_FUZZ_FUZZ_INPUT_H
#define ZELTO_FUZZ_FUZZ_INPUT_H

#include "data/JsonHandle.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace fuzz {

// A finding is what does not hold; the text says what should have.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

template <std::size_t Size>
bool IsTerminated(const char (&field)[Size]) {
    return std::memchr(field, 0, Size) != nullptr;
}

// The document of a text that must be a JSON object.
inline zelto::TJsonHandle RequireObject(const std::string& text, const char* what) {
    zelto::TJsonHandle document(json_loads(text.c_str(), 0, nullptr));
    Require(json_is_object(document.get()), what);
    return document;
}

// Hands out an input piece by piece; what is not there reads as zero or empty.
class TInput {
public:
    TInput(const std::uint8_t* data, std::size_t size)
        : position(reinterpret_cast<const char*>(data)), end(position + size) {}

    bool IsEmpty() const { return position == end; }

    std::uint8_t Byte() { return IsEmpty() ? std::uint8_t{0} : static_cast<std::uint8_t>(*position++); }

    std::string Bytes(std::size_t count) {
        const std::size_t taken = std::min(count, static_cast<std::size_t>(end - position));
        const char* const begin = position;
        position += taken;
        return std::string(begin, taken);
    }

    // A length of one byte and so many bytes.
    std::string Text() {
        const std::size_t length = Byte();
        return Bytes(length);
    }

    std::string Rest() { return Bytes(static_cast<std::size_t>(end - position)); }

private:
    const char* position;
    const char* const end;
};

} // namespace fuzz

#endif
