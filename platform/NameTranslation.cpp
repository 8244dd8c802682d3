#include "platform/NameSegments.h"
#include "zelto/ZeltoPlatformNames.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>

namespace zelto {

namespace {

constexpr std::size_t SHOWN_DIGITS = 32; // of a number that is refused, whatever its length

using TWord = std::uint64_t;

constexpr TWord EACH_BYTE = 0x0101010101010101U;
constexpr TWord LOW_BITS = EACH_BYTE * 0x7FU;

// The highest bit of each byte of eight that is a separator.
TWord SeparatorsAmong(const char* position) {
    TWord word = 0;
    std::memcpy(&word, position, sizeof(word));
    const TWord zeros = word ^ EACH_BYTE * static_cast<unsigned char>(PATH_SEPARATOR);
    return ~(((zeros & LOW_BITS) + LOW_BITS) | zeros | LOW_BITS);
}

} // namespace

void TNameSegments::Read(std::string_view name) {
    text = name;
    separators.clear();
    std::size_t position = 0;
    if constexpr (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) {
        for (; name.size() - position >= sizeof(TWord); position += sizeof(TWord)) {
            for (TWord marks = SeparatorsAmong(name.data() + position); marks != 0; marks &= marks - 1) {
                separators.push_back(position + static_cast<std::size_t>(__builtin_ctzll(marks)) / 8);
            }
        }
    }
    for (; position < name.size(); ++position) {
        if (name[position] == PATH_SEPARATOR) {
            separators.push_back(position);
        }
    }
}

bool TNameSegments::HasKey(std::string_view key) const {
    const bool isBeginning = TakeKeyPieces([&key](std::string_view piece) {
        const bool isNext = key.substr(0, piece.size()) == piece;
        key.remove_prefix(isNext ? piece.size() : 0);
        return isNext;
    });
    return isBeginning && key.empty();
}

bool ReadInstanceNumber(std::string_view digits, int& number) {
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, number);
    if (result.ptr != end) {
        return false;
    }
    if (result.ec != std::errc()) {
        throw std::out_of_range("instance number too large: " + std::string(digits.substr(0, SHOWN_DIGITS)));
    }
    return true;
}

// A root that ends with a separator, as roots do, can only end at one of the separators. Roots and names
// begin alike, so the character before it is looked at first.
bool TNameSegments::Holds(std::string_view root) const {
    if (root.size() < 2 || root.back() != PATH_SEPARATOR) {
        return text.find(root) != std::string_view::npos;
    }
    const char* const begin = text.data();
    const char last = root[root.size() - 2];
    for (const std::size_t* separator = separators.end(); separator != separators.begin();) {
        const std::size_t size = *--separator + 1;
        if (size < root.size()) {
            break; // and those before it leave still less room
        }
        if (begin[size - 2] == last &&
            std::memcmp(begin + size - root.size(), root.data(), root.size()) == 0) {
            return true;
        }
    }
    return false;
}

bool TNameSegments::HoldsTranslatedRoot() const {
    return std::any_of(rootVector.begin(), rootVector.end(),
                       [this](const std::string& root) { return Holds(root); });
}

} // namespace zelto

using namespace zelto;

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
    if (!IsMarked(name)) {
        return 1;
    }
    name.erase(0, 1);
    return 0;
}

bool convertObjectToJsonName(std::string& name) {
    std::string key;
    TNameSegments(name).AppendKey(key);
    const bool changed = key != name;
    name.swap(key);
    return changed;
}

void getIndices(const char* name, std::vector<int>& out) {
    out.clear();
    TNameSegments(name != nullptr ? name : "").AppendInstanceNumbers(out);
}
