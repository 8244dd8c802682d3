// The conversions between parameter lists and bodies, and the calls that need no manager.
#include "support/LogSpy.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoJsonObject.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

TZeltoApplication& App() {
    return TZeltoApplication::GetInstance();
}

TZeltoJsonObject Decoded(const std::string& text) {
    TZeltoJsonObject body;
    (void)body.DecodeFromString(text);
    return body;
}

std::string Encoded(const TParams& params) {
    TZeltoJsonObject body;
    App().ParamArrayToJson(params, body);
    return body.EncodeToString();
}

std::string Populated(const std::string& answer) {
    TParams params{{"old", "old"}, {"old", "old"}, {"old", "old"}};
    App().PopulateParamArray(Decoded(answer), params);
    std::string text;
    for (const auto& param : params) {
        text += param.name + "=" + param.value + ";";
    }
    return text;
}

TEST(ParamArrayToJson, WritesNamesBeforeValuesInTheOrderOfTheList) {
    EXPECT_EQ(Encoded({{"Device.B", "2"}, {"Device.A", ""}}),
              R"({"PARAMS": [{"NAME": "Device.B", "VALUE": "2"}, {"NAME": "Device.A", "VALUE": ""}]})");
}

TEST(ParamArrayToJson, WritesAnEmptyListAsNull) {
    EXPECT_EQ(Encoded({}), R"({"PARAMS": null})");
}

TEST(ParamArrayToJson, KeepsTheOtherKeys) {
    TZeltoJsonObject body = Decoded(R"({"ROOT": "Device.", "PARAMS": 1})");
    App().ParamArrayToJson({}, body);
    EXPECT_EQ(body.EncodeToString(), R"({"ROOT": "Device.", "PARAMS": null})");
}

TEST(ParamArrayToJson, LeavesADocumentThatIsNoObjectAsItIs) {
    for (const char* document : {"not json", "[]", "[1]"}) {
        TZeltoJsonObject body = Decoded(document);
        const std::string before = body.EncodeToString();
        EXPECT_NO_THROW(App().ParamArrayToJson({{"Device.A", "1"}}, body)) << document;
        EXPECT_EQ(body.EncodeToString(), before);
    }
}

TEST(ParamArrayToJson, RaisesWithTheNameOfAParameterWhoseValueIsNotUtf8) {
    TZeltoJsonObject body;
    try {
        App().ParamArrayToJson({{"Device.A", "1"}, {"Device.B", "\xc3"}}, body);
        FAIL() << body.EncodeToString();
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("Device.B"));
    }
}

TEST(PopulateParamArray, ReplacesTheListByTheEntriesInOrder) {
    EXPECT_EQ(Populated(R"({"PARAMS": [{"NAME": "B", "VALUE": "2"}, {"VALUE": "1", "NAME": "A"}]})"),
              "B=2;A=1;");
}

TEST(PopulateParamArray, GrowsTheList) {
    EXPECT_EQ(Populated(R"({"PARAMS": [{"NAME": "A"}, {"NAME": "B"}, {"NAME": "C"}, {"NAME": "D"}]})"),
              "A=;B=;C=;D=;");
}

TEST(PopulateParamArray, EmptiesTheListWhenThereAreNoEntries) {
    for (const char* answer : {"{}", R"({"PARAMS": []})", R"({"PARAMS": null})", R"({"PARAMS": "x"})",
                               R"({"PARAMS": {"NAME": "A"}})", "[]", "not json"}) {
        EXPECT_EQ(Populated(answer), "") << answer;
    }
}

TEST(PopulateParamArray, ReadsMissingKeysAndOtherKindsAsTheEmptyText) {
    EXPECT_EQ(Populated(R"({"PARAMS": [{}, {"NAME": 1, "VALUE": true}, 5, null, [], {"VALUE": "v"}]})"),
              "=;=;=;=;=;=v;");
}

TEST(OnMethodCall, AnswersIsAppActiveOnlyAndLeavesTheOutputAlone) {
    std::string output = "before";
    EXPECT_EQ(App().OnMethodCall("IS_APP_ACTIVE", "", output), 0);
    EXPECT_EQ(App().OnMethodCall("IS_APP_ACTIVE", "anything", output), 0);
    for (const char* method : {"GET_PARAM", "", "is_app_active", "IS_APP_ACTIVE "}) {
        EXPECT_EQ(App().OnMethodCall(method, "", output), -1) << method;
    }
    EXPECT_EQ(output, "before");
}

TEST(IsAppActive, RefusesAnIdentifierWithoutATextAndAsksNobody) {
    for (const bool before : {false, true}) {
        for (const int identifier : {5, 13, 99, -1}) {
            bool isActive = before;
            EXPECT_EQ(App().IsAppActive(static_cast<tZeltoClientId>(identifier), isActive), -1);
            EXPECT_EQ(isActive, before);
        }
    }
    EXPECT_TRUE(LogSpy::Messages().empty()) << LogSpy::Dump();
}

} // namespace
