#include "zelto/ZeltoGenericUtils.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <limits>
#include <string>
#include <typeinfo>
#include <vector>

using namespace ZeltoGenericUtils;

namespace {

template <typename TNumber>
struct TConversion {
    const char* text;
    bool consumed;
    TNumber value;
};

// Conversions that every overload does alike.
template <typename TNumber>
class StringToIntegerOf : public testing::Test {};

using TIntegers = testing::Types<int, long, long long, unsigned int, unsigned long, unsigned long long>;
TYPED_TEST_SUITE(StringToIntegerOf, TIntegers, );

TYPED_TEST(StringToIntegerOf, ConvertsAsTheCLibraryDoes) {
    const TConversion<TypeParam> conversions[] = {
        {"42", true, 42},
        {"0", true, 0},
        {"007", true, 7},
        {"+5", true, 5},
        {" 7", true, 7},
        {"\t\n 8", true, 8},
        {"42 ", false, 42},
        {"4x", false, 4},
        {"0x10", false, 0},
        {"1.5", false, 1},
        {"x", false, 0},
        {" ", false, 0},
        {"-", false, 0},
        {"- 1", false, 0},
        {"+-1", false, 0},
        {"--1", false, 0},
        {"2147483647", true, 2147483647},
    };
    for (const auto& conversion : conversions) {
        TypeParam value = 99;
        EXPECT_EQ(StringToInteger(conversion.text, value), conversion.consumed) << conversion.text;
        EXPECT_EQ(value, conversion.value) << conversion.text;
    }
}

TYPED_TEST(StringToIntegerOf, TakesTheEmptyTextForZero) {
    TypeParam value = 99;
    EXPECT_TRUE(StringToInteger("", value));
    EXPECT_EQ(value, TypeParam{0});
}

TYPED_TEST(StringToIntegerOf, WritesTheValueAlsoWhenItFails) {
    TypeParam value = 99;
    EXPECT_FALSE(StringToInteger("4x", value));
    EXPECT_EQ(value, TypeParam{4});
}

TYPED_TEST(StringToIntegerOf, RejectsWhatFollowsAnEmbeddedNul) {
    TypeParam value = 99;
    EXPECT_FALSE(StringToInteger(std::string("12\0x", 4), value));
    EXPECT_EQ(value, TypeParam{12});
}

TYPED_TEST(StringToIntegerOf, SucceedsWithTheUpperLimitWhenOutOfRange) {
    TypeParam value = 0;
    EXPECT_TRUE(StringToInteger(std::string(400, '9'), value));
    EXPECT_EQ(value, std::numeric_limits<TypeParam>::max());
}

TYPED_TEST(StringToIntegerOf, SetsErrnoWhenOutOfRange) {
    TypeParam value = 0;
    errno = 0;
    EXPECT_TRUE(StringToInteger(std::string(400, '9'), value));
    EXPECT_EQ(errno, ERANGE);
}

TYPED_TEST(StringToIntegerOf, LeavesErrnoAloneWhenInRange) {
    TypeParam value = 0;
    errno = EPERM;
    EXPECT_TRUE(StringToInteger("17", value));
    EXPECT_EQ(errno, EPERM);
}

TEST(StringToIntegerAsInt, ClampsToThirtyTwoBits) {
    const TConversion<int> conversions[] = {
        {"-1", true, -1},
        {"2147483648", true, INT32_MAX},
        {"4294967296", true, INT32_MAX},
        {"9223372036854775808", true, INT32_MAX},
        {"-2147483648", true, INT32_MIN},
        {"-2147483649", true, INT32_MIN},
        {"-99999999999999999999", true, INT32_MIN},
        {"4294967301x", false, INT32_MAX},
    };
    for (const auto& conversion : conversions) {
        int value = 99;
        EXPECT_EQ(StringToInteger(conversion.text, value), conversion.consumed) << conversion.text;
        EXPECT_EQ(value, conversion.value) << conversion.text;
    }
}

TEST(StringToIntegerAsUnsigned, WrapsAndClampsToThirtyTwoBits) {
    const TConversion<unsigned int> conversions[] = {
        {"4294967295", true, UINT32_MAX},
        {"4294967296", true, UINT32_MAX},
        {"18446744073709551615", true, UINT32_MAX},
        {"-1", true, UINT32_MAX},
        {"-0", true, 0},
        {"-2147483649", true, 2147483647},
        {"-4294967295", true, 1},
        {"-4294967296", true, UINT32_MAX},
        {"-18446744073709551616", true, UINT32_MAX},
        {" -2 ", false, UINT32_MAX - 1},
    };
    for (const auto& conversion : conversions) {
        unsigned int value = 99;
        EXPECT_EQ(StringToInteger(conversion.text, value), conversion.consumed) << conversion.text;
        EXPECT_EQ(value, conversion.value) << conversion.text;
    }
}

TEST(StringToIntegerAsLong, ClampsToTheWidthOfTheMachine) {
    long value = 0;
    EXPECT_TRUE(StringToInteger("-99999999999999999999", value));
    EXPECT_EQ(value, LONG_MIN);
    EXPECT_TRUE(StringToInteger(std::to_string(LONG_MAX), value));
    EXPECT_EQ(value, LONG_MAX);
}

TEST(StringToIntegerAsLongLong, HasSixtyFourBits) {
    long long value = 0;
    EXPECT_TRUE(StringToInteger("-9223372036854775808", value));
    EXPECT_EQ(value, LLONG_MIN);
    EXPECT_TRUE(StringToInteger("-9223372036854775809", value));
    EXPECT_EQ(value, LLONG_MIN);
    EXPECT_TRUE(StringToInteger("9223372036854775806", value));
    EXPECT_EQ(value, LLONG_MAX - 1);
}

TEST(StringToIntegerAsUnsignedLong, WrapsANumberWithASign) {
    unsigned long value = 0;
    EXPECT_TRUE(StringToInteger("-1", value));
    EXPECT_EQ(value, ULONG_MAX);
}

TEST(StringToIntegerAsUnsignedLongLong, WrapsANumberWithASign) {
    unsigned long long value = 0;
    EXPECT_TRUE(StringToInteger("-18446744073709551615", value));
    EXPECT_EQ(value, 1U);
    EXPECT_TRUE(StringToInteger("18446744073709551615", value));
    EXPECT_EQ(value, ULLONG_MAX);
}

TEST(StringToBoolean, ReadsTrueInAnyLetterCaseAndOne) {
    for (const char* text : {"true", "TRUE", "True", "tRuE", "1"}) {
        bool value = false;
        EXPECT_TRUE(StringToBoolean(text, value)) << text;
        EXPECT_TRUE(value) << text;
    }
}

TEST(StringToBoolean, ReadsFalseInAnyLetterCaseAndZero) {
    for (const char* text : {"false", "FALSE", "False", "fAlSe", "0"}) {
        bool value = true;
        EXPECT_TRUE(StringToBoolean(text, value)) << text;
        EXPECT_FALSE(value) << text;
    }
}

TEST(StringToBoolean, LeavesTheValueUnchangedForOtherTexts) {
    const std::string texts[] = {"",   "Yes",   "no",     "01",    "00", "10",
                                 "+1", " true", "false ", "truee", "t",  std::string("true\0", 5)};
    for (const std::string& text : texts) {
        bool value = true;
        EXPECT_FALSE(StringToBoolean(text, value)) << text;
        EXPECT_TRUE(value) << text;
        value = false;
        EXPECT_FALSE(StringToBoolean(text, value)) << text;
        EXPECT_FALSE(value) << text;
    }
}

TEST(ToLowerCase, ReplacesLettersInPlace) {
    std::string text = "Device.WiFi.SSID.1_ABC-Z@[`{";
    ToLowerCase(text);
    EXPECT_EQ(text, "device.wifi.ssid.1_abc-z@[`{");
}

TEST(ToLowerCase, KeepsBytesOutsideAsciiAndNuls) {
    const std::string bytes("\xc3\x84\x80\xff\0B", 6);
    std::string text = bytes;
    ToLowerCase(text);
    EXPECT_EQ(text, std::string("\xc3\x84\x80\xff\0b", 6));
}

TEST(ToLowerCase, AcceptsTheEmptyText) {
    std::string text;
    ToLowerCase(text);
    EXPECT_EQ(text, "");
}

TEST(DemangleTypeName, ReadsMangledNames) {
    EXPECT_EQ(DemangleTypeName("i"), "int");
    EXPECT_EQ(DemangleTypeName(typeid(std::vector<int>*).name()), "std::vector<int, std::allocator<int> >*");
}

TEST(DemangleTypeName, GivesBackWhatIsNotMangled) {
    EXPECT_EQ(DemangleTypeName("not a mangled name"), "not a mangled name");
    EXPECT_EQ(DemangleTypeName(""), "");
}

TEST(DemangleTypeName, GivesTheEmptyTextForNull) {
    EXPECT_EQ(DemangleTypeName(nullptr), "");
}

TEST(Split, FollowsStreamExtraction) {
    const struct {
        const char* text;
        std::vector<std::string> items;
    } cases[] = {
        {"a,,b", {"a", "", "b"}}, {"a,", {"a"}},        {"", {}},
        {"abc", {"abc"}},         {",", {""}},          {",a", {"", "a"}},
        {",,", {"", ""}},         {"a b\n", {"a b\n"}}, {"x,y,z", {"x", "y", "z"}},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(Split(item.text, ','), item.items) << item.text;
    }
}

TEST(Split, TakesAnyByteAsDelimiter) {
    EXPECT_EQ(Split("x.y.", '.'), (std::vector<std::string>{"x", "y"}));
    EXPECT_EQ(Split("a\nb", '\n'), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(Split(std::string("a\0b", 3), '\0'), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(Split("a\xff"
                    "b",
                    '\xff'),
              (std::vector<std::string>{"a", "b"}));
}

} // namespace
