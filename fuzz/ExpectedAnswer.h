// What an application is to make of the text of an answer, found out with jansson alone.
#ifndef ZELTO_FUZZ_EXPECTED_ANSWER_H
#define ZELTO_FUZZ_EXPECTED_ANSWER_H

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace fuzz {

struct TExpectedAnswer {
    explicit TExpectedAnswer(const std::string& text);

    std::vector<std::pair<std::string, std::string>> params;
    std::string value;
    std::string status;
    int id = 0;
    std::vector<int> ids;
    std::unordered_map<std::string, std::vector<std::pair<int, int>>> indexMap;
};

} // namespace fuzz

#endif
