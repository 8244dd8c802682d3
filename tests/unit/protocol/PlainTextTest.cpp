#include "protocol/PlainText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::size_t PlainLength(const std::string& text) {
    return static_cast<std::size_t>(zelto::EndOfPlainText(text.data(), text.data() + text.size()) -
                                    text.data());
}

TEST(EndOfPlainText, IsTheEndOfAPlainTextOfAnyLength) {
    for (std::size_t length = 0; length < 40; ++length) {
        EXPECT_EQ(PlainLength(std::string(length, 'a')), length);
    }
}

TEST(EndOfPlainText, StopsAtEachCharacterThatNeedsAnEscapeWhereverItStands) {
    std::string characters = "\"\\";
    for (char control = 0; control < 0x20; ++control) {
        characters.push_back(control);
    }
    for (const char character : characters) {
        for (std::size_t at = 0; at < 20; ++at) {
            std::string text(20, 'a');
            text[at] = character;
            EXPECT_EQ(PlainLength(text), at) << static_cast<int>(character);
        }
    }
}

TEST(EndOfPlainText, PassesOverAllOtherAsciiCharacters) {
    std::string text;
    for (char character = 0x20; character != 0x7F; ++character) {
        if (character != '"' && character != '\\') {
            text.push_back(character);
        }
    }
    text.push_back(0x7F);
    EXPECT_EQ(PlainLength(text), text.size());
}

TEST(EndOfPlainText, PassesOverUtf8) {
    for (const char* text :
         {"\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
          "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "a\xC3\xA4z\xE2\x82\xACq"}) {
        EXPECT_EQ(PlainLength(text), std::string(text).size()) << text;
    }
}

TEST(EndOfPlainText, StopsAtWhatIsNotUtf8) {
    for (const char* text :
         {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x7F", "\xC2\xC0", "\xE0\x9F\xBF", "\xE0\xA0",
          "\xE1\x80\xC0", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80",
          "\xF1\x80\x80\x7F", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFE", "\xFF"}) {
        EXPECT_EQ(PlainLength(std::string("abc") + text), 3U) << text;
    }
}

TEST(Utf8Beginning, PassesOverWhatNeedsAnEscapeAndEndsAtWhatIsNotUtf8OrANul) {
    EXPECT_EQ(zelto::Utf8Beginning(""), "");
    EXPECT_EQ(zelto::Utf8Beginning("\"\\\n\x01 long enough for a word \"\xC3\xA4"),
              "\"\\\n\x01 long enough for a word \"\xC3\xA4");
    EXPECT_EQ(zelto::Utf8Beginning("\"a\"\xFF\"b\""), "\"a\"");
    EXPECT_EQ(zelto::Utf8Beginning("\xC3"), "");
    EXPECT_EQ(zelto::Utf8Beginning(std::string_view("a\0b", 3)), "a");
}

} // namespace
