// Feeds zelto-remoted's reader of requests and its decoder. A request is the same however its bytes are cut,
// ends where jansson says that its JSON text ends, and whatever is decoded is what the text says.
#include "Request.h"
#include "RequestReader.h"

#include <jansson.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// The input less its first byte, fed in pieces whose size the first byte gives.
remoted::TRequestReader ReadInPieces(const char* data, std::size_t size, std::size_t piece) {
    remoted::TRequestReader reader;
    for (std::size_t begin = 0; begin < size; begin += piece) {
        (void)reader.Feed(data + begin, size - begin < piece ? size - begin : piece);
    }
    return reader;
}

// What jansson takes for an object at the beginning of the input ends the request there. Not compared for an
// input with a NUL: jansson passes over one behind a literal, which is no JSON and is refused here.
void CompareWithJansson(const remoted::TRequestReader& reader, const char* data, std::size_t size) {
    if (std::memchr(data, 0, size) != nullptr) {
        return;
    }
    json_error_t error;
    json_t* const parsed = json_loadb(data, size, JSON_DISABLE_EOF_CHECK, &error);
    if (json_is_object(parsed)) {
        Require(reader.State() == remoted::TRequestReader::COMPLETE);
        Require(reader.Text().size() == static_cast<std::size_t>(error.position));
    }
    json_decref(parsed);
}

void Decode(const std::string& text) {
    remoted::TRequest request;
    const std::string fault = remoted::DecodeRequest(text, request);
    if (fault.empty()) {
        Require(!request.name.empty());
        const std::string line = remoted::Describe(request);
        Require(line.find('\n') == std::string::npos);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const char* const text = reinterpret_cast<const char*>(data) + 1;
    const std::size_t length = size - 1;
    const remoted::TRequestReader whole = ReadInPieces(text, length, length + 1);
    const remoted::TRequestReader pieces = ReadInPieces(text, length, data[0] % 16U + 1U);
    Require(whole.State() == pieces.State());
    Require(whole.Text() == pieces.Text());
    CompareWithJansson(whole, text, length);
    if (whole.State() == remoted::TRequestReader::COMPLETE) {
        Decode(whole.Text());
    }
    return 0;
}
