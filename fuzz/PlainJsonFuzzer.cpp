// Holds the direct JSON writer and reader against jansson: values in, bytes out, refusals.
//
// An input is read as a body, and its two halves are written as a name and a value; what was written is read
// again.
#include "tests/unit/protocol/PlainAgainstJansson.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void Require(const std::string& difference) {
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    const std::size_t middle = size / 2;
    Require(plainjson::CompareReading(text));
    Require(plainjson::CompareReading("{\"NAME\": \"" + text + "\"}"));
    Require(plainjson::CompareReading("{\"PARAMS\": [{\"NAME\": \"a\", " + text + "}]}"));
    Require(plainjson::CompareWriting(text.substr(0, middle), text.substr(middle), size % 2 == 0));
    return 0;
}
