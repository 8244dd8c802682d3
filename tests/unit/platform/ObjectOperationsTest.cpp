#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "utils/FixedText.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace {

using scripted::Calls;
using scripted::ScriptObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr int ERROR = 3;
constexpr int DEBUG = 7;
const std::string LONG_ROOT = "Test." + std::string(300, 'r') + ".";
constexpr const char* CHANGE_EVENT = "\"[zeltoPlatformLibSendEvent] Received event DATA_MODEL_CHANGED\n\"";

// Answers each element with a text that contains its name as the handler saw it.
int32_t EchoNames(tZeltoPlatformObjectRequest& request) {
    for (int32_t i = 0; i < request.paramCount; ++i) {
        zelto::CopyTerminated(request.params[i].value, std::string("=") + request.params[i].paramName);
    }
    return PLT_SUCCESS;
}

class ObjectOperations : public testing::Test {
protected:
    static void SetUpTestSuite() {
        using scripted::Entry;
        scripted::Install({
            Entry("Test.Object.", {PLT_REQUEST_GET_OBJECT, PLT_REQUEST_SET_OBJECT}, false, "object handlers"),
            Entry("Device.Ethernet.Interface.{i}.", {PLT_REQUEST_GET_OBJECT, PLT_REQUEST_SET_OBJECT}),
            Entry("Device.Ethernet.Interface.{i}.Enable", {PLT_REQUEST_SET_PARAM}, true),
            Entry("Device.Ethernet.Interface.{i}.Name", {PLT_REQUEST_SET_PARAM}, false),
            Entry(LONG_ROOT.c_str(), {PLT_REQUEST_SET_OBJECT}),
        });
    }
    void SetUp() override {
        scripted::Reset();
        LogSpy::Clear();
    }

    std::vector<std::pair<std::string, std::string>> result;
};

class GetObject : public ObjectOperations {};
class SetObject : public ObjectOperations {};

TEST_F(GetObject, HandsOverRootAndElementsInPlatformNumbering) {
    ASSERT_EQ(zeltoPlatLibGetObject("Device.Ethernet.Interface.1.",
                                    {{"Device.Ethernet.Interface.1.Enable", "", false},
                                     {"Device.Ethernet.Interface.1.Enable", "", true},
                                     {"@Device.Ethernet.Interface.1.Enable", "", false},
                                     {"Relative", "", false}},
                                    result),
              0);
    const scripted::TCall& call = Calls().at(0);
    EXPECT_EQ(call.type, PLT_REQUEST_GET_OBJECT);
    EXPECT_EQ(call.handlerName, "scripted");
    EXPECT_EQ(call.paramName, "Device.Ethernet.Interface.5.");
    EXPECT_THAT(call.indices, ElementsAre(5));
    ASSERT_EQ(call.elements.size(), 4U);
    EXPECT_EQ(call.elements[0].paramName, "Device.Ethernet.Interface.5.Enable");
    EXPECT_THAT(call.elements[0].indices, ElementsAre(5));
    EXPECT_EQ(call.elements[1].paramName, "Device.Ethernet.Interface.1.Enable");
    EXPECT_THAT(call.elements[1].indices, ElementsAre(1));
    EXPECT_EQ(call.elements[2].paramName, "Device.Ethernet.Interface.1.Enable");
    EXPECT_EQ(call.elements[3].paramName, "Relative");
    EXPECT_THAT(call.elements[3].indices, IsEmpty());
    EXPECT_EQ(call.elements[0].value, "");
}

TEST_F(GetObject, AnswersInApplicationNumbering) {
    ScriptObject(PLT_REQUEST_GET_OBJECT, EchoNames);
    result.emplace_back("earlier", "pair");
    ASSERT_EQ(zeltoPlatLibGetObject("Test.Object.",
                                    {{"Device.Ethernet.Interface.1.Enable", "", false},
                                     {"Device.Ethernet.Interface.5.Enable", "", true},
                                     {"@Device.Ethernet.Interface.5.Enable", "", false},
                                     {"Relative", "", false}},
                                    result),
              0);
    EXPECT_THAT(
        result,
        ElementsAre(Pair("earlier", "pair"),
                    Pair("Device.Ethernet.Interface.1.Enable", "=Device.Ethernet.Interface.5.Enable"),
                    Pair("Device.Ethernet.Interface.1.Enable", "=Device.Ethernet.Interface.5.Enable"),
                    Pair("@Device.Ethernet.Interface.5.Enable", "=Device.Ethernet.Interface.5.Enable"),
                    Pair("Relative", "=Relative")));
}

TEST_F(GetObject, HandsOnNoValueOfTheCaller) {
    ASSERT_EQ(zeltoPlatLibGetObject("Test.Object.", {{"A", "from the caller", false}}, result), 0);
    EXPECT_EQ(Calls().at(0).elements.at(0).value, "");
    EXPECT_THAT(result, ElementsAre(Pair("A", "")));
}

TEST_F(GetObject, TranslatesNothingUnderAMarkedRoot) {
    ScriptObject(PLT_REQUEST_GET_OBJECT, [](tZeltoPlatformObjectRequest& request) {
        for (int32_t i = 0; i < request.paramCount; ++i) {
            zelto::CopyTerminated(request.params[i].value, "Device.Ethernet.Interface.5");
        }
        return PLT_SUCCESS;
    });
    ASSERT_EQ(zeltoPlatLibGetObject("@Device.Ethernet.Interface.1.",
                                    {{"Device.Ethernet.Interface.1.Enable", "", false},
                                     {"Device.Ethernet.Interface.5.Enable", "", true}},
                                    result),
              0);
    EXPECT_EQ(Calls().at(0).paramName, "Device.Ethernet.Interface.1.");
    EXPECT_EQ(Calls()[0].elements.at(0).paramName, "Device.Ethernet.Interface.1.Enable");
    EXPECT_THAT(result,
                ElementsAre(Pair("Device.Ethernet.Interface.1.Enable", "Device.Ethernet.Interface.5"),
                            Pair("Device.Ethernet.Interface.5.Enable", "Device.Ethernet.Interface.5")));
}

TEST_F(GetObject, TranslatesValuesThatReferToObjectsBackUnlessTheElementIsMarked) {
    ScriptObject(PLT_REQUEST_GET_OBJECT, [](tZeltoPlatformObjectRequest& request) {
        for (int32_t i = 0; i < request.paramCount; ++i) {
            zelto::CopyTerminated(request.params[i].value, "Device.Ethernet.Interface.5.");
        }
        return PLT_SUCCESS;
    });
    ASSERT_EQ(
        zeltoPlatLibGetObject("Test.Object.", {{"A", "", false}, {"B", "", true}, {"@C", "", false}}, result),
        0);
    EXPECT_THAT(result, ElementsAre(Pair("A", "Device.Ethernet.Interface.1."),
                                    Pair("B", "Device.Ethernet.Interface.1."),
                                    Pair("@C", "Device.Ethernet.Interface.5.")));
}

TEST_F(GetObject, ReadsAnUnterminatedValueToTheEndOfItsField) {
    ScriptObject(PLT_REQUEST_GET_OBJECT, [](tZeltoPlatformObjectRequest& request) {
        std::memset(request.params[0].value, 'v', sizeof(request.params[0].value));
        return PLT_SUCCESS;
    });
    ASSERT_EQ(zeltoPlatLibGetObject("Test.Object.", {{"A", "", false}}, result), 0);
    EXPECT_EQ(result.at(0).second, std::string(256, 'v'));
}

TEST_F(GetObject, CallsTheHandlerForNoElementsToo) {
    EXPECT_EQ(zeltoPlatLibGetObject("Test.Object.", {}, result), 0);
    EXPECT_THAT(result, IsEmpty());
    EXPECT_EQ(Calls().size(), 1U);
}

TEST_F(GetObject, LogsTheNameOfTheHandlersCodeAndAppendsNothing) {
    ScriptObject(PLT_REQUEST_GET_OBJECT, [](tZeltoPlatformObjectRequest&) { return PLT_INTERNAL_ERROR; });
    EXPECT_EQ(zeltoPlatLibGetObject("@Test.Object.", {{"A", "", false}}, result), -1);
    EXPECT_THAT(result, IsEmpty());
    EXPECT_TRUE(LogSpy::Contains(
        ERROR, "\"Request GetObject(@Test.Object.) failed with error - 'PLT_INTERNAL_ERROR'\""));
}

TEST_F(GetObject, LogsARootThatNobodyServes) {
    EXPECT_EQ(zeltoPlatLibGetObject("Test.Unknown.", {}, result), -1);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"Test.Unknown. descriptor not found!\""));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetObject, RefusesAnInstanceNumberThatIsTooLargeInRootOrElement) {
    EXPECT_EQ(zeltoPlatLibGetObject("Device.Ethernet.Interface.9999999999.", {}, result), -1);
    EXPECT_TRUE(LogSpy::Contains(
        ERROR, "\"An instance number in Device.Ethernet.Interface.9999999999. is too large\""));
    EXPECT_EQ(zeltoPlatLibGetObject("Test.Object.", {{"A.9999999999.B", "", false}}, result), -1);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"An instance number in A.9999999999.B is too large\""));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetObject, RefusesANullRoot) {
    EXPECT_EQ(zeltoPlatLibGetObject(nullptr, {}, result), -1);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"Object request without a root\""));
}

TEST_F(GetObject, LetsAHandlersExceptionPass) {
    ScriptObject(PLT_REQUEST_GET_OBJECT,
                 [](tZeltoPlatformObjectRequest&) -> int32_t { throw std::runtime_error("handler"); });
    EXPECT_THROW(zeltoPlatLibGetObject("Test.Object.", {{"A.1.B", "", false}}, result), std::runtime_error);
}

TEST_F(SetObject, HandsOverTheValuesCutToTheirFields) {
    EXPECT_EQ(zeltoPlatLibSetObject("Test.Object.",
                                    {{"A", "one", false}, {"B.2.C", std::string(300, 'v'), false}}, true),
              0);
    const scripted::TCall& call = Calls().at(0);
    EXPECT_EQ(call.type, PLT_REQUEST_SET_OBJECT);
    EXPECT_EQ(call.handlerName, "object handlers");
    EXPECT_FALSE(call.hasIndices);
    ASSERT_EQ(call.elements.size(), 2U);
    EXPECT_EQ(call.elements[0].value, "one");
    EXPECT_EQ(call.elements[1].value, std::string(255, 'v'));
    EXPECT_THAT(call.elements[1].indices, ElementsAre(2));
    EXPECT_EQ(LogSpy::Count(ERROR, "\"The value of B.2.C is cut to 255 bytes\""), 1U);
    EXPECT_EQ(LogSpy::Count(ERROR), 1U);
}

TEST_F(SetObject, LogsNoCutOfTextsThatJustFit) {
    const std::string longest(255, 'x');
    EXPECT_EQ(zeltoPlatLibSetObject("Test.Object.", {{longest, longest, false}}, true), 0);
    EXPECT_EQ(Calls().at(0).elements.at(0).paramName, longest);
    EXPECT_EQ(Calls().at(0).elements.at(0).value, longest);
    EXPECT_EQ(LogSpy::Count(ERROR), 0U);
}

TEST_F(SetObject, CutsNamesAndValuesAtTheLastWholeCharacter) {
    const std::string begin(254, 'n');
    EXPECT_EQ(zeltoPlatLibSetObject("Test.Object.", {{begin + "\xc3\xa9", begin + "\xc3\xa9", false}}, true),
              0);
    EXPECT_EQ(Calls().at(0).elements.at(0).paramName, begin);
    EXPECT_EQ(Calls().at(0).elements.at(0).value, begin);
    EXPECT_EQ(LogSpy::Count(ERROR, "\"The name of " + begin + " is cut to 255 bytes\""), 1U);
}

TEST_F(SetObject, LogsTheFirstTextOfARequestThatIsCut) {
    const std::string tooLong(256, 'v');
    EXPECT_EQ(zeltoPlatLibSetObject("Test.Object.",
                                    {{"A", "fits", false}, {"B", tooLong, false}, {tooLong, tooLong, false}},
                                    true),
              0);
    EXPECT_EQ(LogSpy::Count(ERROR, "\"The value of B is cut to 255 bytes\""), 1U);
    EXPECT_EQ(LogSpy::Count(ERROR), 1U);
}

TEST_F(SetObject, CutsALongRootInTheRecordOnly) {
    EXPECT_EQ(zeltoPlatLibSetObject(LONG_ROOT.c_str(), {}, true), 0);
    EXPECT_EQ(Calls().at(0).paramName, LONG_ROOT.substr(0, 255));
    EXPECT_EQ(LogSpy::Count(ERROR, "\"The name " + LONG_ROOT.substr(0, 255) + "... is cut to 255 bytes\""),
              1U);
}

TEST_F(SetObject, TranslatesNamesAsAGetDoes) {
    EXPECT_EQ(zeltoPlatLibSetObject("Device.Ethernet.Interface.1.",
                                    {{"Device.Ethernet.Interface.1.Name", "a", false},
                                     {"Device.Ethernet.Interface.1.Name", "a", true}},
                                    false),
              0);
    EXPECT_EQ(zeltoPlatLibSetObject("@Device.Ethernet.Interface.1.",
                                    {{"Device.Ethernet.Interface.1.Name", "a", false}}, false),
              0);
    ASSERT_EQ(Calls().size(), 2U);
    EXPECT_EQ(Calls()[0].paramName, "Device.Ethernet.Interface.5.");
    EXPECT_EQ(Calls()[0].elements.at(0).paramName, "Device.Ethernet.Interface.5.Name");
    EXPECT_EQ(Calls()[0].elements.at(1).paramName, "Device.Ethernet.Interface.1.Name");
    EXPECT_EQ(Calls()[1].paramName, "Device.Ethernet.Interface.1.");
    EXPECT_EQ(Calls()[1].elements.at(0).paramName, "Device.Ethernet.Interface.1.Name");
}

TEST_F(SetObject, SendsAChangeEventForEachElementWhoseEntryAsksForIt) {
    EXPECT_EQ(zeltoPlatLibSetObject("Device.Ethernet.Interface.1.",
                                    {{"Device.Ethernet.Interface.1.Enable", "1", false},
                                     {"Device.Ethernet.Interface.1.Name", "lan", false},
                                     {"Device.Ethernet.Interface.1.Other", "x", false},
                                     {"Device.Ethernet.Interface.2.Enable", "0", false}},
                                    false),
              0);
    EXPECT_EQ(LogSpy::Count(DEBUG, CHANGE_EVENT), 2U);
    EXPECT_EQ(LogSpy::CountPart(DEBUG, "Param Change Event is not set for "), 1U);
    EXPECT_TRUE(
        LogSpy::Contains(DEBUG, "\"Param Change Event is not set for Device.Ethernet.Interface.5.Name!\""));
}

TEST_F(SetObject, SendsNoEventsForNoElements) {
    EXPECT_EQ(zeltoPlatLibSetObject("Test.Object.", {}, false), 0);
    EXPECT_EQ(Calls().size(), 1U);
    EXPECT_FALSE(LogSpy::Contains(DEBUG, CHANGE_EVENT));
}

TEST_F(SetObject, LogsTheNameOfTheHandlersCodeAndSendsNoEvents) {
    ScriptObject(PLT_REQUEST_SET_OBJECT,
                 [](tZeltoPlatformObjectRequest&) { return PLT_INVALID_PARAM_VALUE; });
    EXPECT_EQ(zeltoPlatLibSetObject("Device.Ethernet.Interface.1.",
                                    {{"Device.Ethernet.Interface.1.Enable", "1", false}}, false),
              -1);
    EXPECT_TRUE(LogSpy::Contains(ERROR,
                                 "\"Request SetObject(Device.Ethernet.Interface.1.) failed with error - "
                                 "'PLT_INVALID_PARAM_VALUE'\""));
    EXPECT_FALSE(LogSpy::Contains(DEBUG, CHANGE_EVENT));
}

TEST_F(SetObject, LogsARootThatNobodyServes) {
    EXPECT_EQ(zeltoPlatLibSetObject("@Test.Unknown.", {{"A", "1", false}}, false), -1);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"@Test.Unknown. descriptor not found!\""));
}

} // namespace
