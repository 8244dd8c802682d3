// The check of identities that the programs share.
#ifndef ZELTO_TOOLS_IDENTITY_H
#define ZELTO_TOOLS_IDENTITY_H

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string>

namespace tool {

constexpr std::size_t LONGEST_IDENTITY = 200;

// What is wrong with an identity; empty when nothing is. For checks of options: the library has the same rule
// but says so only when it connects.
inline std::string CheckIdentity(const std::string& identity) {
    const bool isPlain = std::all_of(identity.begin(), identity.end(), [](unsigned char c) {
        return c == '_' || (c < 0x80 && std::isalnum(c) != 0);
    });
    const bool isGood = isPlain && !identity.empty() && identity.size() <= LONGEST_IDENTITY &&
                        std::isdigit(static_cast<unsigned char>(identity[0])) == 0;
    return isGood ? "" : "not an identity (letters, digits and _, the first no digit): " + identity;
}

} // namespace tool

#endif
