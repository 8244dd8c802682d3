// Names that stand for every instance of a table.
#ifndef ZELTO_PLATFORM_WILDCARDS_H
#define ZELTO_PLATFORM_WILDCARDS_H

#include <string>
#include <string_view>
#include <vector>

namespace zelto {

bool IsWildcard(std::string_view name);

struct TExpandedNames {
    std::vector<std::string> names;
    // The names came from a wildcard and so carry platform instance numbers.
    bool fromWildcard = false;
};

// The name itself when it holds no "*". Otherwise one name for each instance that the platform reports in
// place of the first "*", none when the platform fails or reports no instance. The mark "@" is kept.
TExpandedNames ExpandName(std::string name);

} // namespace zelto

#endif
