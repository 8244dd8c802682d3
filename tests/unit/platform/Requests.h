// Sends requests straight to the dispatcher.
#ifndef ZELTO_TESTS_PLATFORM_REQUESTS_H
#define ZELTO_TESTS_PLATFORM_REQUESTS_H

#include "zelto/ZeltoPlatformOps.h"

#include <ostream>
#include <string>

namespace scripted {

constexpr const char* NO_ANSWER = "(no answer)";

struct TAnswer {
    int status;
    std::string text; // NO_ANSWER when the output was left untouched

    bool operator==(const TAnswer& other) const { return status == other.status && text == other.text; }
};

inline std::ostream& operator<<(std::ostream& out, const TAnswer& answer) {
    return out << answer.status << ' ' << answer.text;
}

inline const TAnswer FAILED{-1, NO_ANSWER};
inline const TAnswer DONE{0, NO_ANSWER};

inline TAnswer Request(const char* method, const std::string& input) {
    char untouched = 0;
    char* output = &untouched;
    const int status = zeltoPlatformMethodsHandler(method, input.c_str(), &output);
    if (output == &untouched) {
        return {status, NO_ANSWER};
    }
    const TAnswer answer{status, output};
    zeltoPlatformDealloc(output);
    return answer;
}

} // namespace scripted

#endif
