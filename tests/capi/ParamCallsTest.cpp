#include "capi/CannedManager.h"

#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using capi::Fill;
using capi::ParamsAnswer;
using capi::Request;
using testing::ElementsAre;
using testing::IsEmpty;

const bool BUS_READY = support::TBusEnvironment::Register();

class GetParam : public capi::TWithManager {
protected:
    GetParam() { Fill(request.param.name, "Device.P.1"); }
    ~GetParam() override { zeltoAppLibReleaseParamRequest(&request); }

    tZeltoParamRequest request = {};
};

TEST_F(GetParam, SendsTheName) {
    manager.AnswerWith(ParamsAnswer(1));
    EXPECT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(), ElementsAre(Request("GET_PARAM", R"({"NAME": "Device.P.1"})")));
}

TEST_F(GetParam, WritesOnlyTheValueForOneResult) {
    manager.AnswerWith(R"({"PARAMS": [{"NAME": "Device.Other", "VALUE": "v"}]})");
    ASSERT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_OK);
    EXPECT_STREQ(request.param.value, "v");
    EXPECT_STREQ(request.param.name, "Device.P.1");
    EXPECT_FALSE(request.isArray);
    EXPECT_EQ(request.paramArray.params, nullptr);
}

TEST_F(GetParam, LeavesAnEarlierArrayForOneResult) {
    zeltoAppLibAllocateParamArray(&request.paramArray, 2);
    request.isArray = true;
    const tZeltoParam* const earlier = request.paramArray.params;
    manager.AnswerWith(ParamsAnswer(1));
    ASSERT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_OK);
    EXPECT_TRUE(request.isArray);
    EXPECT_EQ(request.paramArray.params, earlier);
    EXPECT_EQ(request.paramArray.count, 2U);
}

TEST_F(GetParam, GivesAnArrayForThreeResults) {
    Fill(request.param.name, "Device.P.*");
    manager.AnswerWith(ParamsAnswer(3));
    ASSERT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_OK);
    EXPECT_TRUE(request.isArray);
    ASSERT_EQ(request.paramArray.count, 3U);
    EXPECT_STREQ(request.paramArray.params[0].name, "Device.P.1");
    EXPECT_STREQ(request.paramArray.params[2].name, "Device.P.3");
    EXPECT_STREQ(request.paramArray.params[2].value, "v3");
    EXPECT_STREQ(request.param.value, "");
}

TEST_F(GetParam, GivesAnEmptyArrayForNoResult) {
    for (const char* const answer : {"{\"PARAMS\": []}", "{\"PARAMS\": null}", "{}", "[]", "no JSON", ""}) {
        zeltoAppLibReleaseParamRequest(&request);
        manager.AnswerWith(answer);
        ASSERT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_OK) << answer;
        EXPECT_TRUE(request.isArray) << answer;
        EXPECT_EQ(request.paramArray.count, 0U) << answer;
        EXPECT_NE(request.paramArray.params, nullptr) << answer;
    }
}

TEST_F(GetParam, ReadsMissingAndWronglyTypedMembersAsEmpty) {
    manager.AnswerWith(R"({"PARAMS": [{"VALUE": 7}, {"NAME": null, "VALUE": "v", "MORE": 1}, 5]})");
    ASSERT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_OK);
    ASSERT_EQ(request.paramArray.count, 3U);
    EXPECT_STREQ(request.paramArray.params[0].value, "");
    EXPECT_STREQ(request.paramArray.params[1].name, "");
    EXPECT_STREQ(request.paramArray.params[1].value, "v");
    EXPECT_STREQ(request.paramArray.params[2].value, "");
}

TEST_F(GetParam, LeavesTheRecordOnFailure) {
    Fill(request.param.value, "before");
    manager.AnswerWith(ParamsAnswer(3), -1);
    EXPECT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_FAILED);
    manager.AnswerWith(ParamsAnswer(1), 5);
    EXPECT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_FAILED);
    EXPECT_STREQ(request.param.value, "before");
    EXPECT_FALSE(request.isArray);
    EXPECT_EQ(request.paramArray.params, nullptr);
}

TEST_F(GetParam, CutsTheValueTo255CharactersAndEndsIt) {
    for (const std::size_t length : {0U, 1U, 254U, 255U, 256U, 300U, 1048576U}) {
        std::memset(request.param.value, 'x', sizeof(request.param.value));
        const std::string value(length, 'v');
        manager.AnswerWith(R"({"PARAMS": [{"NAME": "Device.P.1", "VALUE": ")" + value + "\"}]}");
        ASSERT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_OK);
        EXPECT_EQ(std::string(request.param.value), value.substr(0, 255)) << length;
        EXPECT_EQ(request.param.value[255], '\0');
    }
}

TEST_F(GetParam, ReadsAnUnterminatedNameTo256Bytes) {
    std::memset(request.param.name, 'n', sizeof(request.param.name));
    std::memset(request.param.value, 'x', sizeof(request.param.value));
    manager.AnswerWith(ParamsAnswer(1));
    ASSERT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("GET_PARAM", "{\"NAME\": \"" + std::string(256, 'n') + "\"}")));
}

TEST_F(GetParam, RefusesANameThatIsNotUtf8) {
    Fill(request.param.name, "Device.\xff");
    EXPECT_EQ(zeltoAppLibGetParam(&request), ZELTO_APP_NOT_SENT);
    EXPECT_THAT(manager.Requests(), IsEmpty());
    EXPECT_EQ(LogSpy::Count(3), 1U);
}

TEST_F(GetParam, RefusesANullRecord) {
    EXPECT_EQ(zeltoAppLibGetParam(nullptr), ZELTO_APP_NULL);
    EXPECT_THAT(manager.Requests(), IsEmpty());
}

class SetParam : public capi::TWithManager {
protected:
    tZeltoParam param = {};
};

TEST_F(SetParam, SendsNameValueAndCommit) {
    Fill(param.name, "Device.A");
    Fill(param.value, "b \"c\"");
    EXPECT_EQ(zeltoAppLibSetParam(&param, true), ZELTO_APP_OK);
    EXPECT_EQ(zeltoAppLibSetParam(&param, false), ZELTO_APP_OK);
    EXPECT_THAT(
        manager.Requests(),
        ElementsAre(Request("SET_PARAM", R"({"NAME": "Device.A", "VALUE": "b \"c\"", "COMMIT": true})"),
                    Request("SET_PARAM", R"({"NAME": "Device.A", "VALUE": "b \"c\"", "COMMIT": false})")));
}

TEST_F(SetParam, ReadsUnterminatedFieldsTo256Bytes) {
    std::memset(&param, 'x', sizeof(param));
    EXPECT_EQ(zeltoAppLibSetParam(&param, false), ZELTO_APP_OK);
    const std::string field(256, 'x');
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("SET_PARAM", "{\"NAME\": \"" + field + "\", \"VALUE\": \"" + field +
                                                     "\", \"COMMIT\": false}")));
}

TEST_F(SetParam, RefusesAValueThatIsNotUtf8AndNamesTheParameter) {
    Fill(param.name, "Device.A");
    Fill(param.value, "\xc3");
    EXPECT_EQ(zeltoAppLibSetParam(&param, true), ZELTO_APP_NOT_SENT);
    EXPECT_THAT(manager.Requests(), IsEmpty());
    EXPECT_TRUE(LogSpy::ContainsPart(3, "Device.A"));
}

TEST_F(SetParam, GivesMinusOneForEveryFailure) {
    Fill(param.name, "Device.A");
    for (const int code : {-1, 1, 11, 255}) {
        manager.AnswerWith("", code);
        EXPECT_EQ(zeltoAppLibSetParam(&param, true), ZELTO_APP_FAILED) << code;
    }
}

TEST_F(SetParam, RefusesANullRecord) {
    EXPECT_EQ(zeltoAppLibSetParam(nullptr, true), ZELTO_APP_NULL);
    EXPECT_THAT(manager.Requests(), IsEmpty());
}

class ParamArrayCalls : public capi::TWithManager {
protected:
    ~ParamArrayCalls() override { zeltoAppLibReleaseParamArray(&array); }

    void Allocate(std::uint32_t count) {
        zeltoAppLibAllocateParamArray(&array, count);
        for (std::uint32_t i = 0; i < count; ++i) {
            Fill(array.params[i].name, "Device.P." + std::to_string(i + 1));
            Fill(array.params[i].value, "v" + std::to_string(i + 1));
        }
    }

    tZeltoParamArray array = {};
};

TEST_F(ParamArrayCalls, GetSendsTheNamesOnly) {
    Allocate(2);
    manager.AnswerWith(ParamsAnswer(2));
    ASSERT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("GET_PARAM_ARRAY",
                                    R"({"PARAMS": [{"NAME": "Device.P.1"}, {"NAME": "Device.P.2"}]})")));
}

TEST_F(ParamArrayCalls, GetReplacesTheArrayByTheAnswer) {
    Allocate(1);
    manager.AnswerWith(ParamsAnswer(3));
    ASSERT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_OK);
    ASSERT_EQ(array.count, 3U);
    EXPECT_STREQ(array.params[0].name, "Device.P.1");
    EXPECT_STREQ(array.params[2].value, "v3");
}

TEST_F(ParamArrayCalls, GetGivesAnEmptyArrayForAnEmptyAnswer) {
    Allocate(2);
    manager.AnswerWith("{\"PARAMS\": []}");
    ASSERT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_OK);
    EXPECT_EQ(array.count, 0U);
    EXPECT_NE(array.params, nullptr);
}

TEST_F(ParamArrayCalls, GetCutsTextsTo255CharactersAndTheArraysZerosEndThem) {
    Allocate(1);
    const std::string text(300, 't');
    manager.AnswerWith("{\"PARAMS\": [{\"NAME\": \"" + text + "\", \"VALUE\": \"" + text + "\"}]}");
    ASSERT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_OK);
    EXPECT_EQ(std::string(array.params[0].name), text.substr(0, 255));
    EXPECT_EQ(std::string(array.params[0].value), text.substr(0, 255));
}

TEST_F(ParamArrayCalls, GetLeavesTheArrayOnFailure) {
    Allocate(2);
    const tZeltoParam* const earlier = array.params;
    manager.AnswerWith(ParamsAnswer(1), -1);
    EXPECT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_FAILED);
    EXPECT_EQ(array.params, earlier);
    EXPECT_EQ(array.count, 2U);
    EXPECT_STREQ(array.params[1].name, "Device.P.2");
}

TEST_F(ParamArrayCalls, SetSendsNamesAndValues) {
    Allocate(2);
    EXPECT_EQ(zeltoAppLibSetParamArray(&array, true), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("SET_PARAM_ARRAY",
                                    R"({"PARAMS": [{"NAME": "Device.P.1", "VALUE": "v1"}, )"
                                    R"({"NAME": "Device.P.2", "VALUE": "v2"}], "COMMIT": true})")));
}

TEST_F(ParamArrayCalls, ReadUnterminatedFieldsTo256Bytes) {
    Allocate(1);
    std::memset(array.params, 'x', sizeof(tZeltoParam));
    const std::string name = R"({"PARAMS": [{"NAME": ")" + std::string(256, 'x') + "\"";
    EXPECT_EQ(zeltoAppLibSetParamArray(&array, false), ZELTO_APP_OK);
    EXPECT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("SET_PARAM_ARRAY", name + ", \"VALUE\": \"" + std::string(256, 'x') +
                                                           R"("}], "COMMIT": false})"),
                            Request("GET_PARAM_ARRAY", name + "}]}")));
}

TEST_F(ParamArrayCalls, RefuseTextsThatAreNotUtf8AndKeepTheArray) {
    Allocate(2);
    const tZeltoParam* const earlier = array.params;
    Fill(array.params[1].value, "\xff");
    EXPECT_EQ(zeltoAppLibSetParamArray(&array, true), ZELTO_APP_NOT_SENT);
    EXPECT_TRUE(LogSpy::ContainsPart(3, "Device.P.2"));
    Fill(array.params[1].name, "Device.\xff");
    EXPECT_EQ(zeltoAppLibSetParamArray(&array, true), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(LogSpy::CountPart(3, "'Device.'"), 2U);
    EXPECT_THAT(manager.Requests(), IsEmpty());
    EXPECT_EQ(array.params, earlier);
    EXPECT_EQ(array.count, 2U);
    EXPECT_STREQ(array.params[0].value, "v1");
    EXPECT_STREQ(array.params[1].value, "\xff");
}

TEST_F(ParamArrayCalls, SendNullForAnArrayOfNone) {
    Allocate(0);
    EXPECT_EQ(zeltoAppLibSetParamArray(&array, false), ZELTO_APP_OK);
    EXPECT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("SET_PARAM_ARRAY", R"({"PARAMS": null, "COMMIT": false})"),
                            Request("GET_PARAM_ARRAY", R"({"PARAMS": null})")));
}

TEST_F(ParamArrayCalls, RefuseNullRecordsAndNullArrays) {
    EXPECT_EQ(zeltoAppLibGetParamArray(nullptr), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibGetParamArray(&array), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibSetParamArray(nullptr, true), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibSetParamArray(&array, true), ZELTO_APP_NULL);
    EXPECT_THAT(manager.Requests(), IsEmpty());
}

} // namespace
