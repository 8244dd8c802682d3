#include "app/NameMatch.h"

#include <algorithm>

namespace zelto {

namespace {

constexpr char ANY_INSTANCE = '*';

bool IsDigitAt(std::string_view name, std::size_t position) {
    return name[position] >= '0' && name[position] <= '9';
}

std::size_t SkipDigits(std::string_view name, std::size_t position) {
    while (position < name.size() && IsDigitAt(name, position)) {
        ++position;
    }
    return position;
}

} // namespace

bool NamesMatch(std::string_view requested, std::string_view returned) {
    std::size_t left = 0;
    std::size_t right = 0;
    while (left < requested.size() && right < returned.size()) {
        if (requested[left] == returned[right]) {
            ++left;
            ++right;
        } else if (requested[left] == ANY_INSTANCE && IsDigitAt(returned, right)) {
            ++left;
            right = SkipDigits(returned, right);
        } else if (returned[right] == ANY_INSTANCE && IsDigitAt(requested, left)) {
            left = SkipDigits(requested, left);
            ++right;
        } else {
            return false;
        }
    }
    return left == requested.size() && right == returned.size();
}

TRequestedNames::TRequestedNames(const std::vector<std::string>& requestedNames) : names(requestedNames) {
    firstIndices.reserve(names.size());
    for (std::size_t index = 0; index < names.size(); ++index) {
        firstIndices.emplace(names[index], index);
        if (names[index].find(ANY_INSTANCE) != std::string::npos) {
            patterns.push_back(index);
        }
    }
}

std::size_t TRequestedNames::FirstMatch(const std::string& returned) const {
    if (returned.find(ANY_INSTANCE) != std::string::npos) {
        const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& requested) {
            return NamesMatch(requested, returned);
        });
        return static_cast<std::size_t>(found - names.begin());
    }
    const auto equal = firstIndices.find(returned);
    return FirstPatternMatch(returned, equal == firstIndices.end() ? names.size() : equal->second);
}

// Without a "*" of its own the returned name equals the plain name that it matches; only a pattern that was
// asked for earlier comes before that one.
std::size_t TRequestedNames::FirstPatternMatch(std::string_view returned, std::size_t end) const {
    for (const std::size_t index : patterns) {
        if (index >= end) {
            break;
        }
        if (NamesMatch(names[index], returned)) {
            return index;
        }
    }
    return end;
}

} // namespace zelto
