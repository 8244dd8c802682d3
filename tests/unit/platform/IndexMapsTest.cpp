#include "platform/IndexMaps.h"

#include "support/LogSpy.h"
#include "support/TempDir.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include <unistd.h>

namespace {

using TInstanceNames = std::unordered_map<std::string, std::string>;

// The tables of the process, put back by each test that replaced them.
struct TTables {
    std::vector<std::string> roots = rootVector;
    int32_t size = zeltoNameIndexPairsSize;
    TInstanceNames request = DataModelRequestIndexMap;
    TInstanceNames response = DataModelResponseIndexMap;
    std::vector<tZeltoNameIndexPairs> records{std::begin(DataModelNameIndexPairs),
                                              std::end(DataModelNameIndexPairs)};

    void Restore() const {
        rootVector = roots;
        zeltoNameIndexPairsSize = size;
        DataModelRequestIndexMap = request;
        DataModelResponseIndexMap = response;
        std::copy(records.begin(), records.end(), DataModelNameIndexPairs);
    }

    void ExpectInForce() const {
        EXPECT_EQ(rootVector, roots);
        EXPECT_EQ(zeltoNameIndexPairsSize, size);
        EXPECT_EQ(DataModelRequestIndexMap, request);
        EXPECT_EQ(DataModelResponseIndexMap, response);
        EXPECT_EQ(std::memcmp(DataModelNameIndexPairs, records.data(), sizeof DataModelNameIndexPairs), 0);
    }
};

class IndexMapFile : public testing::Test {
protected:
    void TearDown() override { before.Restore(); }

    std::string Write(const std::string& text) const { return directory.Write("index.json", text); }
    bool Load(const std::string& text) const { return zelto::LoadIndexMapFile(Write(text).c_str()); }

    // The one line names the file.
    void ExpectUnread(const std::string& path, int level) const {
        LogSpy::Clear();
        EXPECT_FALSE(zelto::LoadIndexMapFile(path.c_str())) << path;
        const std::string line = "\"The index map file " + path +
                                 " cannot be read as JSON: the built-in maps stay in force, or those of an "
                                 "earlier file\"";
        EXPECT_TRUE(LogSpy::Contains(level, line)) << line << "\n" << LogSpy::Dump();
        EXPECT_EQ(LogSpy::Messages().size(), 1U) << path;
        before.ExpectInForce();
    }

    // The file is refused with a line that names it and the fault.
    void ExpectRefused(const std::string& text, const std::string& fault) const {
        LogSpy::Clear();
        EXPECT_FALSE(Load(text)) << text;
        const std::string line =
            "\"The index map file " + directory.File("index.json") + " is refused: " + fault + "\"";
        EXPECT_TRUE(LogSpy::Contains(zelto::LOG_LEVEL_ERROR, line)) << line << "\n" << LogSpy::Dump();
        EXPECT_EQ(LogSpy::Messages().size(), 1U);
        before.ExpectInForce();
    }

    support::TTempDir directory;
    TTables before;
};

std::string OneModel(const std::string& indexMap) {
    return R"({"DATA_MODELS": [{"NAME": "Device.X.", "INDEX_MAP": )" + indexMap + "}]}";
}

// [{"1": "1"}, {"2": "2"} ...
std::string IdentityPairs(int count) {
    std::ostringstream text;
    for (int index = 1; index <= count; ++index) {
        text << (index == 1 ? "[" : ", ") << "{\"" << index << "\": \"" << index << "\"}";
    }
    return text.str() + "]";
}

std::vector<std::pair<int, int>> Pairs(const tZeltoNameIndexPairs& record) {
    std::vector<std::pair<int, int>> pairs;
    for (int32_t at = 0; at < record.count; ++at) {
        pairs.emplace_back(record.pairs[at].appIndex, record.pairs[at].platformIndex);
    }
    return pairs;
}

// Counts the names before any ordinary static object is made, in whatever order the files were linked.
struct TEarlyLook {
    std::size_t roots = rootVector.size();
    std::size_t requestNames = DataModelRequestIndexMap.size();
    std::size_t responseNames = DataModelResponseIndexMap.size();
};

__attribute__((init_priority(2000))) const TEarlyLook EARLY_LOOK;

} // namespace

TEST(BuiltInIndexMaps, AreMadeBeforeOtherStaticObjectsAndSoOutliveThem) {
    EXPECT_EQ(EARLY_LOOK.roots, 4U);
    EXPECT_EQ(EARLY_LOOK.requestNames, 39U);
    EXPECT_EQ(EARLY_LOOK.responseNames, 39U);
}

TEST(IndexMapLayout, IsThatOfTheBinaryInterface) {
    EXPECT_EQ(sizeof(tZeltoNameIndexPairs), 2300U);
    EXPECT_EQ(sizeof DataModelNameIndexPairs, 9200U);
    EXPECT_EQ(offsetof(tZeltoNameIndexPairs, count), 256U);
    EXPECT_EQ(offsetof(tZeltoNameIndexPairs, pairs), 260U);
    EXPECT_EQ(offsetof(tZeltoNameIndexPair, platformIndex), 4U);
}

TEST(BuiltInIndexMaps, HaveFourRootsInOrder) {
    const std::vector<std::string> roots = {"Device.WiFi.Radio.", "Device.WiFi.SSID.",
                                            "Device.WiFi.AccessPoint.", "Device.Ethernet.Interface."};
    EXPECT_EQ(rootVector, roots);
    ASSERT_EQ(zeltoNameIndexPairsSize, 4);
    for (std::size_t at = 0; at < roots.size(); ++at) {
        EXPECT_EQ(DataModelNameIndexPairs[at].name, roots[at]);
    }
}

TEST(BuiltInIndexMaps, PairWirelessIndicesWithThemselves) {
    const int counts[] = {2, 16, 16};
    for (int at = 0; at < 3; ++at) {
        const tZeltoNameIndexPairs& record = DataModelNameIndexPairs[at];
        ASSERT_EQ(record.count, counts[at]) << record.name;
        for (int32_t index = 1; index <= record.count; ++index) {
            const std::string name = record.name + std::to_string(index);
            EXPECT_EQ(record.pairs[index - 1].appIndex, index);
            EXPECT_EQ(record.pairs[index - 1].platformIndex, index);
            EXPECT_EQ(DataModelRequestIndexMap.at(name), name);
            EXPECT_EQ(DataModelResponseIndexMap.at(name), name);
        }
    }
}

TEST(BuiltInIndexMaps, RenumberEthernetInterfaces) {
    const std::vector<std::pair<int, int>> expected = {{1, 5}, {2, 1}, {3, 2}, {4, 3}, {5, 4}};
    EXPECT_EQ(Pairs(DataModelNameIndexPairs[3]), expected);
    for (const auto& [app, platform] : expected) {
        const std::string appName = "Device.Ethernet.Interface." + std::to_string(app);
        const std::string platformName = "Device.Ethernet.Interface." + std::to_string(platform);
        EXPECT_EQ(DataModelRequestIndexMap.at(appName), platformName);
        EXPECT_EQ(DataModelResponseIndexMap.at(platformName), appName);
    }
}

TEST(BuiltInIndexMaps, HoldThirtyNineNamesEachWay) {
    EXPECT_EQ(DataModelRequestIndexMap.size(), 39U);
    EXPECT_EQ(DataModelResponseIndexMap.size(), 39U);
}

TEST_F(IndexMapFile, ReplacesTheTables) {
    ASSERT_TRUE(Load(R"({"DATA_MODELS": [
        {"NAME": "Device.Ethernet.Interface.", "INDEX_MAP": [{"1": "7"}, {"2": "1"}]},
        {"NAME": "Device.X.", "INDEX_MAP": [{"10": "-20"}]}]})"));
    EXPECT_EQ(rootVector, (std::vector<std::string>{"Device.Ethernet.Interface.", "Device.X."}));
    ASSERT_EQ(zeltoNameIndexPairsSize, 2);
    EXPECT_STREQ(DataModelNameIndexPairs[0].name, "Device.Ethernet.Interface.");
    EXPECT_EQ(Pairs(DataModelNameIndexPairs[0]), (std::vector<std::pair<int, int>>{{1, 7}, {2, 1}}));
    EXPECT_STREQ(DataModelNameIndexPairs[1].name, "Device.X.");
    EXPECT_EQ(Pairs(DataModelNameIndexPairs[1]), (std::vector<std::pair<int, int>>{{10, -20}}));
    EXPECT_EQ(DataModelRequestIndexMap,
              (TInstanceNames{{"Device.Ethernet.Interface.1", "Device.Ethernet.Interface.7"},
                              {"Device.Ethernet.Interface.2", "Device.Ethernet.Interface.1"},
                              {"Device.X.10", "Device.X.-20"}}));
    EXPECT_EQ(DataModelResponseIndexMap,
              (TInstanceNames{{"Device.Ethernet.Interface.7", "Device.Ethernet.Interface.1"},
                              {"Device.Ethernet.Interface.1", "Device.Ethernet.Interface.2"},
                              {"Device.X.-20", "Device.X.10"}}));
    EXPECT_TRUE(LogSpy::Messages().empty()) << LogSpy::Dump();
}

TEST_F(IndexMapFile, DrivesTheTranslation) {
    ASSERT_TRUE(Load(OneModel(R"([{"1": "12"}])")));
    std::string mapped = "Device.X.1.Name";
    referRequestIndexMap(mapped);
    EXPECT_EQ(mapped, "Device.X.12.Name");
    referResponseIndexMap(mapped);
    EXPECT_EQ(mapped, "Device.X.1.Name");
    std::string former = "Device.Ethernet.Interface.1.Name";
    referRequestIndexMap(former);
    EXPECT_EQ(former, "Device.Ethernet.Interface.1.Name");
}

TEST_F(IndexMapFile, LeavesWhatLiesBehindTheNewRecords) {
    ASSERT_TRUE(Load(R"({"DATA_MODELS": [{"NAME": "AB", "INDEX_MAP": [{"3": "4"}]}]})"));
    const tZeltoNameIndexPairs& record = DataModelNameIndexPairs[0];
    // four bytes cleared, one for each old record, and three of them written again
    EXPECT_EQ(std::string(record.name, 18), std::string("AB\0\0ce.WiFi.Radio.", 18));
    EXPECT_EQ(record.pairs[1].appIndex, 2);
    EXPECT_EQ(std::memcmp(&DataModelNameIndexPairs[1], &before.records[1], 3 * sizeof record), 0);
}

TEST_F(IndexMapFile, ClearsOneByteForEachFormerRecord) {
    ASSERT_TRUE(Load(OneModel("[]")));
    ASSERT_TRUE(Load("{}"));
    EXPECT_EQ(std::string(DataModelNameIndexPairs[0].name, 9), std::string("\0evice.X.", 9));
}

TEST_F(IndexMapFile, EmptiesTheTablesWhenItHoldsNoModels) {
    for (const char* text : {"{}", "[]", R"({"DATA_MODELS": []})", R"({"DATA_MODELS": "text"})"}) {
        before.Restore();
        EXPECT_TRUE(Load(text)) << text;
        EXPECT_TRUE(rootVector.empty()) << text;
        EXPECT_EQ(zeltoNameIndexPairsSize, 0) << text;
        EXPECT_TRUE(DataModelRequestIndexMap.empty()) << text;
        EXPECT_TRUE(DataModelResponseIndexMap.empty()) << text;
        EXPECT_TRUE(LogSpy::Contains(zelto::LOG_LEVEL_NOTICE, "\"The index map file " +
                                                                  directory.File("index.json") +
                                                                  " holds no data model\""))
            << LogSpy::Dump();
        LogSpy::Clear();
    }
}

TEST_F(IndexMapFile, TakesAModelWithoutPairsOrName) {
    ASSERT_TRUE(Load(R"({"DATA_MODELS": [{"NAME": "Device.X."}, {"INDEX_MAP": [{"1": "2"}]}, 5]})"));
    EXPECT_EQ(rootVector, (std::vector<std::string>{"Device.X.", "", ""}));
    EXPECT_EQ(DataModelNameIndexPairs[0].count, 0);
    EXPECT_STREQ(DataModelNameIndexPairs[1].name, "");
    EXPECT_EQ(DataModelRequestIndexMap, (TInstanceNames{{"1", "2"}}));
    EXPECT_EQ(DataModelNameIndexPairs[2].count, 0);
}

TEST_F(IndexMapFile, CutsALongNameInTheRecordOnly) {
    const std::string name(300, 'n');
    ASSERT_TRUE(Load(R"({"DATA_MODELS": [{"NAME": ")" + name + R"(", "INDEX_MAP": [{"1": "2"}]}]})"));
    EXPECT_EQ(DataModelNameIndexPairs[0].name, std::string(255, 'n'));
    EXPECT_EQ(rootVector, std::vector<std::string>{name});
    EXPECT_EQ(DataModelRequestIndexMap, (TInstanceNames{{name + "1", name + "2"}}));
}

TEST_F(IndexMapFile, ReadsNumbersAsDecimalIntegers) {
    ASSERT_TRUE(Load(OneModel(R"([{"007": " 8"}, {"2147483647": "-2147483648"}, {"3x": "+4"}])")));
    EXPECT_EQ(Pairs(DataModelNameIndexPairs[0]),
              (std::vector<std::pair<int, int>>{{7, 8}, {2147483647, -2147483647 - 1}, {3, 4}}));
    EXPECT_EQ(DataModelRequestIndexMap.at("Device.X.7"), "Device.X.8");
    EXPECT_EQ(DataModelRequestIndexMap.at("Device.X.3"), "Device.X.4");
}

TEST_F(IndexMapFile, TakesTheLaterOfTwoPairsOfOneIndex) {
    ASSERT_TRUE(Load(OneModel(R"([{"1": "2"}, {"1": "3"}])")));
    EXPECT_EQ(DataModelNameIndexPairs[0].count, 2);
    EXPECT_EQ(DataModelRequestIndexMap, (TInstanceNames{{"Device.X.1", "Device.X.3"}}));
}

TEST_F(IndexMapFile, TakesFourModelsOf255Pairs) {
    const std::string model = R"({"NAME": "Device.X.", "INDEX_MAP": )" + IdentityPairs(255) + "}";
    ASSERT_TRUE(Load(R"({"DATA_MODELS": [)" + model + ", " + model + ", " + model + ", " + model + "]}"));
    EXPECT_EQ(zeltoNameIndexPairsSize, 4);
    EXPECT_EQ(DataModelNameIndexPairs[3].count, 255);
    EXPECT_EQ(DataModelNameIndexPairs[3].pairs[254].platformIndex, 255);
}

TEST_F(IndexMapFile, IsRefusedWithMoreThanFourModels) {
    ExpectRefused(R"({"DATA_MODELS": [{}, {}, {}, {}, {}]})", "too many data models");
}

TEST_F(IndexMapFile, IsRefusedWithMoreThan255PairsInAModel) {
    ExpectRefused(OneModel(IdentityPairs(256)), "too many pairs for 'Device.X.'");
}

TEST_F(IndexMapFile, IsRefusedWithANumberThatDoesNotConvert) {
    ExpectRefused(OneModel(R"([{"1": "2"}, {"abc": "2"}])"), "'abc' is no index");
    ExpectRefused(OneModel(R"([{"1": "abc"}])"), "'abc' is no index");
    ExpectRefused(OneModel(R"([{"1": ""}])"), "'' is no index");
    ExpectRefused(OneModel(R"([{"": "1"}])"), "'' is no index");
    ExpectRefused(OneModel(R"([{"1": "2147483648"}])"), "'2147483648' is no index");
    ExpectRefused(OneModel(R"([{"99999999999999999999": "1"}])"), "'99999999999999999999' is no index");
    ExpectRefused(OneModel(R"([{"1": 5}])"), "'' is no index"); // the platform index is a text
    ExpectRefused(OneModel(R"([{"%s%n": "1"}])"), "'%s%n' is no index");
}

TEST_F(IndexMapFile, IsRefusedWithAnElementThatIsNoSinglePair) {
    for (const char* element : {"{}", R"({"1": "2", "3": "4"})", "5", "null", R"(["1", "2"])"}) {
        ExpectRefused(OneModel(std::string("[") + element + "]"), "an element is no single pair of indices");
    }
}

TEST_F(IndexMapFile, LeavesTheTablesWhenItCannotBeReadAsJson) {
    const std::string link = directory.File("loop.json");
    ASSERT_EQ(symlink("loop.json", link.c_str()), 0);
    for (const std::string& path :
         {directory.Path(), link, directory.Write("empty.json", ""), directory.Write("text.json", "not json"),
          directory.Write("tail.json", OneModel(R"([{"1": "2"}])") + "tail")}) {
        ExpectUnread(path, zelto::LOG_LEVEL_ERROR);
    }
}

// A manager may always name a file that need not be there.
TEST_F(IndexMapFile, IsNoErrorWhenNothingIsThere) {
    for (const std::string& path : {std::string(), directory.File("missing.json")}) {
        ExpectUnread(path, zelto::LOG_LEVEL_NOTICE);
    }
}

TEST_F(IndexMapFile, LeavesTheTablesWithoutALineWhenNoneIsNamed) {
    EXPECT_FALSE(zelto::LoadIndexMapFile(nullptr));
    before.ExpectInForce();
    EXPECT_TRUE(LogSpy::Messages().empty()) << LogSpy::Dump();
}
