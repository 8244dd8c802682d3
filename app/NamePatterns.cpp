#include "zelto/ZeltoAppPatterns.h"

// The parameters are taken by value because the signatures are binary interface.
// NOLINTBEGIN(performance-unnecessary-value-param)

bool patternMatch(std::string pattern, std::string name, int* index) {
    // Without a "*" the position is npos: substr() below then raises out_of_range for every name, as callers
    // expect.
    const std::size_t wildcard = pattern.find('*');
    const std::string suffix = name.substr(name.find('.', wildcard));
    if (pattern.substr(0, wildcard) != name.substr(0, wildcard) || pattern.substr(wildcard + 1) != suffix) {
        return false;
    }
    if (index != nullptr) {
        *index = std::stoi(name.substr(wildcard, name.size() - wildcard - suffix.size()));
    }
    return true;
}

void getWildcardIndices(std::string pattern, std::vector<std::string> names, std::vector<int>& indices) {
    for (const std::string& name : names) {
        int index = 0;
        if (patternMatch(pattern, name, &index)) {
            indices.push_back(index);
        }
    }
}

// NOLINTEND(performance-unnecessary-value-param)
