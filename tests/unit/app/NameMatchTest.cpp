#include "app/NameMatch.h"

#include <gtest/gtest.h>

namespace {

struct TPair {
    const char* requested;
    const char* returned;
};

void PrintTo(const TPair& pair, std::ostream* out) {
    *out << '"' << pair.requested << "\" and \"" << pair.returned << '"';
}

class MatchingNames : public testing::TestWithParam<TPair> {};

TEST_P(MatchingNames, Match) {
    EXPECT_TRUE(zelto::NamesMatch(GetParam().requested, GetParam().returned));
}

TEST_P(MatchingNames, MatchTheOtherWayRound) {
    EXPECT_TRUE(zelto::NamesMatch(GetParam().returned, GetParam().requested));
}

INSTANTIATE_TEST_SUITE_P(NamesMatch, MatchingNames,
                         testing::Values(TPair{"", ""}, TPair{"Device.A", "Device.A"},
                                         TPair{"Device.WiFi.SSID.*.SSID", "Device.WiFi.SSID.1.SSID"},
                                         TPair{"Device.WiFi.SSID.*.SSID", "Device.WiFi.SSID.12.SSID"},
                                         TPair{"Device.WiFi.SSID.*.SSID", "Device.WiFi.SSID.*.SSID"},
                                         TPair{"A.*.B.*.C", "A.1.B.234567890123.C"},
                                         TPair{"A.*.B.2.C", "A.1.B.*.C"}, TPair{"A.*", "A.7"},
                                         TPair{"A.*.B", "A.0.B"}, TPair{"A.1*.B", "A.12.B"}));

class OtherNames : public testing::TestWithParam<TPair> {};

TEST_P(OtherNames, DoNotMatch) {
    EXPECT_FALSE(zelto::NamesMatch(GetParam().requested, GetParam().returned));
}

TEST_P(OtherNames, DoNotMatchTheOtherWayRound) {
    EXPECT_FALSE(zelto::NamesMatch(GetParam().returned, GetParam().requested));
}

INSTANTIATE_TEST_SUITE_P(NamesMatch, OtherNames,
                         testing::Values(TPair{"Device.A", "Device.B"}, TPair{"Device.A", "Device.AB"},
                                         TPair{"Device.A", "device.a"}, TPair{"A", ""}, TPair{"A.*", "A."},
                                         TPair{"*", ""}, TPair{"A.*", "A.*.B"},
                                         TPair{"Device.WiFi.SSID.*.SSID", "Device.WiFi.SSID.a.SSID"},
                                         TPair{"Device.WiFi.SSID.*.SSID", "Device.WiFi.SSID.1a.SSID"},
                                         TPair{"Device.WiFi.SSID.*.SSID", "Device.WiFi.SSID..SSID"},
                                         TPair{"Device.WiFi.SSID.*.SSID", "Device.WiFi.SSID.1.2.SSID"},
                                         // The run of digits is taken whole.
                                         TPair{"A.*2.B", "A.12.B"}, TPair{"A.**.B", "A.12.B"}));

TEST(RequestedNames, FindAPlainName) {
    const std::vector<std::string> names{"A", "B", "C"};
    EXPECT_EQ(zelto::TRequestedNames(names).FirstMatch("B"), 1U);
}

TEST(RequestedNames, FindTheFirstOfTwoEqualNames) {
    const std::vector<std::string> names{"A", "B", "B"};
    EXPECT_EQ(zelto::TRequestedNames(names).FirstMatch("B"), 1U);
}

TEST(RequestedNames, PreferAnEarlierPatternToAPlainName) {
    const std::vector<std::string> names{"X", "A.*", "A.1"};
    EXPECT_EQ(zelto::TRequestedNames(names).FirstMatch("A.1"), 1U);
}

TEST(RequestedNames, PreferAnEarlierPlainNameToAPattern) {
    const std::vector<std::string> names{"A.1", "A.*"};
    EXPECT_EQ(zelto::TRequestedNames(names).FirstMatch("A.1"), 0U);
}

TEST(RequestedNames, PreferTheFirstOfTwoPatterns) {
    const std::vector<std::string> names{"A.*.B", "A.*.C", "*.*.C"};
    EXPECT_EQ(zelto::TRequestedNames(names).FirstMatch("A.1.C"), 1U);
}

TEST(RequestedNames, MatchAReturnedPatternWithAPlainName) {
    const std::vector<std::string> names{"A.x", "A.1", "A.*"};
    EXPECT_EQ(zelto::TRequestedNames(names).FirstMatch("A.*"), 1U);
}

TEST(RequestedNames, GiveTheirNumberWhenNoneMatches) {
    const std::vector<std::string> names{"A.*", "B"};
    EXPECT_EQ(zelto::TRequestedNames(names).FirstMatch("C"), 2U);
    EXPECT_EQ(zelto::TRequestedNames(names).FirstMatch("C.*"), 2U);
}

TEST(RequestedNames, AgreeWithComparingOneByOne) {
    const std::vector<std::string> pieces{"", "*", "1", "22", "a", "A.*", "A.1", "A.22.*", "A.*.3", "A.22.3"};
    const zelto::TRequestedNames requested(pieces);
    for (const std::string& returned : pieces) {
        std::size_t expected = 0;
        while (expected < pieces.size() && !zelto::NamesMatch(pieces[expected], returned)) {
            ++expected;
        }
        EXPECT_EQ(requested.FirstMatch(returned), expected) << returned;
    }
}

} // namespace
