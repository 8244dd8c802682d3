// Splits a line into words as a shell does, without expanding anything.
#ifndef ZELTO_TOOL_WORDS_H
#define ZELTO_TOOL_WORDS_H

#include <string>
#include <vector>

namespace tool {

// Blanks separate words. '...' is taken as it is, in "..." a backslash makes a quote or a backslash ordinary,
// outside it makes any character ordinary. "#" at the beginning of a word begins a comment. Returns false
// when a quote is not closed; `words` then ends with what was begun.
bool SplitWords(const std::string& line, std::vector<std::string>& words);

} // namespace tool

#endif
