#include "Values.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>

namespace gateway {

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string ReadLine(const std::string& path) {
    const char* blanks = " \t\r";
    std::string line;
    std::ifstream file(path, std::ios::binary);
    // Firmware tables are exported with a NUL at the end.
    std::getline(file, line);
    line.erase(std::find(line.begin(), line.end(), '\0'), line.end());
    line.erase(0, line.find_first_not_of(blanks));
    line.erase(line.find_last_not_of(blanks) + 1);
    return line;
}

std::string BooleanText(bool value) {
    return value ? "true" : "false";
}

bool ParseBoolean(const std::string& text, bool& value) {
    bool isTrue = text == "true" || text == "1";
    if (!isTrue && text != "false" && text != "0") {
        return false;
    }
    value = isTrue;
    return true;
}

bool ParseUnsigned(const std::string& text, uint64_t highest, uint64_t& value) {
    uint64_t number = 0;
    const char* end = text.data() + text.size();
    auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || number > highest) {
        return false;
    }
    value = number;
    return true;
}

} // namespace gateway
