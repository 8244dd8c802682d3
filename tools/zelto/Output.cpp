#include "Output.h"

#include <cstdio>

namespace tool {

std::string Escape(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        auto byte = static_cast<unsigned char>(c);
        if (c == '\\') {
            escaped += "\\\\";
        } else if (c == '\n') {
            escaped += "\\n";
        } else if (c == '\t') {
            escaped += "\\t";
        } else if (c == '\r') {
            escaped += "\\r";
        } else if (byte < 0x20 || byte == 0x7f) {
            // Three octal digits end by themselves, whatever comes next.
            char octal[5];
            (void)std::snprintf(octal, sizeof(octal), "\\%03o", unsigned{byte});
            escaped += octal;
        } else {
            escaped += c;
        }
    }
    return escaped;
}

bool PrintLine(const std::string& line) {
    std::string whole = line + "\n";
    return std::fwrite(whole.data(), 1, whole.size(), stdout) == whole.size() && std::fflush(stdout) == 0;
}

void PrintError(const std::string& message) {
    (void)std::fprintf(stderr, "zelto: %s\n", Escape(message).c_str());
}

} // namespace tool
