#include "zelto/ZeltoPlatformNames.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace {

constexpr char PATH_SEPARATOR = '.';
constexpr char NO_TRANSLATION_MARK = '@';
constexpr const char* INSTANCE_PLACEHOLDER = "{i}";
constexpr std::size_t SHOWN_DIGITS = 32; // of a number that is refused, whatever its length

// Of ASCII, whatever the locale says.
bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsInstanceNumber(std::string_view segment) {
    return !segment.empty() && std::all_of(segment.begin(), segment.end(), IsDigit);
}

int InstanceNumber(std::string_view digits) {
    int number = 0;
    const std::from_chars_result result =
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec != std::errc()) {
        throw std::out_of_range("instance number too large: " + std::string(digits.substr(0, SHOWN_DIGITS)));
    }
    return number;
}

} // namespace

void referIndexMap(std::string& name, const std::unordered_map<std::string, std::string>& map) {
    for (const std::string& root : rootVector) {
        const std::size_t begin = name.find(root);
        if (begin == std::string::npos) {
            continue;
        }
        const std::size_t end = std::min(name.find(PATH_SEPARATOR, begin + root.size()), name.size());
        const auto known = map.find(name.substr(begin, end - begin));
        if (known != map.end()) {
            name.replace(begin, end - begin, known->second);
        }
    }
}

void referRequestIndexMap(std::string& name) {
    referIndexMap(name, DataModelRequestIndexMap);
}

void referResponseIndexMap(std::string& name) {
    referIndexMap(name, DataModelResponseIndexMap);
}

int stripIndexMapNegator(std::string& name) {
    if (name.empty() || name.front() != NO_TRANSLATION_MARK) {
        return 1;
    }
    name.erase(0, 1);
    return 0;
}

bool convertObjectToJsonName(std::string& name) {
    bool changed = false;
    std::size_t end =
        name.rfind(PATH_SEPARATOR); // what follows the last separator is a leaf, never an instance
    while (end != std::string::npos && end != 0) {
        const std::size_t separator = name.rfind(PATH_SEPARATOR, end - 1);
        const std::size_t begin = separator == std::string::npos ? 0 : separator + 1;
        if (IsDigit(name[begin])) {
            name.replace(begin, end - begin, INSTANCE_PLACEHOLDER);
            changed = true;
        }
        end = separator;
    }
    return changed;
}

void getIndices(const char* name, std::vector<int>& out) {
    out.clear();
    std::string_view rest = name != nullptr ? name : "";
    while (!rest.empty()) {
        const std::size_t length = std::min(rest.find(PATH_SEPARATOR), rest.size());
        const std::string_view segment = rest.substr(0, length);
        if (IsInstanceNumber(segment)) {
            out.push_back(InstanceNumber(segment));
        }
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
}
