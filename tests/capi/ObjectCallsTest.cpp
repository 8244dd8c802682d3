#include "capi/CannedManager.h"

#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace {

using capi::Fill;
using capi::ParamsAnswer;
using capi::Request;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

const bool BUS_READY = support::TBusEnvironment::Register();

class ObjectCalls : public capi::TWithManager {
protected:
    ObjectCalls() { Fill(request.name, "Device.P."); }
    ~ObjectCalls() override { zeltoAppLibReleaseObjectRequest(&request); }

    void Allocate() {
        zeltoAppLibAllocateObjectRequest(&request, 1);
        Fill(request.paramArray.params[0].name, "Device.P.1");
        Fill(request.paramArray.params[0].value, "v1");
    }

    tZeltoObjectRequest request = {};
};

TEST_F(ObjectCalls, GetSendsNamesAndRoot) {
    Allocate();
    EXPECT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_OK);
    EXPECT_THAT(
        manager.Requests(),
        ElementsAre(Request("GET_OBJECT", R"({"PARAMS": [{"NAME": "Device.P.1"}], "ROOT": "Device.P."})")));
}

TEST_F(ObjectCalls, GetReplacesTheArray) {
    Allocate();
    manager.AnswerWith(ParamsAnswer(2));
    ASSERT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_OK);
    ASSERT_EQ(request.paramArray.count, 2U);
    EXPECT_STREQ(request.paramArray.params[1].name, "Device.P.2");
    EXPECT_STREQ(request.paramArray.params[1].value, "v2");
    EXPECT_STREQ(request.name, "Device.P.");
}

TEST_F(ObjectCalls, GetLeavesTheArrayOnFailure) {
    Allocate();
    manager.AnswerWith(ParamsAnswer(2), -1);
    EXPECT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_FAILED);
    ASSERT_EQ(request.paramArray.count, 1U);
    EXPECT_STREQ(request.paramArray.params[0].value, "v1");
}

TEST_F(ObjectCalls, SetSendsNamesValuesRootAndCommit) {
    Allocate();
    EXPECT_EQ(zeltoAppLibSetObject(&request, true), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("SET_OBJECT", R"({"PARAMS": [{"NAME": "Device.P.1", "VALUE": "v1"}], )"
                                                  R"("ROOT": "Device.P.", "COMMIT": true})")));
}

TEST_F(ObjectCalls, GetCutsTextsTo255Characters) {
    Allocate();
    const std::string text(300, 't');
    manager.AnswerWith("{\"PARAMS\": [{\"NAME\": \"" + text + "\", \"VALUE\": \"" + text + "\"}]}");
    ASSERT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_OK);
    EXPECT_EQ(std::string(request.paramArray.params[0].name), text.substr(0, 255));
    EXPECT_EQ(std::string(request.paramArray.params[0].value), text.substr(0, 255));
}

TEST_F(ObjectCalls, ReadUnterminatedFieldsTo256Bytes) {
    Allocate();
    std::memset(request.name, 'n', sizeof(request.name));
    std::memset(request.paramArray.params, 'x', sizeof(tZeltoParam));
    const std::string field = "\"" + std::string(256, 'x') + "\"";
    const std::string root = "}], \"ROOT\": \"" + std::string(256, 'n') + "\"";
    EXPECT_EQ(zeltoAppLibSetObject(&request, true), ZELTO_APP_OK);
    EXPECT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("SET_OBJECT", "{\"PARAMS\": [{\"NAME\": " + field +
                                                      ", \"VALUE\": " + field + root + ", \"COMMIT\": true}"),
                            Request("GET_OBJECT", "{\"PARAMS\": [{\"NAME\": " + field + root + "}")));
}

TEST_F(ObjectCalls, SendNullForAnArrayOfNone) {
    zeltoAppLibAllocateObjectRequest(&request, 0);
    EXPECT_EQ(zeltoAppLibSetObject(&request, false), ZELTO_APP_OK);
    EXPECT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_OK);
    EXPECT_THAT(
        manager.Requests(),
        ElementsAre(Request("SET_OBJECT", R"({"PARAMS": null, "ROOT": "Device.P.", "COMMIT": false})"),
                    Request("GET_OBJECT", R"({"PARAMS": null, "ROOT": "Device.P."})")));
}

TEST_F(ObjectCalls, RefuseTextsThatAreNotUtf8AndKeepTheRecord) {
    Allocate();
    const tZeltoParam* const earlier = request.paramArray.params;
    Fill(request.paramArray.params[0].value, "\xff");
    EXPECT_EQ(zeltoAppLibSetObject(&request, true), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(LogSpy::CountPart(3, "Device.P.1"), 1U);
    Fill(request.paramArray.params[0].name, "Device.\xff");
    EXPECT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_NOT_SENT);
    Fill(request.paramArray.params[0].name, "Device.P.1");
    Fill(request.name, "Device.\xff");
    EXPECT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(LogSpy::CountPart(3, "'Device.'"), 2U);
    EXPECT_THAT(manager.Requests(), IsEmpty());
    EXPECT_EQ(request.paramArray.params, earlier);
    EXPECT_EQ(request.paramArray.count, 1U);
    EXPECT_STREQ(request.paramArray.params[0].value, "\xff");
}

TEST_F(ObjectCalls, RefuseNullRecordsAndNullArrays) {
    EXPECT_EQ(zeltoAppLibGetObject(nullptr), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibGetObject(&request), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibSetObject(nullptr, true), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibSetObject(&request, true), ZELTO_APP_NULL);
    EXPECT_THAT(manager.Requests(), IsEmpty());
}

class InstanceCalls : public capi::TWithManager {
protected:
    InstanceCalls() { Fill(ids.name, "Device.T."); }
    ~InstanceCalls() override { zeltoAppLibReleaseObjectIdsRequest(&ids); }

    tZeltoObjectIdsRequest ids = {};
};

TEST_F(InstanceCalls, AddGivesTheNewNumber) {
    manager.AnswerWith("{\"ID\": 12}");
    int instance = -7;
    EXPECT_EQ(zeltoAppLibAddObjectInstance("Device.T.", &instance), ZELTO_APP_OK);
    EXPECT_EQ(instance, 12);
    EXPECT_THAT(manager.Requests(), ElementsAre(Request("ADD_OBJECT_INSTANCE", R"({"OBJ": "Device.T."})")));
}

TEST_F(InstanceCalls, AddGivesZeroWhenTheAnswerHasNoNumber) {
    for (const char* const answer : {"{}", "{\"ID\": \"12\"}", "no JSON"}) {
        int instance = -7;
        manager.AnswerWith(answer);
        EXPECT_EQ(zeltoAppLibAddObjectInstance("Device.T.", &instance), ZELTO_APP_OK) << answer;
        EXPECT_EQ(instance, 0) << answer;
    }
}

TEST_F(InstanceCalls, AddLeavesTheNumberOnFailure) {
    manager.AnswerWith("{\"ID\": 12}", -1);
    int instance = -7;
    EXPECT_EQ(zeltoAppLibAddObjectInstance("Device.T.", &instance), ZELTO_APP_FAILED);
    EXPECT_EQ(instance, -7);
}

TEST_F(InstanceCalls, DeleteSendsTheName) {
    EXPECT_EQ(zeltoAppLibDelObjectInstance("Device.T.3."), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("DELETE_OBJECT_INSTANCE", R"({"OBJ": "Device.T.3."})")));
}

TEST_F(InstanceCalls, GetIdsGivesThemInOrder) {
    manager.AnswerWith(R"({"COUNT": 3, "IDS": [5, 1, 3]})");
    ASSERT_EQ(zeltoAppLibGetObjectIds(&ids), ZELTO_APP_OK);
    EXPECT_THAT(std::vector<int>(ids.ids, ids.ids + ids.count), ElementsAre(5, 1, 3));
    EXPECT_THAT(manager.Requests(), ElementsAre(Request("GET_OBJECT_INSTANCES", R"({"OBJ": "Device.T."})")));
}

TEST_F(InstanceCalls, GetIdsReplacesAnEarlierArray) {
    zeltoAppLibAllocateObjectIdsRequest(&ids, 7);
    manager.AnswerWith(R"({"IDS": []})");
    ASSERT_EQ(zeltoAppLibGetObjectIds(&ids), ZELTO_APP_OK);
    EXPECT_EQ(ids.count, 0U);
    EXPECT_NE(ids.ids, nullptr);
}

TEST_F(InstanceCalls, GetIdsReadsWhatIsNoNumberAsZero) {
    manager.AnswerWith(R"({"COUNT": 9, "IDS": [5, "1", null]})");
    ASSERT_EQ(zeltoAppLibGetObjectIds(&ids), ZELTO_APP_OK);
    EXPECT_THAT(std::vector<int>(ids.ids, ids.ids + ids.count), ElementsAre(5, 0, 0));
}

TEST_F(InstanceCalls, GetIdsLeavesTheRecordOnFailure) {
    zeltoAppLibAllocateObjectIdsRequest(&ids, 7);
    const std::int32_t* const earlier = ids.ids;
    manager.AnswerWith(R"({"IDS": [1]})", -1);
    EXPECT_EQ(zeltoAppLibGetObjectIds(&ids), ZELTO_APP_FAILED);
    EXPECT_EQ(ids.ids, earlier);
    EXPECT_EQ(ids.count, 7U);
}

TEST_F(InstanceCalls, GetIdsReadsAnUnterminatedNameTo256Bytes) {
    std::memset(ids.name, 'n', sizeof(ids.name));
    zeltoAppLibAllocateObjectIdsRequest(&ids, 7);
    EXPECT_EQ(zeltoAppLibGetObjectIds(&ids), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("GET_OBJECT_INSTANCES", "{\"OBJ\": \"" + std::string(256, 'n') + "\"}")));
}

TEST_F(InstanceCalls, RefuseNamesThatAreNotUtf8AndKeepWhatTheyWereGiven) {
    Fill(ids.name, "Device.\xff");
    zeltoAppLibAllocateObjectIdsRequest(&ids, 7);
    const std::int32_t* const earlier = ids.ids;
    int instance = -7;
    EXPECT_EQ(zeltoAppLibGetObjectIds(&ids), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(zeltoAppLibAddObjectInstance("Device.\xff", &instance), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(zeltoAppLibDelObjectInstance("Device.\xff"), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(LogSpy::CountPart(3, "'Device.'"), 3U);
    EXPECT_THAT(manager.Requests(), IsEmpty());
    EXPECT_EQ(ids.ids, earlier);
    EXPECT_EQ(ids.count, 7U);
    EXPECT_EQ(instance, -7);
}

TEST_F(InstanceCalls, RefuseNull) {
    int instance = -7;
    EXPECT_EQ(zeltoAppLibAddObjectInstance(nullptr, &instance), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibAddObjectInstance("Device.T.", nullptr), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibDelObjectInstance(nullptr), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibGetObjectIds(nullptr), ZELTO_APP_NULL);
    EXPECT_EQ(instance, -7);
    EXPECT_THAT(manager.Requests(), IsEmpty());
}

using TPairs = std::vector<std::pair<int, int>>;

std::map<std::string, TPairs> Content(const tZeltoIndexMapRequest& request) {
    std::map<std::string, TPairs> content;
    for (std::uint32_t i = 0; i < request.count; ++i) {
        TPairs& pairs = content[request.maps[i].name];
        for (std::uint32_t j = 0; j < request.maps[i].count; ++j) {
            pairs.emplace_back(request.maps[i].pairs[j].first, request.maps[i].pairs[j].second);
        }
    }
    return content;
}

class GetIndexMapping : public capi::TWithManager {
protected:
    void TearDown() override { zeltoAppLibReleaseIndexMapRequest(&request); }

    tZeltoIndexMapRequest request = {};
};

TEST_F(GetIndexMapping, SendsNoBody) {
    EXPECT_EQ(zeltoAppLibGetIndexMapping(&request), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(), ElementsAre(Request("GET_INDEX_MAP", "")));
}

TEST_F(GetIndexMapping, GivesEveryMapWithItsPairsInOrder) {
    manager.AnswerWith(R"({"DATA_MODELS": [
        {"NAME": "Device.A.", "INDEX_MAP": [{"APP_INDEX": 2, "PLATFORM_INDEX": 5},
                                            {"APP_INDEX": 1, "PLATFORM_INDEX": 7}]},
        {"NAME": "Device.B.", "INDEX_MAP": []}]})");
    ASSERT_EQ(zeltoAppLibGetIndexMapping(&request), ZELTO_APP_OK);
    EXPECT_THAT(Content(request),
                UnorderedElementsAre(Pair("Device.A.", TPairs{{2, 5}, {1, 7}}), Pair("Device.B.", TPairs{})));
    for (std::uint32_t i = 0; i < request.count; ++i) {
        EXPECT_NE(request.maps[i].pairs, nullptr) << "also when it is empty";
    }
}

TEST_F(GetIndexMapping, GivesAnEmptyArrayWhenThereAreNoMaps) {
    manager.AnswerWith("{}");
    ASSERT_EQ(zeltoAppLibGetIndexMapping(&request), ZELTO_APP_OK);
    EXPECT_EQ(request.count, 0U);
    EXPECT_NE(request.maps, nullptr);
}

TEST_F(GetIndexMapping, CutsTheNameTo255Characters) {
    const std::string name(300, 'n');
    manager.AnswerWith("{\"DATA_MODELS\": [{\"NAME\": \"" + name + "\"}]}");
    ASSERT_EQ(zeltoAppLibGetIndexMapping(&request), ZELTO_APP_OK);
    ASSERT_EQ(request.count, 1U);
    EXPECT_EQ(std::string(request.maps[0].name), name.substr(0, 255));
}

TEST_F(GetIndexMapping, DoesNotReleaseAnEarlierAnswer) {
    manager.AnswerWith(R"({"DATA_MODELS": [{"NAME": "Device.A."}]})");
    ASSERT_EQ(zeltoAppLibGetIndexMapping(&request), ZELTO_APP_OK);
    tZeltoIndexMapRequest earlier = request;
    ASSERT_EQ(zeltoAppLibGetIndexMapping(&request), ZELTO_APP_OK);
    EXPECT_NE(request.maps, earlier.maps);
    EXPECT_STREQ(earlier.maps[0].name, "Device.A.");
    zeltoAppLibReleaseIndexMapRequest(&earlier);
}

TEST_F(GetIndexMapping, LeavesTheRecordOnFailure) {
    request.count = 7;
    manager.AnswerWith(R"({"DATA_MODELS": [{"NAME": "Device.A."}]})", -1);
    EXPECT_EQ(zeltoAppLibGetIndexMapping(&request), ZELTO_APP_FAILED);
    EXPECT_EQ(request.maps, nullptr);
    EXPECT_EQ(request.count, 7U);
}

TEST_F(GetIndexMapping, RefusesANullRecord) {
    EXPECT_EQ(zeltoAppLibGetIndexMapping(nullptr), ZELTO_APP_NULL);
    EXPECT_THAT(manager.Requests(), IsEmpty());
}

} // namespace
