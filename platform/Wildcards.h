// Names that stand for every instance of a table.
#ifndef ZELTO_PLATFORM_WILDCARDS_H
#define ZELTO_PLATFORM_WILDCARDS_H

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace zelto {

// Releases what the platform has allocated.
struct TFree {
    void operator()(void* memory) const { std::free(memory); }
};

bool IsWildcard(std::string_view name);

// The names that a wildcard stands for: one for each instance that the platform reports in place of the first
// "*". They carry platform instance numbers, and the mark "@" when the wildcard does. They are made one at a
// time, since all copies of a long name would take many times its size.
class TInstanceNames {
public:
    // Asks the platform. There are no names when it fails or reports no instance. Refers to the wildcard.
    explicit TInstanceNames(const std::string& wildcard);

    std::size_t Count() const { return count; }
    // Puts a name in place of what `name` held; of a position below the count.
    void Write(std::size_t position, std::string& name) const;

private:
    std::string prefix;
    std::string_view suffix;
    std::unique_ptr<int[], TFree> ids;
    std::size_t count = 0;
};

} // namespace zelto

#endif
