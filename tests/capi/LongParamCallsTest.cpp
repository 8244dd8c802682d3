#include "capi/CannedManager.h"

#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using capi::Fill;
using capi::Request;
using testing::ElementsAre;
using testing::IsEmpty;

const bool BUS_READY = support::TBusEnvironment::Register();

class LongParam : public capi::TWithManager {
protected:
    LongParam() { Fill(request.name, "Device.Long"); }
    ~LongParam() override { zeltoAppLibReleaseLongParamRequest(&request); }

    void SetValue(const std::string& value) {
        zeltoAppLibAllocateLongParamRequest(&request, static_cast<std::uint32_t>(value.size() + 1));
        std::memcpy(request.value, value.c_str(), value.size() + 1);
    }

    tZeltoLongParamRequest request = {};
};

TEST_F(LongParam, GetSendsTheName) {
    EXPECT_EQ(zeltoAppLibGetLongParam(&request), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(), ElementsAre(Request("GET_LONG_PARAM", R"({"NAME": "Device.Long"})")));
}

TEST_F(LongParam, GetGivesValuesOfAnyLength) {
    for (const std::size_t length : {0U, 1U, 254U, 255U, 256U, 300U, 1048576U}) {
        const std::string value(length, 'v');
        manager.AnswerWith("{\"VALUE\": \"" + value + "\"}");
        ASSERT_EQ(zeltoAppLibGetLongParam(&request), ZELTO_APP_OK);
        EXPECT_EQ(request.size, length + 1);
        EXPECT_TRUE(request.value == value) << length;
        zeltoAppLibReleaseLongParamRequest(&request);
    }
}

TEST_F(LongParam, GetGivesTheEmptyTextWhenTheAnswerHasNone) {
    for (const char* const answer : {"{}", "{\"VALUE\": 7}", "{\"VALUE\": null}", "[1]", "no JSON", ""}) {
        manager.AnswerWith(answer);
        ASSERT_EQ(zeltoAppLibGetLongParam(&request), ZELTO_APP_OK) << answer;
        EXPECT_EQ(request.size, 1U) << answer;
        ASSERT_NE(request.value, nullptr) << answer;
        EXPECT_STREQ(request.value, "") << answer;
        zeltoAppLibReleaseLongParamRequest(&request);
    }
}

TEST_F(LongParam, GetDoesNotReleaseAnEarlierBuffer) {
    SetValue("earlier");
    char* const earlier = request.value;
    manager.AnswerWith("{\"VALUE\": \"now\"}");
    ASSERT_EQ(zeltoAppLibGetLongParam(&request), ZELTO_APP_OK);
    EXPECT_STREQ(earlier, "earlier");
    EXPECT_STREQ(request.value, "now");
    zeltoAppLibReleaseLongParamRequest(&request);
    request.value = earlier;
}

TEST_F(LongParam, GetLeavesTheRecordOnFailure) {
    SetValue("earlier");
    manager.AnswerWith("{\"VALUE\": \"now\"}", 7);
    EXPECT_EQ(zeltoAppLibGetLongParam(&request), ZELTO_APP_FAILED);
    EXPECT_STREQ(request.value, "earlier");
    EXPECT_EQ(request.size, 8U);
}

TEST_F(LongParam, GetRefusesANameThatIsNotUtf8) {
    Fill(request.name, "Device.\xff");
    EXPECT_EQ(zeltoAppLibGetLongParam(&request), ZELTO_APP_NOT_SENT);
    EXPECT_EQ(request.value, nullptr);
    EXPECT_THAT(manager.Requests(), IsEmpty());
    EXPECT_EQ(LogSpy::Count(3), 1U);
}

TEST_F(LongParam, SetSendsNameValueAndCommit) {
    SetValue("text");
    EXPECT_EQ(zeltoAppLibSetLongParam(&request, true), ZELTO_APP_OK);
    EXPECT_EQ(zeltoAppLibSetLongParam(&request, false), ZELTO_APP_OK);
    EXPECT_THAT(
        manager.Requests(),
        ElementsAre(
            Request("SET_LONG_PARAM", R"({"NAME": "Device.Long", "VALUE": "text", "COMMIT": true})"),
            Request("SET_LONG_PARAM", R"({"NAME": "Device.Long", "VALUE": "text", "COMMIT": false})")));
}

TEST_F(LongParam, SetSendsUpToTheNulWhateverTheSize) {
    SetValue(std::string("abc\0def", 7));
    for (const std::uint32_t size : {0U, 2U, 1000U}) {
        request.size = size;
        EXPECT_EQ(zeltoAppLibSetLongParam(&request, false), ZELTO_APP_OK);
        EXPECT_EQ(manager.Requests().back().second,
                  R"({"NAME": "Device.Long", "VALUE": "abc", "COMMIT": false})");
    }
}

TEST_F(LongParam, ReadsAnUnterminatedNameTo256Bytes) {
    SetValue("text");
    std::memset(request.name, 'n', sizeof(request.name));
    const std::string name = "{\"NAME\": \"" + std::string(256, 'n') + "\"";
    EXPECT_EQ(zeltoAppLibSetLongParam(&request, true), ZELTO_APP_OK);
    zeltoAppLibReleaseLongParamRequest(&request);
    EXPECT_EQ(zeltoAppLibGetLongParam(&request), ZELTO_APP_OK);
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Request("SET_LONG_PARAM", name + R"(, "VALUE": "text", "COMMIT": true})"),
                            Request("GET_LONG_PARAM", name + "}")));
}

TEST_F(LongParam, SetSendsAMebibyte) {
    const std::string value(1048576, 'v');
    SetValue(value);
    ASSERT_EQ(zeltoAppLibSetLongParam(&request, true), ZELTO_APP_OK);
    ASSERT_EQ(manager.Requests().size(), 1U);
    EXPECT_TRUE(manager.Requests()[0].second ==
                R"({"NAME": "Device.Long", "VALUE": ")" + value + R"(", "COMMIT": true})");
}

TEST_F(LongParam, SetGivesMinusOneForEveryFailure) {
    SetValue("text");
    for (const int code : {-1, 1, 11}) {
        manager.AnswerWith("", code);
        EXPECT_EQ(zeltoAppLibSetLongParam(&request, true), ZELTO_APP_FAILED);
    }
}

TEST_F(LongParam, SetDoesNotReadTheAnswer) {
    SetValue("text");
    manager.AnswerWith("no JSON");
    EXPECT_EQ(zeltoAppLibSetLongParam(&request, true), ZELTO_APP_OK);
    EXPECT_STREQ(request.value, "text");
}

TEST_F(LongParam, SetRefusesAValueThatIsNotUtf8AndNamesTheParameter) {
    SetValue("\xc3");
    EXPECT_EQ(zeltoAppLibSetLongParam(&request, true), ZELTO_APP_NOT_SENT);
    EXPECT_THAT(manager.Requests(), IsEmpty());
    EXPECT_TRUE(LogSpy::ContainsPart(3, "Device.Long"));
}

TEST_F(LongParam, RefusesNull) {
    EXPECT_EQ(zeltoAppLibGetLongParam(nullptr), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibSetLongParam(nullptr, true), ZELTO_APP_NULL);
    EXPECT_EQ(zeltoAppLibSetLongParam(&request, true), ZELTO_APP_NULL);
    EXPECT_THAT(manager.Requests(), IsEmpty());
}

} // namespace
