#include "ScriptedPlatform.h"
#include "bus/NoThreads.h"

#include "protocol/RequestNames.h"
#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/RawPeer.h"
#include "zelto/ZeltoPlatformNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using scripted::Entry;
using scripted::THelperScript;

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr int ERROR = 3;
constexpr int NOTICE = 5;
constexpr int DEBUG = 7;
constexpr const char* HELPER_FAILED = "\"Can't run Zelto Manager with command - zelto_manager_helper.sh\"";

void Start(const std::vector<tZeltoPltFunctionTable>& entries, const char* indexMapPath = nullptr) {
    const tZeltoPlatformLibTable table{entries.data(), static_cast<int32_t>(entries.size()), indexMapPath};
    zeltoPlatformLibInit(&table);
}

// Puts the built-in index maps back.
class TIndexMapsKeeper {
public:
    ~TIndexMapsKeeper() {
        rootVector = roots;
        DataModelRequestIndexMap = request;
        DataModelResponseIndexMap = response;
        zeltoNameIndexPairsSize = size;
        std::copy(pairs.begin(), pairs.end(), DataModelNameIndexPairs);
    }

private:
    std::vector<std::string> roots = rootVector;
    std::unordered_map<std::string, std::string> request = DataModelRequestIndexMap;
    std::unordered_map<std::string, std::string> response = DataModelResponseIndexMap;
    int32_t size = zeltoNameIndexPairsSize;
    std::vector<tZeltoNameIndexPairs> pairs{std::begin(DataModelNameIndexPairs),
                                            std::end(DataModelNameIndexPairs)};
};

class PlatformStart : public testing::Test {
protected:
    void SetUp() override {
        scripted::Reset();
        client = std::make_unique<support::TRawPeer>(support::TBusEnvironment::Bus().Address());
    }

    std::optional<support::TRawMessage> Call(const std::string& method, const std::string& request) {
        return client->Call({"com.Ulmet.Zelto.ZELTO_DISPATCHER", "/com/Ulmet/Zelto/ZELTO_DISPATCHER",
                             "com.Ulmet.Zelto.Zelto", method},
                            {request});
    }

    std::string Get(const std::string& name) {
        const auto reply = Call("GET_PARAM", "{\"NAME\": \"" + name + "\"}");
        return reply && reply->signature == "si" ? reply->Text(0) + " " + std::to_string(reply->Int(1))
                                                 : "no reply";
    }

    std::unique_ptr<support::TRawPeer> client;
};

TEST_F(PlatformStart, RunsTheHelperAndServes) {
    const THelperScript helper("echo run >> \"$(dirname \"$0\")/runs\"");
    Start({Entry("Test.Start", {PLT_REQUEST_GET_PARAM})});
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Starting ZELTO Platform Library, tableSize = 1\n\""));
    EXPECT_EQ(helper.Directory().Read("runs"), "run\n");
    EXPECT_FALSE(LogSpy::Contains(ERROR, HELPER_FAILED));
    EXPECT_TRUE(client->HasOwner("com.Ulmet.Zelto.ZELTO_DISPATCHER"));
    EXPECT_EQ(Get("Test.Start"), R"({"PARAMS": [{"NAME": "Test.Start", "VALUE": ""}]} 0)");
}

TEST_F(PlatformStart, RegistersEveryRequestMethod) {
    const THelperScript helper("exit 0");
    Start({});
    for (const char* const method : zelto::METHOD_NAMES) {
        const auto reply = Call(method, "{}");
        ASSERT_TRUE(reply) << method;
        EXPECT_EQ(reply->signature, "si") << method;
        EXPECT_TRUE(LogSpy::Contains(DEBUG, std::string("\"Method - ") + method + " requested, input - {}\""))
            << method;
    }
    const auto reply = Call("IS_APP_ACTIVE", "{}");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->Int(1), -1);
    EXPECT_FALSE(LogSpy::ContainsPart(DEBUG, "Method - IS_APP_ACTIVE"));
}

TEST_F(PlatformStart, LogsAHelperThatFails) {
    const THelperScript helper("exit 3");
    Start({});
    EXPECT_EQ(LogSpy::Count(ERROR, HELPER_FAILED), 1U);
}

TEST_F(PlatformStart, TellsOfAnIndexMapFileWithoutDataModels) {
    const THelperScript helper("exit 0");
    const TIndexMapsKeeper keeper;
    const std::string file = helper.Directory().Write("maps.json", "{}");
    Start({}, file.c_str());
    EXPECT_TRUE(rootVector.empty());
    EXPECT_EQ(LogSpy::Count(NOTICE, "\"The index map file " + file + " holds no data model\""), 1U);
}

TEST_F(PlatformStart, AddsEntriesAndRepeatsItsStepsWhenCalledAgain) {
    const THelperScript helper("echo run >> \"$(dirname \"$0\")/runs\"");
    Start({Entry("Test.First", {PLT_REQUEST_GET_PARAM})});
    Start({Entry("Test.Second", {PLT_REQUEST_GET_PARAM})});
    EXPECT_EQ(helper.Directory().Read("runs"), "run\nrun\n");
    EXPECT_EQ(Get("Test.First"), R"({"PARAMS": [{"NAME": "Test.First", "VALUE": ""}]} 0)");
    EXPECT_EQ(Get("Test.Second"), R"({"PARAMS": [{"NAME": "Test.Second", "VALUE": ""}]} 0)");
    EXPECT_EQ(LogSpy::Count(ERROR), 0U);
}

TEST_F(PlatformStart, LoadsTheIndexMapFile) {
    const THelperScript helper("exit 0");
    const TIndexMapsKeeper keeper;
    const std::string file = helper.Directory().Write(
        "maps.json", R"({"DATA_MODELS": [{"NAME": "Test.Table.", "INDEX_MAP": [{"1": "70"}]}]})");
    Start({Entry("Test.Table.{i}.X", {PLT_REQUEST_GET_PARAM})}, file.c_str());
    EXPECT_EQ(Get("Test.Table.1.X"), R"({"PARAMS": [{"NAME": "Test.Table.1.X", "VALUE": ""}]} 0)");
    ASSERT_FALSE(scripted::Calls().empty());
    EXPECT_EQ(scripted::Calls().back().paramName, "Test.Table.70.X");
    const auto reply = Call("GET_INDEX_MAP", "");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->Text(0), R"({"DATA_MODELS": [{"NAME": "Test.Table.", "INDEX_MAP": )"
                              R"([{"APP_INDEX": 1, "PLATFORM_INDEX": 70}]}]})");
}

TEST_F(PlatformStart, GoesOnWithTheBuiltInMapsWhenTheFileCannotBeUsed) {
    const THelperScript helper("echo run >> \"$(dirname \"$0\")/runs\"");
    const TIndexMapsKeeper keeper;
    const std::string badNumber = helper.Directory().Write(
        "bad.json", R"({"DATA_MODELS": [{"NAME": "Test.Table.", "INDEX_MAP": [{"1": "x"}]}]})");
    const std::string noJson = helper.Directory().Write("no.json", "no json");
    for (const std::string& file : {badNumber, noJson, helper.Directory().File("missing")}) {
        Start({}, file.c_str());
        EXPECT_EQ(rootVector.size(), 4U) << file;
        EXPECT_EQ(DataModelRequestIndexMap.size(), 39U) << file;
    }
    EXPECT_EQ(helper.Directory().Read("runs"), "run\nrun\nrun\n");
    EXPECT_EQ(LogSpy::CountPart(NOTICE, "The index map file "), 1U); // nothing is there
    EXPECT_EQ(LogSpy::CountPart(ERROR, "The index map file "), 2U);
    EXPECT_EQ(LogSpy::Count(ERROR), 2U);
}

TEST_F(PlatformStart, EndsAfterAnErrorLineWhenThereAreNoThreadsAndServesAfterTheNext) {
    const THelperScript helper("echo run >> \"$(dirname \"$0\")/runs\"");
    {
        const TNoThreads none;
        Start({Entry("Test.Threadless", {PLT_REQUEST_GET_PARAM})});
    }
    EXPECT_EQ(LogSpy::Messages().back().level, ERROR);
    EXPECT_EQ(LogSpy::Messages().back().format, "\"%s\""); // the reason is the system's
    EXPECT_EQ(LogSpy::Count(ERROR), 1U) << LogSpy::Dump();
    EXPECT_EQ(helper.Directory().Read("runs"), "");
    std::string value;
    EXPECT_EQ(zeltoPlatLibGetParam("Test.Threadless", value, false), 0); // its entries are in force
    Start({});
    EXPECT_EQ(helper.Directory().Read("runs"), "run\n");
    EXPECT_EQ(Get("Test.Threadless"), R"({"PARAMS": [{"NAME": "Test.Threadless", "VALUE": ""}]} 0)");
}

TEST_F(PlatformStart, AnswersForAHandlerThatThrowsAndServesOn) {
    const THelperScript helper("exit 0");
    Start({Entry("Test.Throw", {PLT_REQUEST_GET_PARAM})});
    scripted::Script(PLT_REQUEST_GET_PARAM,
                     [](tZeltoPlatformRequest&) -> int32_t { throw std::runtime_error("handler gave up"); });
    EXPECT_EQ(Get("Test.Throw"), " -1");
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"handler gave up\""));
    scripted::Reset();
    EXPECT_EQ(Get("Test.Throw"), R"({"PARAMS": [{"NAME": "Test.Throw", "VALUE": ""}]} 0)");
}

TEST_F(PlatformStart, RefusesANullTable) {
    zeltoPlatformLibInit(nullptr);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"ZELTO Platform Library started without a table\""));
    EXPECT_EQ(LogSpy::Messages().size(), 1U);
}

TEST_F(PlatformStart, EndsWithTwoLinesAndServesOn) {
    const THelperScript helper("exit 0");
    Start({Entry("Test.Term", {PLT_REQUEST_GET_PARAM})});
    LogSpy::Clear();
    zeltoPlatformLibTerm();
    const auto messages = LogSpy::Messages();
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].text, "\"Stopping ZELTO Platform Library\"");
    EXPECT_EQ(messages[1].text, "\"Exit ZELTO Platform Library\"");
    EXPECT_EQ(LogSpy::Count(DEBUG), 2U);
    EXPECT_EQ(Get("Test.Term"), R"({"PARAMS": [{"NAME": "Test.Term", "VALUE": ""}]} 0)");
}

} // namespace
