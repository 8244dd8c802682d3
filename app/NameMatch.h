// Which requested name a returned parameter belongs to.
#ifndef ZELTO_APP_NAME_MATCH_H
#define ZELTO_APP_NAME_MATCH_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zelto {

// Whether the names are equal, where a "*" in either stands for one instance number in the other: it takes
// the whole run of digits that it meets.
bool NamesMatch(std::string_view requested, std::string_view returned);

// Finds the first of a list of requested names that a returned name matches. Names without a "*" are looked
// up, so that a list of a thousand plain names is not compared with a thousand answers one by one.
class TRequestedNames {
public:
    // Keeps a reference to `requestedNames`.
    explicit TRequestedNames(const std::vector<std::string>& requestedNames);
    // Its index, or the number of names when none matches.
    std::size_t FirstMatch(const std::string& returned) const;

private:
    std::size_t FirstPatternMatch(std::string_view returned, std::size_t end) const;

    const std::vector<std::string>& names;
    std::vector<std::size_t> patterns; // indices of the names that hold a "*", ascending
    std::unordered_map<std::string_view, std::size_t> firstIndices;
};

} // namespace zelto

#endif
