#include "protocol/PlainReader.h"

#include "protocol/PlainText.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace zelto {

namespace {

constexpr std::string_view NAME = KEY_NAME;
constexpr std::string_view VALUE = KEY_VALUE;
constexpr std::string_view COMMIT = KEY_COMMIT;
constexpr std::string_view PARAMS = KEY_PARAMS;

// Keys of an object that have been met; a second one of the same name is jansson's to judge.
class TKeysMet {
public:
    bool Meet(unsigned key) {
        const unsigned bit = 1U << key;
        const bool isNew = (met & bit) == 0;
        met |= bit;
        return isNew;
    }

private:
    unsigned met = 0;
};

constexpr unsigned KEY_OF_COMMIT = BODY_TEXT_COUNT;
constexpr unsigned KEY_OF_PARAMS = BODY_TEXT_COUNT + 1;

// Each function reads what its name says and returns false when something else stands there.
class TPlainReader {
public:
    explicit TPlainReader(std::string_view text) : position(text.data()), end(text.data() + text.size()) {}

    bool Body(TBodyFields& fields) {
        TKeysMet met;
        const auto property = [&] {
            std::string_view key;
            return Text(key) && Take(':') && BodyValue(key, met, fields);
        };
        return Sequence('{', '}', property) && AtEnd();
    }

private:
    static constexpr std::ptrdiff_t SHORT_ENTRY_SIZE = 32;

    void SkipBlanks() {
        while (position != end &&
               (*position == ' ' || *position == '\n' || *position == '\t' || *position == '\r')) {
            ++position;
        }
    }

    bool AtEnd() {
        SkipBlanks();
        return position == end;
    }

    bool Take(char character) {
        SkipBlanks();
        if (position == end || *position != character) {
            return false;
        }
        ++position;
        return true;
    }

    bool Word(std::string_view word) {
        SkipBlanks();
        if (std::string_view(position, static_cast<std::size_t>(end - position)).substr(0, word.size()) !=
            word) {
            return false;
        }
        position += word.size();
        return true;
    }

    bool Text(std::string_view& text) {
        if (!Take('"')) {
            return false;
        }
        const char* const begin = position;
        position = EndOfPlainText(begin, end);
        text = std::string_view(begin, static_cast<std::size_t>(position - begin));
        if (position == end || *position != '"') {
            return false; // an escape, or what jansson refuses
        }
        ++position;
        return true;
    }

    // Takes a key if it is this one: in a list, where there are few keys but many of them.
    bool TakeKey(std::string_view key) {
        const auto left = static_cast<std::size_t>(end - position);
        if (left < key.size() + 2 || position[0] != '"' || position[key.size() + 1] != '"' ||
            std::memcmp(position + 1, key.data(), key.size()) != 0) {
            return false;
        }
        position += key.size() + 2;
        return true;
    }

    bool Flag(bool& flag) {
        flag = Word("true");
        return flag || Word("false");
    }

    // The pieces between two brackets, with commas between them.
    template <typename TPiece>
    bool Sequence(char open, char close, const TPiece& piece) {
        if (!Take(open)) {
            return false;
        }
        if (Take(close)) {
            return true;
        }
        do {
            if (!piece()) {
                return false;
            }
        } while (Take(','));
        return Take(close);
    }

    bool BodyValue(std::string_view key, TKeysMet& met, TBodyFields& fields) {
        if (key == PARAMS) {
            return met.Meet(KEY_OF_PARAMS) && (Word("null") || List(fields.params));
        }
        if (key == COMMIT) {
            return met.Meet(KEY_OF_COMMIT) && Flag(fields.commit);
        }
        const auto* const known = std::find(std::begin(BODY_TEXT_KEYS), std::end(BODY_TEXT_KEYS), key);
        const auto index = static_cast<unsigned>(known - std::begin(BODY_TEXT_KEYS));
        return index < BODY_TEXT_COUNT && met.Meet(index) && Text(fields.texts[index]);
    }

    bool List(std::vector<TBodyEntry>& entries) {
        SkipBlanks();
        const char* const begin = position;
        return Sequence('[', ']', [&] {
            if (entries.size() == 1) {
                // Entries of a list are alike: room for all of them, or growing would copy the list several
                // times over.
                const auto size = std::max<std::ptrdiff_t>(position - begin, SHORT_ENTRY_SIZE);
                entries.reserve(static_cast<std::size_t>((end - begin) / size) + 1);
            }
            entries.emplace_back();
            return Entry(entries.back());
        });
    }

    bool Entry(TBodyEntry& entry) {
        TKeysMet met;
        return Sequence('{', '}', [&] {
            SkipBlanks();
            if (TakeKey(NAME)) {
                return met.Meet(BODY_NAME) && Take(':') && Text(entry.name);
            }
            if (TakeKey(VALUE)) {
                return met.Meet(BODY_VALUE) && Take(':') && Text(entry.value);
            }
            return TakeKey(COMMIT) && met.Meet(KEY_OF_COMMIT) && Take(':') && Flag(entry.commit);
        });
    }

    const char* position;
    const char* const end;
};

} // namespace

bool ReadPlain(std::string_view text, TBodyFields& fields) {
    return TPlainReader(text).Body(fields);
}

} // namespace zelto
