// A data-model name taken apart once, for all that a request makes of it.
#ifndef ZELTO_PLATFORM_NAME_SEGMENTS_H
#define ZELTO_PLATFORM_NAME_SEGMENTS_H

#include "utils/ShortList.h"

#include <cstddef>
#include <string_view>

namespace zelto {

constexpr char PATH_SEPARATOR = '.';
constexpr std::string_view INSTANCE_PLACEHOLDER = "{i}";

// Of ASCII, whatever the locale says.
inline bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// Throws std::out_of_range when the digits at the beginning of the text are all of it and make a number above
// 32 bits. False when they are not all of it.
bool ReadInstanceNumber(std::string_view digits, int& number);

// A name and where its separators are. It refers to the text, behind which a NUL stands.
class TNameSegments {
public:
    explicit TNameSegments(std::string_view name) { Read(name); }

    // Refers to another name from now on.
    void Read(std::string_view name) {
        text = name;
        separators.clear();
        for (std::size_t position = 0; position < name.size(); ++position) {
            if (name[position] == PATH_SEPARATOR) {
                separators.push_back(position);
            }
        }
    }

    const char* Text() const { return text.data(); }

    // Whether the name holds one of the roots that carry an index map. Without one there is nothing to
    // translate.
    bool HoldsTranslatedRoot() const;

    // Appends the function-table key: each segment before a separator that begins with a digit becomes a
    // placeholder.
    template <typename TText>
    void AppendKey(TText& key) const {
        std::size_t copied = 0;
        std::size_t begin = 0;
        for (const std::size_t end : separators) {
            if (IsDigit(text[begin])) {
                key.append(text.data() + copied, begin - copied);
                key.append(INSTANCE_PLACEHOLDER.data(), INSTANCE_PLACEHOLDER.size());
                copied = end;
            }
            begin = end + 1;
        }
        key.append(text.data() + copied, text.size() - copied);
    }

    // Appends the instance numbers, outer first, up to the first NUL. Throws std::out_of_range for a number
    // above 32 bits.
    template <typename TNumbers>
    void AppendInstanceNumbers(TNumbers& numbers) const {
        const std::string_view name(text.data());
        std::size_t begin = 0;
        for (const std::size_t end : separators) {
            AppendInstanceNumber(numbers, name, begin, end);
            begin = end + 1;
        }
        AppendInstanceNumber(numbers, name, begin, name.size());
    }

private:
    template <typename TNumbers>
    static void AppendInstanceNumber(TNumbers& numbers, std::string_view name, std::size_t begin,
                                     std::size_t end) {
        int number = 0;
        if (begin < name.size() && IsDigit(name[begin]) &&
            ReadInstanceNumber(name.substr(begin, end - begin), number)) {
            numbers.push_back(number);
        }
    }

    bool Holds(std::string_view root) const;

    std::string_view text;
    TShortList<std::size_t, 32> separators;
};

} // namespace zelto

#endif
