// Object requests and the index map: the exact bodies on the bus, and what becomes of the answers.
#include "bus/ScriptedManager.h"

#include <gmock/gmock.h>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

using TIndexMap = std::unordered_map<std::string, std::vector<std::pair<int, int>>>;

class ObjectRequests : public support::ManagedApplication {};

TEST_F(ObjectRequests, AddObjectSendsThePathAndReadsTheNumber) {
    manager.Answer(R"({"ID": 7})");
    int instance = 99;
    EXPECT_EQ(app.AddObject("Device.WiFi.AccessPoint.", instance), 0);
    EXPECT_EQ(manager.Requests(), R"(ADD_OBJECT_INSTANCE {"OBJ": "Device.WiFi.AccessPoint."})");
    EXPECT_EQ(instance, 7);
}

TEST_F(ObjectRequests, AddObjectReadsAMissingNumberAsZero) {
    for (const char* answer : {"{}", "", "not json", R"({"ID": "7"})", R"({"ID": 7.5})", R"({"ID": null})"}) {
        manager.Answer(answer);
        int instance = 99;
        EXPECT_EQ(app.AddObject("Device.A.", instance), 0) << answer;
        EXPECT_EQ(instance, 0) << answer;
    }
}

TEST_F(ObjectRequests, RemoveObjectSendsThePath) {
    EXPECT_EQ(app.RemoveObject("Device.WiFi.AccessPoint.3."), 0);
    EXPECT_EQ(manager.Requests(), R"(DELETE_OBJECT_INSTANCE {"OBJ": "Device.WiFi.AccessPoint.3."})");
}

TEST_F(ObjectRequests, GetObjectIdsReplacesTheListAndIgnoresTheCount) {
    manager.Answer(R"({"COUNT": 9, "IDS": [5, 1, 1]})");
    std::vector<int> ids{8, 9};
    EXPECT_EQ(app.GetObjectIds("Device.WiFi.SSID.", ids), 0);
    EXPECT_EQ(manager.Requests(), R"(GET_OBJECT_INSTANCES {"OBJ": "Device.WiFi.SSID."})");
    EXPECT_THAT(ids, ElementsAre(5, 1, 1));
}

TEST_F(ObjectRequests, GetObjectIdsReadsWhatIsNoIntegerAsZero) {
    manager.Answer(R"({"IDS": [1, "2", 3.5, null, true, 6]})");
    std::vector<int> ids;
    EXPECT_EQ(app.GetObjectIds("Device.A.", ids), 0);
    EXPECT_THAT(ids, ElementsAre(1, 0, 0, 0, 0, 6));
}

TEST_F(ObjectRequests, GetObjectIdsClearsTheListWhenTheAnswerHasNone) {
    for (const char* answer : {R"({"COUNT": 2})", R"({"IDS": null})", R"({"IDS": 5})", "", "not json"}) {
        manager.Answer(answer);
        std::vector<int> ids{8, 9};
        EXPECT_EQ(app.GetObjectIds("Device.A.", ids), 0) << answer;
        EXPECT_THAT(ids, IsEmpty()) << answer;
    }
}

TEST_F(ObjectRequests, GetObjectSendsTheNamesBeforeTheRootAndReplacesTheList) {
    manager.Answer(R"({"PARAMS": [{"NAME": "Device.X.B", "VALUE": "2"}]})");
    TParams params{{"Device.X.A", "ignored"}, {"Device.X.B", ""}};
    EXPECT_EQ(app.GetObject("Device.X.", params), 0);
    EXPECT_EQ(
        manager.Requests(),
        R"(GET_OBJECT {"PARAMS": [{"NAME": "Device.X.A"}, {"NAME": "Device.X.B"}], "ROOT": "Device.X."})");
    EXPECT_EQ(Written(params), "Device.X.B=2;");
}

TEST_F(ObjectRequests, SetObjectSendsTheFlagAsABoolean) {
    manager.Answer("not json");
    EXPECT_EQ(app.SetObject("Device.X.", {{"Device.X.A", "1"}}, true), 0);
    EXPECT_EQ(app.SetObject("Device.X.", {{"Device.X.A", "1"}}, false), 0);
    EXPECT_EQ(
        manager.Requests(),
        R"(SET_OBJECT {"PARAMS": [{"NAME": "Device.X.A", "VALUE": "1"}], "ROOT": "Device.X.", "COMMIT": true})"
        "\n"
        R"(SET_OBJECT {"PARAMS": [{"NAME": "Device.X.A", "VALUE": "1"}], "ROOT": "Device.X.", "COMMIT": false})");
}

TEST_F(ObjectRequests, SendAnEmptyListAsNull) {
    TParams params;
    app.GetObject("Device.X.", params);
    app.SetObject("Device.X.", params, false);
    EXPECT_EQ(manager.Requests(),
              "GET_OBJECT {\"PARAMS\": null, \"ROOT\": \"Device.X.\"}\n"
              "SET_OBJECT {\"PARAMS\": null, \"ROOT\": \"Device.X.\", \"COMMIT\": false}");
}

class ObjectFailure : public ObjectRequests {
protected:
    // Every request, each time with outputs that must stay as they are.
    void ExpectEach(int rc, const std::string& path) {
        int instance = 99;
        std::vector<int> ids{8, 9};
        TParams params{{"Device.A", "1"}};
        EXPECT_EQ(app.AddObject(path, instance), rc);
        EXPECT_EQ(app.RemoveObject(path), rc);
        EXPECT_EQ(app.GetObjectIds(path, ids), rc);
        EXPECT_EQ(app.GetObject(path, params), rc);
        EXPECT_EQ(app.SetObject(path, params, true), rc);
        EXPECT_EQ(instance, 99);
        EXPECT_THAT(ids, ElementsAre(8, 9));
        EXPECT_EQ(Written(params), "Device.A=1;");
    }
};

TEST_F(ObjectFailure, OfTheManagerGivesMinusOneWhateverItsCodeAndLogsNothing) {
    for (const int32_t code : {-1, 1, 7}) {
        manager.Answer(R"({"ID": 7, "IDS": [1], "PARAMS": []})", code);
        ExpectEach(-1, "Device.A.");
    }
    EXPECT_EQ(LogSpy::Count(3), 0U) << LogSpy::Dump();
}

TEST_F(ObjectFailure, ByAPathThatIsNotUtf8GivesThreeAndSendsNothing) {
    ExpectEach(3, "Device.\xff.");
    EXPECT_EQ(manager.Requests(), "");
    EXPECT_EQ(LogSpy::Count(3, "\"object path beginning with 'Device.': the text is not valid UTF-8\""), 5U)
        << LogSpy::Dump();
}

TEST_F(ObjectFailure, ByAValueThatIsNotUtf8NamesTheParameterAndSendsNothing) {
    EXPECT_EQ(app.SetObject("Device.X.", {{"Device.X.A", "1"}, {"Device.X.B", "\xff"}}, true), 3);
    EXPECT_EQ(manager.Requests(), "");
    EXPECT_EQ(LogSpy::Count(3, "\"Device.X.B: the text is not valid UTF-8\""), 1U) << LogSpy::Dump();
}

class IndexMap : public support::ManagedApplication {};

TEST_F(IndexMap, IsAskedForWithAnEmptyText) {
    TIndexMap indexMap;
    EXPECT_EQ(app.GetIndexMap(indexMap), 0);
    EXPECT_EQ(manager.Requests(), "GET_INDEX_MAP ");
}

TEST_F(IndexMap, HoldsThePairsOfEachObjectInOrder) {
    manager.Answer(R"({"DATA_MODELS": [{"NAME": "Device.A.", "INDEX_MAP": [)"
                   R"({"APP_INDEX": 2, "PLATFORM_INDEX": 12}, {"PLATFORM_INDEX": 11, "APP_INDEX": 1}]},)"
                   R"( {"NAME": "Device.B.", "INDEX_MAP": []}]})");
    TIndexMap indexMap;
    EXPECT_EQ(app.GetIndexMap(indexMap), 0);
    EXPECT_THAT(indexMap, UnorderedElementsAre(Pair("Device.A.", ElementsAre(Pair(2, 12), Pair(1, 11))),
                                               Pair("Device.B.", IsEmpty())));
}

TEST_F(IndexMap, TakesTheLaterOfTwoElementsWithTheSameName) {
    manager.Answer(R"({"DATA_MODELS": [{"NAME": "A", "INDEX_MAP": [{"APP_INDEX": 1, "PLATFORM_INDEX": 1}]},)"
                   R"( {"NAME": "A", "INDEX_MAP": [{"APP_INDEX": 2, "PLATFORM_INDEX": 3}]}]})");
    TIndexMap indexMap;
    EXPECT_EQ(app.GetIndexMap(indexMap), 0);
    EXPECT_THAT(indexMap, UnorderedElementsAre(Pair("A", ElementsAre(Pair(2, 3)))));
}

TEST_F(IndexMap, KeepsEntriesThatOnlyAnEarlierAnswerHeld) {
    TIndexMap indexMap;
    manager.Answer(R"({"DATA_MODELS": [{"NAME": "A"}, {"NAME": "B"}]})");
    EXPECT_EQ(app.GetIndexMap(indexMap), 0);
    manager.Answer(
        R"({"DATA_MODELS": [{"NAME": "B", "INDEX_MAP": [{"APP_INDEX": 1, "PLATFORM_INDEX": 5}]}]})");
    EXPECT_EQ(app.GetIndexMap(indexMap), 0);
    EXPECT_THAT(indexMap, UnorderedElementsAre(Pair("A", IsEmpty()), Pair("B", ElementsAre(Pair(1, 5)))));
}

TEST_F(IndexMap, ReadsMissingKeysAndOtherKindsAsDefaults) {
    manager.Answer(R"({"DATA_MODELS": [{"INDEX_MAP": [{"APP_INDEX": "1"}, 5, {"PLATFORM_INDEX": 2}]}, 5,)"
                   R"( {"NAME": "N", "INDEX_MAP": "x"}]})");
    TIndexMap indexMap;
    EXPECT_EQ(app.GetIndexMap(indexMap), 0);
    // The second element has neither name nor pairs and so replaces the first one.
    EXPECT_THAT(indexMap, UnorderedElementsAre(Pair("", IsEmpty()), Pair("N", IsEmpty())));
}

TEST_F(IndexMap, StaysAsItWasForAnAnswerWithoutDataModels) {
    for (const char* answer : {"{}", "", "not json", R"({"DATA_MODELS": null})"}) {
        manager.Answer(answer);
        TIndexMap indexMap{{"A", {{1, 2}}}};
        EXPECT_EQ(app.GetIndexMap(indexMap), 0) << answer;
        EXPECT_THAT(indexMap, UnorderedElementsAre(Pair("A", ElementsAre(Pair(1, 2))))) << answer;
    }
}

TEST_F(IndexMap, StaysAsItWasOnFailure) {
    manager.Answer(R"({"DATA_MODELS": [{"NAME": "B"}]})", 5);
    TIndexMap indexMap{{"A", {{1, 2}}}};
    EXPECT_EQ(app.GetIndexMap(indexMap), -1);
    EXPECT_THAT(indexMap, UnorderedElementsAre(Pair("A", ElementsAre(Pair(1, 2)))));
}

} // namespace
