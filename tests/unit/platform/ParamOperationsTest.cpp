#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "zelto/ZeltoPlatformNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

using scripted::Answer;
using scripted::AnswerLong;
using scripted::Calls;
using scripted::Script;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int ERROR = 3;
constexpr int DEBUG = 7;
constexpr const char* CHANGE_EVENT = "\"[zeltoPlatformLibSendEvent] Received event DATA_MODEL_CHANGED\n\"";

const std::string LONG_NAME = "Test.Long." + std::string(300, 'n');
const std::string FITTING_NAME = LONG_NAME.substr(0, 255);

class ParamOperations : public testing::Test {
protected:
    static void SetUpTestSuite() {
        using scripted::Entry;
        scripted::Install({
            Entry("Test.Plain", {PLT_REQUEST_GET_PARAM, PLT_REQUEST_SET_PARAM}, false, "plain handlers"),
            Entry("Test.Watched.{i}.Value", {PLT_REQUEST_SET_PARAM}, true),
            Entry("Test.ReadOnly", {PLT_REQUEST_GET_PARAM}),
            Entry("Test.Deep.{i}.Table.{i}.Value", {PLT_REQUEST_GET_PARAM}),
            Entry("Test.Deep.{i}.Table.{i}.Values", {PLT_REQUEST_GET_PARAM}, false, "other handlers"),
            Entry("Test.Deep.{i}.Table", {PLT_REQUEST_GET_PARAM}, false, "short name"),
            Entry("Device.Ethernet.Interface.{i}.Enable", {PLT_REQUEST_GET_PARAM, PLT_REQUEST_SET_PARAM},
                  true),
            Entry("Test.Device.Ethernet.Interface.{i}.Enable", {PLT_REQUEST_GET_PARAM}),
            Entry("Test.Room-7.Value", {PLT_REQUEST_GET_PARAM}),
            Entry(LONG_NAME.c_str(), {PLT_REQUEST_GET_PARAM}),
            Entry(FITTING_NAME.c_str(), {PLT_REQUEST_GET_PARAM}),
        });
    }
    void SetUp() override {
        scripted::Reset();
        LogSpy::Clear();
    }

    int Get(const std::string& name, bool fromWildcard = false) {
        return zeltoPlatLibGetParam(name, value, fromWildcard);
    }

    std::string value = "untouched";
};

class GetParam : public ParamOperations {};
class SetParam : public ParamOperations {};

TEST_F(GetParam, HandsTheHandlerARecordThatIsZeroButForTheName) {
    bool restIsZero = false;
    Script(PLT_REQUEST_GET_PARAM, [&restIsZero](tZeltoPlatformRequest& request) {
        tZeltoPlatformRequest expected{};
        std::strcpy(expected.name, "plain handlers");
        std::strcpy(expected.paramName, "Test.Plain");
        restIsZero = std::memcmp(expected.name, request.name, sizeof(request.name)) == 0 &&
                     std::memcmp(expected.paramName, request.paramName, sizeof(request.paramName)) == 0 &&
                     std::all_of(std::begin(request.value), std::end(request.value),
                                 [](char byte) { return byte == 0; }) &&
                     request.indexCount == 0 && request.indices == nullptr && request.longValue == nullptr &&
                     !request.commit;
        return PLT_SUCCESS;
    });
    EXPECT_EQ(Get("Test.Plain"), 0);
    EXPECT_TRUE(restIsZero);
    EXPECT_EQ(value, "");
}

TEST_F(GetParam, LogsItsSteps) {
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        Answer(request, "42");
        return PLT_SUCCESS;
    });
    ASSERT_EQ(Get("Test.Plain"), 0);
    const auto messages = LogSpy::Messages();
    ASSERT_EQ(messages.size(), 5U);
    EXPECT_EQ(messages.front().text, "\"Received GetParam request for Test.Plain\"");
    EXPECT_EQ(messages.back().text, "\"Response Value: 42\"");
    EXPECT_EQ(LogSpy::Count(DEBUG), 5U);
}

TEST_F(GetParam, TellsNamesApartThatBeginLikeTheOneBefore) {
    for (const char* name : {"Test.Deep.1.Table.2.Value", "Test.Deep.3.Table.4.Values", "Test.Deep.5.Table",
                             "Test.Deep.6.Table.7.Value", "Test.Deep.8.Table.9.Value"}) {
        EXPECT_EQ(Get(name), 0) << name;
    }
    for (const char* name : {"Test.Deep.1.Table.x.Value", "Test.Deep.1.Table.2.Valu", "Test.Deep.1.Table.2.",
                             "Test.Deep.1.Table.2.Value.", "est.Deep.1.Table.2.Value", ""}) {
        EXPECT_EQ(Get(name), -1) << name;
    }
    std::vector<std::string> handlers;
    std::transform(Calls().begin(), Calls().end(), std::back_inserter(handlers),
                   [](const scripted::TCall& call) { return call.handlerName; });
    EXPECT_THAT(handlers, ElementsAre("scripted", "other handlers", "short name", "scripted", "scripted"));
}

TEST_F(GetParam, EndsTheNameAtItsFirstNul) {
    using namespace std::string_literals;
    ASSERT_EQ(Get("Test.Deep.1.Table.2.Value\0.3.Value"s), 0);
    EXPECT_EQ(Calls().at(0).paramName, "Test.Deep.1.Table.2.Value");
    EXPECT_THAT(Calls().at(0).indices, ElementsAre(1, 2));
}

TEST_F(GetParam, TranslatesTheNameForTheHandler) {
    ASSERT_EQ(Get("Device.Ethernet.Interface.1.Enable"), 0);
    ASSERT_EQ(Calls().size(), 1U);
    EXPECT_EQ(Calls()[0].paramName, "Device.Ethernet.Interface.5.Enable");
    EXPECT_THAT(Calls()[0].indices, ElementsAre(5));
    EXPECT_TRUE(LogSpy::Contains(
        DEBUG, "\"Descriptor found for Request name Device.Ethernet.Interface.{i}.Enable\""));
}

TEST_F(GetParam, TranslatesBelowARootInTheMiddleOfTheName) {
    ASSERT_EQ(Get("Test.Device.Ethernet.Interface.1.Enable"), 0);
    EXPECT_EQ(Calls().at(0).paramName, "Test.Device.Ethernet.Interface.5.Enable");
}

TEST_F(GetParam, TranslatesBelowARootThatEndsWithoutASeparator) {
    rootVector.emplace_back("Test.Room-");
    DataModelRequestIndexMap["Test.Room-1"] = "Test.Room-7";
    EXPECT_EQ(Get("Test.Room-1.Value"), 0);
    DataModelRequestIndexMap.erase("Test.Room-1");
    rootVector.pop_back();
    ASSERT_EQ(Calls().size(), 1U);
    EXPECT_EQ(Calls()[0].paramName, "Test.Room-7.Value");
}

TEST_F(GetParam, HandsOnANumberWithoutAPairAsItIs) {
    ASSERT_EQ(Get("Device.Ethernet.Interface.6.Enable"), 0);
    EXPECT_EQ(Calls().at(0).paramName, "Device.Ethernet.Interface.6.Enable");
}

TEST_F(GetParam, DoesNotTranslateAMarkedName) {
    ASSERT_EQ(Get("@Device.Ethernet.Interface.1.Enable"), 0);
    EXPECT_EQ(Calls().at(0).paramName, "Device.Ethernet.Interface.1.Enable");
    EXPECT_THAT(Calls()[0].indices, ElementsAre(1));
}

TEST_F(GetParam, DoesNotTranslateANameFromAWildcard) {
    ASSERT_EQ(Get("Device.Ethernet.Interface.1.Enable", true), 0);
    EXPECT_EQ(Calls().at(0).paramName, "Device.Ethernet.Interface.1.Enable");
}

TEST_F(GetParam, GivesTheIndicesOfAllLevelsOuterFirst) {
    ASSERT_EQ(Get("Test.Deep.30.Table.007.Value"), 0);
    EXPECT_THAT(Calls().at(0).indices, ElementsAre(30, 7));
}

TEST_F(GetParam, TranslatesAValueThatRefersToAnObjectBack) {
    const struct {
        const char* name;
        bool fromWildcard;
        const char* value;
        const char* answer;
    } rows[] = {
        {"Test.Plain", false, "Device.Ethernet.Interface.5", "Device.Ethernet.Interface.1"},
        {"Test.Plain", true, "Device.Ethernet.Interface.5.", "Device.Ethernet.Interface.1."},
        {"@Test.Plain", false, "Device.Ethernet.Interface.5", "Device.Ethernet.Interface.5"},
        {"Test.Plain", false, "see Device.Ethernet.Interface.5", "see Device.Ethernet.Interface.5"},
        {"Test.Plain", false, "Device", "Device"},
        {"Test.Plain", false, "Device.Ethernet.Interface.9", "Device.Ethernet.Interface.9"},
        // a number in a value is a text, however large
        {"Test.Plain", false, "Device.Ethernet.Interface.99999999999",
         "Device.Ethernet.Interface.99999999999"},
    };
    for (const auto& row : rows) {
        Script(PLT_REQUEST_GET_PARAM, [&row](tZeltoPlatformRequest& request) {
            Answer(request, row.value);
            return PLT_SUCCESS;
        });
        EXPECT_EQ(Get(row.name, row.fromWildcard), 0);
        EXPECT_EQ(value, row.answer) << row.name << " " << row.value;
    }
}

TEST_F(GetParam, PrefersTheLongValueAndFreesIt) {
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        Answer(request, "short");
        AnswerLong(request, std::string(5000, 'l'));
        return PLT_SUCCESS;
    });
    ASSERT_EQ(Get("Test.Plain"), 0);
    EXPECT_EQ(value, std::string(5000, 'l'));
}

TEST_F(GetParam, TakesAnEmptyLongValueForTheValue) {
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        Answer(request, "short");
        AnswerLong(request, "");
        return PLT_SUCCESS;
    });
    ASSERT_EQ(Get("Test.Plain"), 0);
    EXPECT_EQ(value, "");
}

// The leak checker sees whether the long value went.
TEST_F(GetParam, FreesTheLongValueOfAHandlerThatFails) {
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        AnswerLong(request, "long");
        return PLT_FAILURE;
    });
    EXPECT_EQ(Get("Test.Plain"), -1);
    EXPECT_EQ(value, "untouched");
}

TEST_F(GetParam, ReadsAnUnterminatedValueToTheEndOfItsField) {
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) {
        std::memset(request.value, 'v', sizeof(request.value));
        return PLT_SUCCESS;
    });
    ASSERT_EQ(Get("Test.Plain"), 0);
    EXPECT_EQ(value, std::string(256, 'v'));
}

TEST_F(GetParam, LogsTheNameOfTheHandlersCode) {
    const struct {
        int code;
        const char* name;
    } rows[] = {
        {1, "PLT_FAILURE"},
        {2, "PLT_INTERNAL_ERROR"},
        {3, "PLT_INVALID_ARGUMENT"},
        {4, "PLT_INVALID_PARAM_NAME"},
        {5, "PLT_INVALID_PARAM_VALUE"},
        {6, "PLT_NONWRITABLE"},
        {7, "PLT_NOT_FOUND"},
        {8, "PLT_NOT_SUPPORTED"},
        {9, "PLT_RESOURCES_EXCEEDED"},
        {10, "PLT_RETRY_REQUEST"},
        {11, "PLT_TIMEOUT"},
        {12, "PLT_UNKNOWN"},
        {-1, "PLT_UNKNOWN"},
    };
    for (const auto& row : rows) {
        LogSpy::Clear();
        Script(PLT_REQUEST_GET_PARAM, [&row](tZeltoPlatformRequest&) { return row.code; });
        EXPECT_EQ(Get("@Test.Plain"), -1);
        EXPECT_TRUE(LogSpy::Contains(
            ERROR, std::string("\"Request GetParam(@Test.Plain) failed with error - '") + row.name + "'\""))
            << row.name;
    }
    EXPECT_EQ(value, "untouched");
}

TEST_F(GetParam, FailsForANameThatNobodyServes) {
    EXPECT_EQ(Get("Test.Unknown"), -1);
    EXPECT_EQ(Get(""), -1);
    EXPECT_EQ(Get("@"), -1);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(value, "untouched");
}

TEST_F(GetParam, RefusesAnInstanceNumberThatIsTooLarge) {
    const std::string name = "Test.Deep.999999999999999999999999999999.Table.1.Value";
    EXPECT_EQ(Get(name), -1);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"An instance number in " + name + " is too large\""));
}

TEST_F(GetParam, CutsALongNameInTheRecordOnly) {
    ASSERT_EQ(Get(LONG_NAME), 0);
    EXPECT_EQ(Calls().at(0).paramName, LONG_NAME.substr(0, 255));
    EXPECT_EQ(LogSpy::Count(ERROR, "\"The name " + LONG_NAME.substr(0, 255) + "... is cut to 255 bytes\""),
              1U);
    EXPECT_EQ(LogSpy::Count(ERROR), 1U);
}

TEST_F(GetParam, HandsOnANameThatJustFits) {
    ASSERT_EQ(Get(FITTING_NAME), 0);
    EXPECT_EQ(Calls().at(0).paramName, FITTING_NAME);
    EXPECT_EQ(LogSpy::Count(ERROR), 0U);
}

TEST_F(GetParam, LetsAHandlersExceptionPass) {
    Script(PLT_REQUEST_GET_PARAM, [](tZeltoPlatformRequest& request) -> int32_t {
        AnswerLong(request, "freed all the same");
        throw std::runtime_error("handler");
    });
    EXPECT_THROW(Get("Test.Plain"), std::runtime_error);
    EXPECT_EQ(value, "untouched");
}

TEST_F(SetParam, HandsOverTheValueInBothFields) {
    EXPECT_EQ(zeltoPlatLibSetParam("Test.Plain", "on", true, false), 0);
    ASSERT_EQ(Calls().size(), 1U);
    EXPECT_EQ(Calls()[0].handlerName, "plain handlers");
    EXPECT_EQ(Calls()[0].paramName, "Test.Plain");
    EXPECT_EQ(Calls()[0].value, "on");
    EXPECT_EQ(Calls()[0].longValue, "on");
    EXPECT_TRUE(Calls()[0].commit);
    EXPECT_FALSE(Calls()[0].hasIndices);
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Received SetParam request for Test.Plain to be set to on\""));
}

TEST_F(SetParam, LeavesTheShortFieldEmptyForAValueThatDoesNotFit) {
    for (const std::size_t length : {0U, 255U, 256U, 300U, 1U << 20U}) {
        scripted::Reset();
        const std::string text(length, 'v');
        EXPECT_EQ(zeltoPlatLibSetParam("Test.Plain", text, false, false), 0);
        EXPECT_EQ(Calls().at(0).value, length < 256 ? text : "") << length;
        EXPECT_TRUE(Calls()[0].hasLongValue);
        EXPECT_EQ(Calls()[0].longValue, text) << length;
        EXPECT_FALSE(Calls()[0].commit);
    }
}

// As strtok does.
TEST_F(SetParam, LetsAHandlerTakeTheValueApart) {
    Script(PLT_REQUEST_SET_PARAM, [](tZeltoPlatformRequest& request) {
        std::memset(request.longValue, '\0', std::strlen(request.longValue));
        return PLT_FAILURE;
    });
    for (const std::size_t length : {6U, 300U}) {
        const std::string text(length, 'v');
        const std::string same(length, 'v');
        EXPECT_EQ(zeltoPlatLibSetParam("Test.Plain", text, false, false), -1);
        EXPECT_EQ(text, same);
        EXPECT_TRUE(LogSpy::Contains(ERROR, "\"Request SetParam(Test.Plain, " + same +
                                                ") failed with error - 'PLT_FAILURE'\""));
    }
}

TEST_F(SetParam, TranslatesTheNameUnlessMarkedOrFromAWildcard) {
    EXPECT_EQ(zeltoPlatLibSetParam("Device.Ethernet.Interface.1.Enable", "1", false, false), 0);
    EXPECT_EQ(zeltoPlatLibSetParam("@Device.Ethernet.Interface.1.Enable", "1", false, false), 0);
    EXPECT_EQ(zeltoPlatLibSetParam("Device.Ethernet.Interface.1.Enable", "1", false, true), 0);
    ASSERT_EQ(Calls().size(), 3U);
    EXPECT_THAT(Calls()[0].indices, ElementsAre(5));
    EXPECT_THAT(Calls()[1].indices, ElementsAre(1));
    EXPECT_THAT(Calls()[2].indices, ElementsAre(1));
}

TEST_F(SetParam, DoesNotTranslateTheValue) {
    EXPECT_EQ(zeltoPlatLibSetParam("Test.Plain", "Device.Ethernet.Interface.1", false, false), 0);
    EXPECT_EQ(Calls().at(0).value, "Device.Ethernet.Interface.1");
}

TEST_F(SetParam, LogsTheNameOfTheHandlersCode) {
    Script(PLT_REQUEST_SET_PARAM, [](tZeltoPlatformRequest&) { return PLT_NONWRITABLE; });
    EXPECT_EQ(zeltoPlatLibSetParam("Test.Watched.1.Value", "on", false, false), -1);
    EXPECT_TRUE(LogSpy::Contains(
        ERROR, "\"Request SetParam(Test.Watched.1.Value, on) failed with error - 'PLT_NONWRITABLE'\""));
    EXPECT_FALSE(LogSpy::Contains(DEBUG, CHANGE_EVENT));
}

TEST_F(SetParam, LogsItsNameAsTheCallerPassedIt) {
    Script(PLT_REQUEST_SET_PARAM, [](tZeltoPlatformRequest&) { return 99; });
    for (const char* const name :
         {"Device.Ethernet.Interface.1.Enable", "@Device.Ethernet.Interface.1.Enable"}) {
        EXPECT_EQ(zeltoPlatLibSetParam(name, "on", false, false), -1);
        EXPECT_TRUE(LogSpy::Contains(DEBUG, std::string("\"Received SetParam request for ") + name +
                                                " to be set to on\""));
        EXPECT_TRUE(LogSpy::Contains(ERROR, std::string("\"Request SetParam(") + name +
                                                ", on) failed with error - 'PLT_UNKNOWN'\""));
    }
}

TEST_F(SetParam, FailsForANameThatNobodyServes) {
    EXPECT_EQ(zeltoPlatLibSetParam("Test.ReadOnly", "1", false, false), -1);
    EXPECT_EQ(zeltoPlatLibSetParam("Test.Unknown", "1", false, false), -1);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SetParam, RefusesAnInstanceNumberThatIsTooLarge) {
    EXPECT_EQ(zeltoPlatLibSetParam("Test.Watched.2147483648.Value", "1", false, false), -1);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(
        LogSpy::Contains(ERROR, "\"An instance number in Test.Watched.2147483648.Value is too large\""));
}

TEST_F(SetParam, SendsAChangeEventOnlyWhereTheEntryAsksForIt) {
    EXPECT_EQ(zeltoPlatLibSetParam("Test.Plain", "1", false, false), 0);
    EXPECT_FALSE(LogSpy::Contains(DEBUG, CHANGE_EVENT));
    EXPECT_EQ(zeltoPlatLibSetParam("Test.Watched.1.Value", "1", false, false), 0);
    EXPECT_EQ(LogSpy::Count(DEBUG, CHANGE_EVENT), 1U);
}

TEST_F(SetParam, SucceedsAlthoughItsChangeEventCannotBeSent) {
    EXPECT_EQ(zeltoPlatLibSetParam("Test.Watched.1.Value", "1", false, false), 0);
    EXPECT_GE(LogSpy::Count(ERROR), 1U); // there is no bus here
}

} // namespace
