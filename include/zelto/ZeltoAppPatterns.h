// Patterns for data-model names: one "*" stands for an instance number. The functions keep no state and may
// be called from any thread.
#ifndef ZELTO_APP_PATTERNS_H
#define ZELTO_APP_PATTERNS_H

#include "zelto/Export.h"

#include <string>
#include <vector>

// Returns whether `name` equals `pattern` with its first "*" replaced by text without a ".". A further "*" is
// an ordinary character. `index`, when it is not null, receives the number that stands at the "*"; it is
// written only when the result is true.
//
// The "*" must be followed by a ".": a pattern that ends in "*" matches nothing, and a pattern without "*"
// throws for every name.
//
// Throws std::out_of_range when `name` has no "." at or after the position of the "*", whether it would match
// or not, and when the number does not fit into `int`; std::invalid_argument when `name` matches but has no
// number there and `index` is not null. Characters behind the digits are ignored ("7x" is 7).
ZELTO_API bool patternMatch(std::string pattern, std::string name, int* index);

// Appends to `indices` the number of each name that matches, in the order of `names`. Throws as patternMatch
// does; `indices` then holds the numbers of the names before.
ZELTO_API void getWildcardIndices(std::string pattern, std::vector<std::string> names,
                                  std::vector<int>& indices);

#endif
