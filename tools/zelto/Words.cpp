#include "Words.h"

#include <cctype>
#include <cstring>

namespace tool {

namespace {

class TSplitter {
public:
    TSplitter(const std::string& text, std::vector<std::string>& found) : line(text), words(found) {}

    bool Split() {
        while (SkipBlanks()) {
            words.emplace_back();
            if (!ReadWord(words.back())) {
                return false;
            }
        }
        return true;
    }

private:
    bool IsAtBlank() const { return std::isspace(static_cast<unsigned char>(line[at])) != 0; }

    // False at the end of what counts.
    bool SkipBlanks() {
        while (at < line.size() && IsAtBlank()) {
            ++at;
        }
        return at < line.size() && line[at] != '#';
    }

    bool ReadWord(std::string& word) {
        while (at < line.size() && !IsAtBlank()) {
            char c = line[at++];
            if (c == '\'' || c == '"') {
                if (!ReadQuoted(c, word)) {
                    return false;
                }
            } else if (c == '\\' && at < line.size()) {
                word += line[at++];
            } else {
                word += c;
            }
        }
        return true;
    }

    // Up to the quote that closes it; false when there is none.
    bool ReadQuoted(char quote, std::string& word) {
        while (at < line.size()) {
            char c = line[at++];
            if (c == quote) {
                return true;
            }
            bool isMasked =
                c == '\\' && quote == '"' && at < line.size() && (line[at] == '"' || line[at] == '\\');
            word += isMasked ? line[at++] : c;
        }
        return false;
    }

    const std::string& line;
    std::vector<std::string>& words;
    size_t at = 0;
};

} // namespace

bool SplitWords(const std::string& line, std::vector<std::string>& words) {
    words.clear();
    return TSplitter(line, words).Split();
}

} // namespace tool
