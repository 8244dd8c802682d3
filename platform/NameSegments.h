// A data-model name taken apart once, for all that a request makes of it.
#ifndef ZELTO_PLATFORM_NAME_SEGMENTS_H
#define ZELTO_PLATFORM_NAME_SEGMENTS_H

#include "utils/ShortList.h"

#include <cstddef>
#include <string_view>

namespace zelto {

constexpr char PATH_SEPARATOR = '.';
constexpr std::string_view INSTANCE_PLACEHOLDER = "{i}";
constexpr char NO_TRANSLATION_MARK = '@';

// Whether nothing is to be translated for that name.
inline bool IsMarked(std::string_view name) {
    return !name.empty() && name.front() == NO_TRANSLATION_MARK;
}

// Of ASCII, whatever the locale says.
inline bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// Throws std::out_of_range when the digits at the beginning of the text are all of it and make a number above
// 2147483647. False when they are not all of it.
bool ReadInstanceNumber(std::string_view digits, int& number);

// A name and where its separators are. It refers to the text, behind which a NUL stands.
class TNameSegments {
public:
    explicit TNameSegments(std::string_view name) { Read(name); }

    // Refers to another name from now on.
    void Read(std::string_view name);

    std::string_view Text() const { return text; }

    // Whether the name holds one of the roots that carry an index map. Without one there is nothing to
    // translate.
    bool HoldsTranslatedRoot() const;

    // Appends the function-table key: each segment before a separator that begins with a digit becomes a
    // placeholder.
    template <typename TText>
    void AppendKey(TText& key) const {
        (void)TakeKeyPieces([&key](std::string_view piece) {
            key.append(piece.data(), piece.size());
            return true;
        });
    }

    // Whether that is the key.
    bool HasKey(std::string_view key) const;

    // Appends the instance numbers, outer first. Throws std::out_of_range for a number above
    // 2147483647; those before it have been appended then.
    template <typename TNumbers>
    void AppendInstanceNumbers(TNumbers& numbers) const {
        std::size_t begin = 0;
        for (const std::size_t end : separators) {
            AppendInstanceNumber(numbers, begin, end);
            begin = end + 1;
        }
        AppendInstanceNumber(numbers, begin, text.size());
    }

private:
    // Hands over the key piece by piece, until one is not taken.
    template <typename TTake>
    bool TakeKeyPieces(TTake take) const {
        std::size_t taken = 0;
        std::size_t begin = 0;
        for (const std::size_t end : separators) {
            if (IsDigit(text[begin])) {
                if (!take(text.substr(taken, begin - taken)) || !take(INSTANCE_PLACEHOLDER)) {
                    return false;
                }
                taken = end;
            }
            begin = end + 1;
        }
        return take(text.substr(taken));
    }

    template <typename TNumbers>
    void AppendInstanceNumber(TNumbers& numbers, std::size_t begin, std::size_t end) const {
        int number = 0;
        if (begin < end && IsDigit(text[begin]) &&
            ReadInstanceNumber(text.substr(begin, end - begin), number)) {
            numbers.push_back(number);
        }
    }

    bool Holds(std::string_view root) const;

    std::string_view text;
    TShortList<std::size_t, 32> separators;
};

} // namespace zelto

#endif
