#include "zelto/ZeltoAppPatterns.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr const char* SSID_PATTERN = "Device.WiFi.SSID.*.SSID";

// The message of the exception that `call` raises, "" when it raises none of the kind.
template <typename TException, typename TCall>
std::string MessageOf(TCall call) {
    try {
        call();
    } catch (const TException& error) {
        return error.what();
    }
    return {};
}

TEST(PatternMatch, FillsTheNumberAtTheWildcard) {
    const struct {
        const char* pattern;
        const char* name;
        int index;
    } cases[] = {
        {SSID_PATTERN, "Device.WiFi.SSID.3.SSID", 3},
        {SSID_PATTERN, "Device.WiFi.SSID.12.SSID", 12},
        {"A.*.B", "A.007.B", 7},
        {"A.*.B", "A.-4.B", -4},
        {"A.*.B", "A.+4.B", 4},
        {"A.*.B", "A. 4.B", 4},
        {"A.*.B", "A.7x.B", 7},
        {"A.*.B", "A.2147483647.B", 2147483647},
        {"*.B", "9.B", 9},
        {"A.x*.B", "A.x5.B", 5},
        {"A.*.", "A.6.", 6},
        {"A.*.B.2.C", "A.1.B.2.C", 1},
    };
    for (const auto& item : cases) {
        int index = 99;
        EXPECT_TRUE(patternMatch(item.pattern, item.name, &index)) << item.name;
        EXPECT_EQ(index, item.index) << item.name;
    }
}

TEST(PatternMatch, LeavesTheIndexUnchangedWhenTheNameDiffers) {
    const struct {
        const char* pattern;
        const char* name;
    } cases[] = {
        {SSID_PATTERN, "Device.WiFi.SSID.12.Enable"},
        {SSID_PATTERN, "Device.WiFi.AccessPoint.1.SSID"},
        {SSID_PATTERN, "device.WiFi.SSID.3.SSID"},
        {SSID_PATTERN, "Device.WiFi.SSID.3.SSID."},
        {SSID_PATTERN, "Device.WiFi.SSID.3.4.SSID"},
        {"A.*.B", "A.1.b"},
        {"A.*B", "A.1.B"}, // the wildcard ends at the "."
    };
    for (const auto& item : cases) {
        int index = 99;
        EXPECT_FALSE(patternMatch(item.pattern, item.name, &index)) << item.name;
        EXPECT_EQ(index, 99) << item.name;
    }
}

TEST(PatternMatch, TakesAnyComponentWithoutAnIndex) {
    EXPECT_TRUE(patternMatch(SSID_PATTERN, "Device.WiFi.SSID.abc.SSID", nullptr));
    EXPECT_TRUE(patternMatch("A.*.B", "A..B", nullptr));
}

TEST(PatternMatch, TakesOnlyTheFirstStarForAWildcard) {
    int index = 0;
    EXPECT_TRUE(patternMatch("A.*.B.*.C", "A.1.B.*.C", &index));
    EXPECT_EQ(index, 1);
    EXPECT_FALSE(patternMatch("A.*.B.*.C", "A.1.B.2.C", &index));
}

TEST(PatternMatch, NeverMatchesAPatternThatEndsInTheWildcard) {
    EXPECT_FALSE(patternMatch("A.*", "A.1.", nullptr));
    EXPECT_FALSE(patternMatch("A.*", "A.1.B", nullptr));
    EXPECT_THROW(patternMatch("A.*", "A.1", nullptr), std::out_of_range);
}

TEST(PatternMatch, ThrowsWhenNoDotFollowsTheWildcardPosition) {
    for (const char* name : {"A.1", "A.", "A", "", "B.1"}) {
        EXPECT_THROW(patternMatch("A.*.B", name, nullptr), std::out_of_range) << name;
    }
}

TEST(PatternMatch, ThrowsForEveryNameWithoutAWildcard) {
    for (const char* name : {"A.1.B", "A", "", "..."}) {
        EXPECT_THROW(patternMatch("A.1.B", name, nullptr), std::out_of_range) << name;
        EXPECT_THROW(patternMatch("", name, nullptr), std::out_of_range) << name;
    }
}

TEST(PatternMatch, SaysWhichPositionIsMissing) {
    const std::string message = MessageOf<std::out_of_range>([] { patternMatch("A.*.B", "A.1", nullptr); });
    EXPECT_EQ(message, "basic_string::substr: __pos (which is " + std::to_string(std::string::npos) +
                           ") > this->size() (which is 3)");
}

TEST(PatternMatch, ThrowsWhenTheComponentIsNoNumber) {
    int index = 99;
    EXPECT_EQ(MessageOf<std::invalid_argument>([&] { patternMatch("A.*.B", "A.x.B", &index); }), "stoi");
    EXPECT_EQ(MessageOf<std::invalid_argument>([&] { patternMatch("A.*.B", "A..B", &index); }), "stoi");
    EXPECT_EQ(index, 99);
}

TEST(PatternMatch, ThrowsWhenTheNumberDoesNotFit) {
    int index = 99;
    for (const char* name : {"A.2147483648.B", "A.-2147483649.B", "A.99999999999999999999.B"}) {
        EXPECT_EQ(MessageOf<std::out_of_range>([&] { patternMatch("A.*.B", name, &index); }), "stoi") << name;
    }
    EXPECT_EQ(index, 99);
}

TEST(GetWildcardIndices, AppendsTheNumbersOfMatchingNamesInOrder) {
    std::vector<int> indices{9};
    getWildcardIndices("A.*.B", {"A.1.B", "A.2.C", "A.5.B"}, indices);
    EXPECT_EQ(indices, (std::vector<int>{9, 1, 5}));
}

TEST(GetWildcardIndices, ReturnsAtOnceWithoutNames) {
    std::vector<int> indices{9};
    getWildcardIndices("no wildcard", {}, indices);
    EXPECT_EQ(indices, std::vector<int>{9});
}

TEST(GetWildcardIndices, KeepsTheNumbersFoundBeforeAnException) {
    std::vector<int> indices;
    EXPECT_THROW(getWildcardIndices("A.*.B", {"A.1.B", "A.2.B", "A.x.B", "A.3.B"}, indices),
                 std::invalid_argument);
    EXPECT_EQ(indices, (std::vector<int>{1, 2}));
    EXPECT_THROW(getWildcardIndices("A.*.B", {"A.4.B", "A.5"}, indices), std::out_of_range);
    EXPECT_EQ(indices, (std::vector<int>{1, 2, 4}));
}

} // namespace
