// Requests for single parameters and lists of them, and what all requests have in common.

#include "Requests.h"
#include "ScriptedPlatform.h"

#include "protocol/RequestNames.h"
#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using scripted::Answer;
using scripted::Calls;
using scripted::DONE;
using scripted::FAILED;
using scripted::ReportInstances;
using scripted::Request;
using scripted::Script;
using scripted::TAnswer;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int ERROR = 3;
constexpr int NOTICE = 5;
constexpr int DEBUG = 7;

// Answers every get with the name that the handler saw, except for those that end as given.
void EchoExcept(const std::string& failing = "(none)") {
    Script(PLT_REQUEST_GET_PARAM, [failing](tZeltoPlatformRequest& request) {
        const std::string name = request.paramName;
        const std::size_t at = name.rfind(failing);
        if (at != std::string::npos && at + failing.size() == name.size()) {
            return PLT_FAILURE;
        }
        Answer(request, "=" + name);
        return PLT_SUCCESS;
    });
}

std::vector<std::string> NamesOf(tZeltoPltRequestType type) {
    std::vector<std::string> names;
    for (const scripted::TCall& call : Calls()) {
        if (call.type == type) {
            names.push_back(call.paramName);
        }
    }
    return names;
}

class MethodDispatch : public testing::Test {
protected:
    static void SetUpTestSuite() {
        using scripted::FullEntry;
        scripted::Install({FullEntry("Device.WiFi.SSID.{i}.SSID"), FullEntry("Device.WiFi.SSID."),
                           FullEntry("Test.Value"), FullEntry("Device.Ethernet.Interface."),
                           FullEntry("Device.Ethernet.Interface.{i}.Name"), FullEntry("Test.{i}.A.*.B"),
                           FullEntry("Test."), FullEntry("")});
    }
    void SetUp() override {
        scripted::Reset();
        EchoExcept();
        LogSpy::Clear();
    }
};

class GetParamRequest : public MethodDispatch {};
class SetParamRequest : public MethodDispatch {};
class LongParamRequest : public MethodDispatch {};
class GetParamArrayRequest : public MethodDispatch {};
class SetParamArrayRequest : public MethodDispatch {};

TEST_F(MethodDispatch, RefusesMethodsThatItDoesNotKnow) {
    for (const char* const method : {"get_param", "GET_PARAM ", "GET", "", "IS_APP_ACTIVE", "GET_FILE"}) {
        LogSpy::Clear();
        EXPECT_EQ(Request(method, "{}"), FAILED) << method;
        EXPECT_TRUE(LogSpy::Contains(NOTICE, std::string("\"Unknown request method ") + method + "\""))
            << method;
    }
}

TEST_F(MethodDispatch, LogsEveryRequest) {
    for (const char* const method : zelto::METHOD_NAMES) {
        Request(method, "{\"X\": 1}");
        EXPECT_TRUE(
            LogSpy::Contains(DEBUG, std::string("\"Method - ") + method + " requested, input - {\"X\": 1}\""))
            << method;
    }
    EXPECT_EQ(LogSpy::Count(NOTICE), 0U); // all are known
}

TEST_F(MethodDispatch, LogsARequestThatIsNoJson) {
    for (std::size_t method = 0; method < zelto::METHOD_COUNT; ++method) {
        const std::string name = zelto::METHOD_NAMES[method];
        const std::size_t lines = method == zelto::METHOD_GET_INDEX_MAP ? 0 : 1; // which does not look at it
        for (const char* const input : {"", "no json", "{\"NAME\": \"Test.Value\""}) {
            LogSpy::Clear();
            Request(name.c_str(), input);
            EXPECT_EQ(LogSpy::Count(NOTICE, "\"The request of " + name + " is no JSON\""), lines) << input;
        }
    }
}

TEST_F(MethodDispatch, TakesNullTextsForEmptyOnes) {
    char* output = nullptr;
    EXPECT_EQ(zeltoPlatformMethodsHandler(nullptr, "{}", &output), -1);
    EXPECT_EQ(zeltoPlatformMethodsHandler("SET_PARAM_ARRAY", nullptr, &output), -1);
    EXPECT_EQ(output, nullptr);
}

TEST_F(GetParamRequest, AnswersOneEntry) {
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Test.Value"})"),
              (TAnswer{0, R"({"PARAMS": [{"NAME": "Test.Value", "VALUE": "=Test.Value"}]})"}));
}

TEST_F(GetParamRequest, AnswersTheNameAsItWasAsked) {
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.Ethernet.Interface.1.Name"})").text,
              R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.1.Name", )"
              R"("VALUE": "=Device.Ethernet.Interface.5.Name"}]})");
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "@Device.Ethernet.Interface.1.Name"})").text,
              R"({"PARAMS": [{"NAME": "@Device.Ethernet.Interface.1.Name", )"
              R"("VALUE": "=Device.Ethernet.Interface.1.Name"}]})");
}

TEST_F(GetParamRequest, ReadsMissingAndOddNamesAsEmpty) {
    const TAnswer empty{0, R"({"PARAMS": [{"NAME": "", "VALUE": "="}]})"};
    for (const char* const input : {"", "{}", "no json", "[]", "null", "{\"NAME\": 7}", "{\"NAME\": null}",
                                    "{\"NAME\": [\"Test.Value\"]}", "{\"name\": \"Test.Value\"}",
                                    "{\"NAME\": \"Test.Value\"", "{\"NAME\": \"\\u0000\"}"}) {
        EXPECT_EQ(Request("GET_PARAM", input), empty) << input;
    }
}

TEST_F(GetParamRequest, ExpandsAWildcardInTheOrderOfThePlatform) {
    ReportInstances({1, 2, 5});
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID"})"),
              (TAnswer{0, R"({"PARAMS": [)"
                          R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "=Device.WiFi.SSID.1.SSID"}, )"
                          R"({"NAME": "Device.WiFi.SSID.2.SSID", "VALUE": "=Device.WiFi.SSID.2.SSID"}, )"
                          R"({"NAME": "Device.WiFi.SSID.5.SSID", "VALUE": "=Device.WiFi.SSID.5.SSID"}]})"}));
    EXPECT_THAT(NamesOf(PLT_REQUEST_GET_OBJECT_IDS), ElementsAre("Device.WiFi.SSID."));
}

TEST_F(GetParamRequest, AnswersExpandedNamesInApplicationNumbering) {
    ReportInstances({5, 1, 9});
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest&) { return PLT_SUCCESS; });
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.Ethernet.Interface.*.Name"})").text,
              R"({"PARAMS": [{"NAME": "Device.Ethernet.Interface.1.Name", "VALUE": ""}, )"
              R"({"NAME": "Device.Ethernet.Interface.2.Name", "VALUE": ""}, )"
              R"({"NAME": "Device.Ethernet.Interface.9.Name", "VALUE": ""}]})");
    EXPECT_THAT(NamesOf(PLT_REQUEST_GET_PARAM),
                ElementsAre("Device.Ethernet.Interface.5.Name", "Device.Ethernet.Interface.1.Name",
                            "Device.Ethernet.Interface.9.Name"));
}

TEST_F(GetParamRequest, KeepsTheMarkThroughTheExpansion) {
    ReportInstances({5});
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        Answer(request, "Device.Ethernet.Interface.5");
        return PLT_SUCCESS;
    });
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "@Device.Ethernet.Interface.*.Name"})").text,
              R"({"PARAMS": [{"NAME": "@Device.Ethernet.Interface.5.Name", )"
              R"("VALUE": "Device.Ethernet.Interface.5"}]})");
    EXPECT_THAT(NamesOf(PLT_REQUEST_GET_OBJECT_IDS), ElementsAre("Device.Ethernet.Interface."));
    EXPECT_THAT(NamesOf(PLT_REQUEST_GET_PARAM), ElementsAre("Device.Ethernet.Interface.5.Name"));
}

TEST_F(GetParamRequest, ReplacesTheFirstWildcardOnly) {
    ReportInstances({3});
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Test.*.A.*.B"})").text,
              R"({"PARAMS": [{"NAME": "Test.3.A.*.B", "VALUE": "=Test.3.A.*.B"}]})");
}

TEST_F(GetParamRequest, FailsWhenTheTableHasNoInstance) {
    ReportInstances({});
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID"})"), FAILED);
    EXPECT_THAT(NamesOf(PLT_REQUEST_GET_PARAM), IsEmpty());
    EXPECT_TRUE(LogSpy::Contains(NOTICE, "\"No instance matches Device.WiFi.SSID.*.SSID\""));
}

TEST_F(GetParamRequest, FailsWhenTheInstancesCannotBeRead) {
    Script(PLT_REQUEST_GET_OBJECT_IDS, [](tZeltoPlatformRequest&) { return PLT_FAILURE; });
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID"})"), FAILED);
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Test.Unknown.*.X"})"), FAILED);
    EXPECT_THAT(NamesOf(PLT_REQUEST_GET_PARAM), IsEmpty());
}

TEST_F(GetParamRequest, AnswersNothingWhenALaterNameFails) {
    ReportInstances({1, 2, 3});
    EchoExcept("2.SSID");
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID"})"), FAILED);
    EXPECT_THAT(NamesOf(PLT_REQUEST_GET_PARAM),
                ElementsAre("Device.WiFi.SSID.1.SSID", "Device.WiFi.SSID.2.SSID"));
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"zeltoPlatLibGetParam(Device.WiFi.SSID.2.SSID) failed\""));
}

TEST_F(GetParamRequest, FailsForANameThatNobodyServes) {
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Test.Unknown"})"), FAILED);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"zeltoPlatLibGetParam(Test.Unknown) failed\""));
}

TEST_F(GetParamRequest, FailsForAnInstanceNumberOfThirtyDigits) {
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.WiFi.SSID.123456789012345678901234567890.SSID"})"),
              FAILED);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"An instance number in Device.WiFi.SSID."
                                        "123456789012345678901234567890.SSID is too large\""));
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Test.Value"})").status, 0);
}

TEST_F(GetParamRequest, AnswersNullForAValueThatIsNotUtf8) {
    ReportInstances({1, 2});
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        Answer(request, request.indices[0] == 1 ? "caf\xe9" : "caf\xc3\xa9");
        return PLT_SUCCESS;
    });
    EXPECT_EQ(Request("GET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID"})"),
              (TAnswer{0, "{\"PARAMS\": [{\"NAME\": \"Device.WiFi.SSID.1.SSID\", \"VALUE\": null}, "
                          "{\"NAME\": \"Device.WiFi.SSID.2.SSID\", \"VALUE\": \"caf\xc3\xa9\"}]}"}));
    EXPECT_EQ(LogSpy::Count(ERROR, "\"The value of Device.WiFi.SSID.1.SSID is not valid UTF-8\""), 1U);
}

TEST_F(SetParamRequest, HandsOnValueAndFlag) {
    EXPECT_EQ(Request("SET_PARAM", R"({"COMMIT": true, "VALUE": "v", "NAME": "Test.Value"})"), DONE);
    ASSERT_EQ(Calls().size(), 1U);
    EXPECT_EQ(Calls()[0].paramName, "Test.Value");
    EXPECT_EQ(Calls()[0].value, "v");
    EXPECT_TRUE(Calls()[0].commit);
}

TEST_F(SetParamRequest, ReadsMissingAndOddKeysAsTheirDefaults) {
    for (const char* const input :
         {R"({"NAME": "Test.Value"})", R"({"NAME": "Test.Value", "VALUE": 7, "COMMIT": "true"})",
          R"({"NAME": "Test.Value", "VALUE": null, "COMMIT": 1})"}) {
        scripted::Reset();
        EXPECT_EQ(Request("SET_PARAM", input), DONE) << input;
        EXPECT_EQ(Calls().at(0).value, "") << input;
        EXPECT_FALSE(Calls()[0].commit) << input;
    }
}

TEST_F(SetParamRequest, SetsEveryInstanceOfAWildcardInPlatformNumbering) {
    ReportInstances({1, 5});
    EXPECT_EQ(Request("SET_PARAM", R"({"VALUE": "v", "NAME": "Device.Ethernet.Interface.*.Name"})"), DONE);
    EXPECT_THAT(NamesOf(PLT_REQUEST_SET_PARAM),
                ElementsAre("Device.Ethernet.Interface.1.Name", "Device.Ethernet.Interface.5.Name"));
}

TEST_F(SetParamRequest, StopsAtTheFirstNameThatFails) {
    ReportInstances({1, 2, 3});
    Script(PLT_REQUEST_SET_PARAM, [](tZeltoPlatformRequest& request) {
        return request.indices[0] == 2 ? PLT_FAILURE : PLT_SUCCESS;
    });
    EXPECT_EQ(Request("SET_PARAM", R"({"VALUE": "v", "NAME": "Device.WiFi.SSID.*.SSID"})"), FAILED);
    EXPECT_THAT(NamesOf(PLT_REQUEST_SET_PARAM),
                ElementsAre("Device.WiFi.SSID.1.SSID", "Device.WiFi.SSID.2.SSID"));
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"zeltoPlatLibSetParam(Device.WiFi.SSID.2.SSID, v) failed\""));
}

TEST_F(SetParamRequest, FailsWhenTheTableHasNoInstance) {
    ReportInstances({});
    EXPECT_EQ(Request("SET_PARAM", R"({"VALUE": "v", "NAME": "Device.WiFi.SSID.*.SSID"})"), FAILED);
    EXPECT_THAT(NamesOf(PLT_REQUEST_SET_PARAM), IsEmpty());
}

TEST_F(LongParamRequest, AnswersTheValueAlone) {
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        scripted::AnswerLong(request, std::string(1000, 'l'));
        return PLT_SUCCESS;
    });
    EXPECT_EQ(Request("GET_LONG_PARAM", R"({"NAME": "Test.Value"})"),
              (TAnswer{0, "{\"VALUE\": \"" + std::string(1000, 'l') + "\"}"}));
}

TEST_F(LongParamRequest, AnswersNullForAValueThatIsNotUtf8) {
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        Answer(request, "\xff");
        return PLT_SUCCESS;
    });
    EXPECT_EQ(Request("GET_LONG_PARAM", R"({"NAME": "Test.Value"})"), (TAnswer{0, R"({"VALUE": null})"}));
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"The value of Test.Value is not valid UTF-8\""));
}

TEST_F(LongParamRequest, TranslatesTheName) {
    EXPECT_EQ(Request("GET_LONG_PARAM", R"({"NAME": "Device.Ethernet.Interface.1.Name"})").text,
              R"({"VALUE": "=Device.Ethernet.Interface.5.Name"})");
    EXPECT_EQ(Request("SET_LONG_PARAM", R"({"NAME": "Device.Ethernet.Interface.1.Name"})"), DONE);
    EXPECT_THAT(NamesOf(PLT_REQUEST_SET_PARAM), ElementsAre("Device.Ethernet.Interface.5.Name"));
}

TEST_F(LongParamRequest, DoesNotExpandWildcards) {
    ReportInstances({1});
    EXPECT_EQ(Request("GET_LONG_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID"})"), FAILED);
    EXPECT_EQ(Request("SET_LONG_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID", "VALUE": "v"})"), FAILED);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"zeltoPlatLibGetParam(Device.WiFi.SSID.*.SSID) failed\""));
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"zeltoPlatLibSetParam(Device.WiFi.SSID.*.SSID, v) failed\""));
}

TEST_F(LongParamRequest, HandsOnALongValueWhole) {
    const std::string value(100000, 'v');
    EXPECT_EQ(
        Request("SET_LONG_PARAM", R"({"COMMIT": true, "VALUE": ")" + value + R"(", "NAME": "Test.Value"})"),
        DONE);
    EXPECT_EQ(Calls().at(0).longValue, value);
    EXPECT_TRUE(Calls()[0].commit);
}

TEST_F(GetParamArrayRequest, AnswersAllInTheOrderOfTheElements) {
    ReportInstances({1, 2});
    EXPECT_EQ(Request("GET_PARAM_ARRAY", R"({"PARAMS": [{"NAME": "Test.Value"}, )"
                                         R"({"NAME": "Device.WiFi.SSID.*.SSID"}, {"NAME": "Test.Value"}]})"),
              (TAnswer{0, R"({"PARAMS": [{"NAME": "Test.Value", "VALUE": "=Test.Value"}, )"
                          R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "=Device.WiFi.SSID.1.SSID"}, )"
                          R"({"NAME": "Device.WiFi.SSID.2.SSID", "VALUE": "=Device.WiFi.SSID.2.SSID"}, )"
                          R"({"NAME": "Test.Value", "VALUE": "=Test.Value"}]})"}));
}

TEST_F(GetParamArrayRequest, AnswersAnEmptyArrayForNoElements) {
    for (const char* const input : {R"({"PARAMS": []})", R"({"PARAMS": null})", "{}", R"({"PARAMS": "x"})",
                                    R"({"PARAMS": {"NAME": "Test.Value"}})", "", "[1]"}) {
        EXPECT_EQ(Request("GET_PARAM_ARRAY", input), (TAnswer{0, R"({"PARAMS": []})"})) << input;
    }
}

TEST_F(GetParamArrayRequest, ReadsOddElementsAsEmptyNames) {
    EXPECT_EQ(
        Request("GET_PARAM_ARRAY", R"({"PARAMS": ["Test.Value", null, {}]})").text,
        R"({"PARAMS": [{"NAME": "", "VALUE": "="}, {"NAME": "", "VALUE": "="}, {"NAME": "", "VALUE": "="}]})");
}

TEST_F(GetParamArrayRequest, FailsAsAWholeWhenOneElementFails) {
    EXPECT_EQ(
        Request("GET_PARAM_ARRAY",
                R"({"PARAMS": [{"NAME": "Test.Value"}, {"NAME": "Test.Unknown"}, {"NAME": "Test.Value"}]})"),
        FAILED);
    EXPECT_EQ(Calls().size(), 1U);
    ReportInstances({});
    EXPECT_EQ(Request("GET_PARAM_ARRAY", R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.*.SSID"}]})"), FAILED);
}

TEST_F(SetParamArrayRequest, ReadsTheFlagFromEachElement) {
    EXPECT_EQ(Request("SET_PARAM_ARRAY", R"({"COMMIT": true, "PARAMS": [)"
                                         R"({"VALUE": "a", "NAME": "Test.Value"}, )"
                                         R"({"COMMIT": true, "VALUE": "b", "NAME": "Test.Value"}]})"),
              DONE);
    ASSERT_EQ(Calls().size(), 2U);
    EXPECT_EQ(Calls()[0].value, "a");
    EXPECT_FALSE(Calls()[0].commit);
    EXPECT_EQ(Calls()[1].value, "b");
    EXPECT_TRUE(Calls()[1].commit);
}

TEST_F(SetParamArrayRequest, FailsForNoElements) {
    for (const char* const input : {R"({"PARAMS": []})", R"({"PARAMS": null})", "{}", "", "x"}) {
        LogSpy::Clear();
        EXPECT_EQ(Request("SET_PARAM_ARRAY", input), FAILED) << input;
        EXPECT_TRUE(LogSpy::Contains(ERROR, "\"SET_PARAM_ARRAY request without parameters\"")) << input;
    }
}

TEST_F(SetParamArrayRequest, LeavesEarlierElementsSetWhenALaterOneFails) {
    EXPECT_EQ(Request("SET_PARAM_ARRAY", R"({"PARAMS": [{"VALUE": "a", "NAME": "Test.Value"}, )"
                                         R"({"VALUE": "b", "NAME": "Test.Unknown"}, )"
                                         R"({"VALUE": "c", "NAME": "Test.Value"}]})"),
              FAILED);
    ASSERT_EQ(Calls().size(), 1U);
    EXPECT_EQ(Calls()[0].value, "a");
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"zeltoPlatLibSetParam(Test.Unknown, b) failed\""));
}

TEST_F(SetParamArrayRequest, ExpandsWildcards) {
    ReportInstances({4, 7});
    EXPECT_EQ(
        Request("SET_PARAM_ARRAY", R"({"PARAMS": [{"VALUE": "v", "NAME": "Device.WiFi.SSID.*.SSID"}]})"),
        DONE);
    EXPECT_THAT(NamesOf(PLT_REQUEST_SET_PARAM),
                ElementsAre("Device.WiFi.SSID.4.SSID", "Device.WiFi.SSID.7.SSID"));
}

} // namespace
