#include "zelto/ZeltoPlatformNames.h"

#include <gtest/gtest.h>

#include <clocale>
#include <stdexcept>

namespace {

using TInstanceNames = std::unordered_map<std::string, std::string>;

std::string Rewritten(std::string name, const TInstanceNames& map) {
    referIndexMap(name, map);
    return name;
}

std::string Request(std::string name) {
    referRequestIndexMap(name);
    return name;
}

std::string Response(std::string name) {
    referResponseIndexMap(name);
    return name;
}

std::vector<int> Indices(const char* name) {
    std::vector<int> indices = {99};
    getIndices(name, indices);
    return indices;
}

// What a program that links the library sees before its main function.
const std::string TRANSLATED_AT_START = Request("Device.Ethernet.Interface.1.Enable");

struct TNameCase {
    const char* name;
    const char* expected;
};

} // namespace

TEST(ReferRequestIndexMap, WorksInStaticInitialisersOfAProgram) {
    EXPECT_EQ(TRANSLATED_AT_START, "Device.Ethernet.Interface.5.Enable");
}

class ReferRequestIndexMap : public testing::TestWithParam<TNameCase> {};

TEST_P(ReferRequestIndexMap, GivesThePlatformsName) {
    EXPECT_EQ(Request(GetParam().name), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Names, ReferRequestIndexMap,
    testing::Values(TNameCase{"Device.Ethernet.Interface.1.Enable", "Device.Ethernet.Interface.5.Enable"},
                    TNameCase{"Device.Ethernet.Interface.2.Enable", "Device.Ethernet.Interface.1.Enable"},
                    TNameCase{"Device.Ethernet.Interface.3.Enable", "Device.Ethernet.Interface.2.Enable"},
                    TNameCase{"Device.Ethernet.Interface.4.Enable", "Device.Ethernet.Interface.3.Enable"},
                    TNameCase{"Device.Ethernet.Interface.5.Enable", "Device.Ethernet.Interface.4.Enable"},
                    // an instance without a pair
                    TNameCase{"Device.Ethernet.Interface.6.Enable", "Device.Ethernet.Interface.6.Enable"},
                    TNameCase{"Device.Ethernet.Interface.0.Enable", "Device.Ethernet.Interface.0.Enable"},
                    TNameCase{"Device.Ethernet.Interface.01.Enable", "Device.Ethernet.Interface.01.Enable"},
                    TNameCase{"Device.Ethernet.Interface.10.Enable", "Device.Ethernet.Interface.10.Enable"},
                    // the end of the name ends the key as well
                    TNameCase{"Device.Ethernet.Interface.1", "Device.Ethernet.Interface.5"},
                    TNameCase{"Device.Ethernet.Interface.1.", "Device.Ethernet.Interface.5."},
                    TNameCase{"Device.Ethernet.Interface.", "Device.Ethernet.Interface."},
                    TNameCase{"Device.Ethernet.Interface", "Device.Ethernet.Interface"},
                    TNameCase{"Device.Ethernet.Interface..1", "Device.Ethernet.Interface..1"},
                    // only the first instance number below the root
                    TNameCase{"Device.Ethernet.Interface.1.Stats.2.A",
                              "Device.Ethernet.Interface.5.Stats.2.A"},
                    TNameCase{"Device.WiFi.SSID.12.SSID", "Device.WiFi.SSID.12.SSID"},
                    TNameCase{"Device.Other.1.Name", "Device.Other.1.Name"},
                    TNameCase{"device.ethernet.interface.1.Enable", "device.ethernet.interface.1.Enable"},
                    // the root may stand anywhere; of one root only the first occurrence counts
                    TNameCase{"X.Device.Ethernet.Interface.1.A", "X.Device.Ethernet.Interface.5.A"},
                    TNameCase{"Device.Ethernet.Interface.1,Device.Ethernet.Interface.1",
                              "Device.Ethernet.Interface.1,Device.Ethernet.Interface.1"},
                    TNameCase{"Device.Ethernet.Interface.1.,Device.Ethernet.Interface.1",
                              "Device.Ethernet.Interface.5.,Device.Ethernet.Interface.1"},
                    TNameCase{"", ""}));

class ReferResponseIndexMap : public testing::TestWithParam<TNameCase> {};

TEST_P(ReferResponseIndexMap, GivesTheApplicationsName) {
    EXPECT_EQ(Response(GetParam().name), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Names, ReferResponseIndexMap,
    testing::Values(TNameCase{"Device.Ethernet.Interface.5", "Device.Ethernet.Interface.1"},
                    TNameCase{"Device.Ethernet.Interface.1.Enable", "Device.Ethernet.Interface.2.Enable"},
                    TNameCase{"Device.Ethernet.Interface.4.", "Device.Ethernet.Interface.5."},
                    TNameCase{"Device.Ethernet.Interface.6", "Device.Ethernet.Interface.6"},
                    TNameCase{"Device.WiFi.SSID.3", "Device.WiFi.SSID.3"},
                    TNameCase{"Device.DeviceInfo.UpTime", "Device.DeviceInfo.UpTime"}));

TEST(ReferIndexMap, RewritesReferencesToTwoRoots) {
    const TInstanceNames map = {{"Device.WiFi.SSID.1", "Device.WiFi.SSID.77"},
                                {"Device.Ethernet.Interface.2", "Device.Ethernet.Interface.88"}};
    EXPECT_EQ(Rewritten("Device.Ethernet.Interface.2.Device.WiFi.SSID.1", map),
              "Device.Ethernet.Interface.88.Device.WiFi.SSID.77");
}

TEST(ReferIndexMap, SearchesTheNextRootInTheRewrittenName) {
    const TInstanceNames map = {{"Device.WiFi.SSID.1", "Device.Ethernet.Interface.1"},
                                {"Device.Ethernet.Interface.1", "Device.Ethernet.Interface.9"}};
    EXPECT_EQ(Rewritten("Device.WiFi.SSID.1.Name", map), "Device.Ethernet.Interface.9.Name");
}

TEST(ReferIndexMap, TakesAKeyThatIsNoNumber) {
    EXPECT_EQ(Rewritten("Device.WiFi.SSID.abc.Name", {{"Device.WiFi.SSID.abc", "x"}}), "x.Name");
}

TEST(ReferIndexMap, LeavesTheNameWhenTheMapIsEmpty) {
    EXPECT_EQ(Rewritten("Device.Ethernet.Interface.1.Enable", {}), "Device.Ethernet.Interface.1.Enable");
}

struct TMarkCase {
    const char* name;
    int allowed;
    const char* expected;
};

class StripIndexMapNegator : public testing::TestWithParam<TMarkCase> {};

TEST_P(StripIndexMapNegator, RemovesOneLeadingMark) {
    std::string name = GetParam().name;
    EXPECT_EQ(stripIndexMapNegator(name), GetParam().allowed);
    EXPECT_EQ(name, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Names, StripIndexMapNegator,
                         testing::Values(TMarkCase{"Device.A", 1, "Device.A"},
                                         TMarkCase{"@Device.A", 0, "Device.A"},
                                         TMarkCase{"@@Device.A", 0, "@Device.A"}, TMarkCase{"@", 0, ""},
                                         TMarkCase{"", 1, ""}, TMarkCase{"Device@A", 1, "Device@A"},
                                         TMarkCase{" @Device.A", 1, " @Device.A"}));

struct TKeyCase {
    const char* name;
    const char* key;
    bool changed;
};

class ConvertObjectToJsonName : public testing::TestWithParam<TKeyCase> {};

TEST_P(ConvertObjectToJsonName, GivesTheKeyOfTheFunctionTable) {
    std::string name = GetParam().name;
    EXPECT_EQ(convertObjectToJsonName(name), GetParam().changed);
    EXPECT_EQ(name, GetParam().key);
}

INSTANTIATE_TEST_SUITE_P(
    Names, ConvertObjectToJsonName,
    testing::Values(TKeyCase{"Device.WiFi.SSID.3.SSID", "Device.WiFi.SSID.{i}.SSID", true},
                    TKeyCase{"Device.WiFi.SSID.3.", "Device.WiFi.SSID.{i}.", true},
                    TKeyCase{"Device.WiFi.SSID.123.Stats.45.A", "Device.WiFi.SSID.{i}.Stats.{i}.A", true},
                    TKeyCase{"Device.A.1.2.3.", "Device.A.{i}.{i}.{i}.", true},
                    TKeyCase{"Device.A.3rd.B", "Device.A.{i}.B", true}, // the first character decides
                    TKeyCase{"Device.A.x3.B", "Device.A.x3.B", false},
                    TKeyCase{"Device.A.-3.B", "Device.A.-3.B", false},
                    TKeyCase{"Device.WiFi.SSID.3", "Device.WiFi.SSID.3",
                             false}, // names of instances end in "."
                    TKeyCase{"Device.WiFi.SSID.", "Device.WiFi.SSID.", false},
                    TKeyCase{"Device.A.{i}.B", "Device.A.{i}.B", false}, TKeyCase{"1.B", "{i}.B", true},
                    TKeyCase{"Device..B", "Device..B", false}, TKeyCase{"..1..", "..{i}..", true},
                    TKeyCase{".", ".", false}, TKeyCase{".1.", ".{i}.", true},
                    TKeyCase{"NoDot", "NoDot", false}, TKeyCase{"3", "3", false}, TKeyCase{"", "", false}));

struct TIndicesCase {
    const char* name;
    std::vector<int> indices;
};

class GetIndices : public testing::TestWithParam<TIndicesCase> {};

TEST_P(GetIndices, FindsTheNumbersInOrder) {
    EXPECT_EQ(Indices(GetParam().name), GetParam().indices);
}

INSTANTIATE_TEST_SUITE_P(
    Names, GetIndices,
    testing::Values(TIndicesCase{"Device.WiFi.SSID.3.SSID", {3}}, TIndicesCase{"Device.A.4.B.17.C", {4, 17}},
                    TIndicesCase{"Device.A.4.B.17.", {4, 17}}, TIndicesCase{"Device.A.4", {4}},
                    TIndicesCase{"7", {7}}, TIndicesCase{"7.8", {7, 8}}, TIndicesCase{"Device.A.007.B", {7}},
                    TIndicesCase{"Device.A.0.B", {0}}, TIndicesCase{"Device.A.2147483647.B", {2147483647}},
                    TIndicesCase{"Device.A.00000000000000000001.B", {1}},
                    // segments that hold anything but digits
                    TIndicesCase{"Device.A.1a.B", {}}, TIndicesCase{"Device.A.a1.B", {}},
                    TIndicesCase{"Device.A.-1.B", {}}, TIndicesCase{"Device.A.+1.B", {}},
                    TIndicesCase{"Device.A. 1.B", {}}, TIndicesCase{"Device.A.1 .B", {}},
                    TIndicesCase{"Device.A.\xD9\xA1.B", {}}, TIndicesCase{"Device.A.1\n.B", {}},
                    TIndicesCase{"Device..A...B", {}}, TIndicesCase{"...1...2...", {1, 2}},
                    TIndicesCase{".", {}}, TIndicesCase{"", {}}, TIndicesCase{nullptr, {}}));

TEST(GetIndicesAnywhere, FindsThemBehindBeginningsAndBetweenPartsOfAnyLength) {
    for (std::size_t before = 0; before < 20; ++before) {
        for (std::size_t between = 0; between < 20; ++between) {
            const std::string beginning = std::string(before, 'a') + ".";
            const std::string middle = "." + std::string(between, '/') + ".";
            std::string name = beginning + "7" + middle + "12.B";
            EXPECT_EQ(Indices(name.c_str()), (std::vector<int>{7, 12})) << name;
            EXPECT_TRUE(convertObjectToJsonName(name));
            EXPECT_EQ(name, beginning + "{i}" + middle + "{i}.B");
        }
    }
}

TEST(GetIndicesOverflow, RaisesAnOutOfRangeError) {
    std::vector<int> indices;
    for (const char* name : {"Device.A.2147483648.B", "Device.A.4294967297.B", "99999999999999999999",
                             "Device.A.123456789012345678901234567890.B"}) {
        EXPECT_THROW(getIndices(name, indices), std::out_of_range) << name;
    }
}

TEST(GetIndicesOverflow, NamesTheNumberButNotAllOfALongOne) {
    std::vector<int> indices;
    try {
        getIndices(std::string(100000, '9').c_str(), indices);
        FAIL() << "no error";
    } catch (const std::out_of_range& error) {
        EXPECT_EQ(error.what(), "instance number too large: " + std::string(32, '9'));
    }
}

std::string Repeated(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) {
        text += piece;
    }
    return text;
}

TEST(ManySegments, MakeAKey) {
    std::string name = Repeated("A.12.", 500);
    EXPECT_TRUE(convertObjectToJsonName(name));
    EXPECT_EQ(name, Repeated("A.{i}.", 500));
}

TEST(ManySegments, GiveTheirNumbers) {
    EXPECT_EQ(Indices(Repeated("A.12.", 500).c_str()), std::vector<int>(500, 12));
}
