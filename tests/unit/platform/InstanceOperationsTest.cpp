#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <numeric>
#include <vector>

namespace {

using scripted::AnswerNumbers;
using scripted::Calls;
using scripted::Script;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int ERROR = 3;
constexpr int DEBUG = 7;

class InstanceOperations : public testing::Test {
protected:
    static void SetUpTestSuite() {
        scripted::Install({scripted::FullEntry("Test.Table."), scripted::FullEntry("Test.Table.{i}.Sub."),
                           scripted::FullEntry("Test.Table.{i}."),
                           scripted::FullEntry("Device.Ethernet.Interface.{i}.")});
    }
    void SetUp() override {
        scripted::Reset();
        LogSpy::Clear();
    }
    ~InstanceOperations() override { std::free(ids); }

    int GetIds(const char* obj) { return zeltoPlatLibGetObjectIds(obj, &count, &ids); }

    int count = -5;
    int* ids = nullptr;
};

class AddObjectInstance : public InstanceOperations {};
class DelObjectInstance : public InstanceOperations {};
class GetObjectIds : public InstanceOperations {};

TEST_F(AddObjectInstance, GivesTheNumberThatTheHandlerLeft) {
    Script(PLT_REQUEST_ADD_OBJECT, [](tZeltoPlatformRequest& request) {
        AnswerNumbers(request, {123456});
        return PLT_SUCCESS;
    });
    int id = 0;
    EXPECT_EQ(zeltoPlatLibAddObjectInstance("Test.Table.3.Sub.", &id), 0);
    EXPECT_EQ(id, 123456);
    EXPECT_EQ(Calls().at(0).handlerName, "scripted");
    EXPECT_EQ(Calls()[0].paramName, "Test.Table.3.Sub.");
    EXPECT_THAT(Calls()[0].indices, ElementsAre(3));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Received AddObject request for Root: Test.Table.3.Sub.\""));
}

TEST_F(AddObjectInstance, LeavesTheIdWhenTheHandlerFails) {
    Script(PLT_REQUEST_ADD_OBJECT, [](tZeltoPlatformRequest& request) {
        AnswerNumbers(request, {9});
        return PLT_RESOURCES_EXCEEDED;
    });
    int id = 77;
    EXPECT_EQ(zeltoPlatLibAddObjectInstance("Test.Table.", &id), -1);
    EXPECT_EQ(id, 77);
    EXPECT_TRUE(LogSpy::Contains(
        ERROR, "\"Request AddObject(Test.Table.) failed with error - 'PLT_RESOURCES_EXCEEDED'\""));
}

TEST_F(AddObjectInstance, WorksOnTheNameAsItIs) {
    int id = 0;
    EXPECT_EQ(zeltoPlatLibAddObjectInstance("Device.Ethernet.Interface.1.", &id), 0);
    EXPECT_EQ(Calls().at(0).paramName, "Device.Ethernet.Interface.1.");
    // The mark is not known here and so belongs to the name.
    EXPECT_EQ(zeltoPlatLibAddObjectInstance("@Test.Table.", &id), -1);
    EXPECT_EQ(Calls().size(), 1U);
}

TEST_F(AddObjectInstance, RefusesAnInstanceNumberThatIsTooLarge) {
    int id = 77;
    EXPECT_EQ(zeltoPlatLibAddObjectInstance("Test.Table.4294967297.Sub.", &id), -1);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"An instance number in Test.Table.4294967297.Sub. is too large\""));
    EXPECT_EQ(id, 77);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(AddObjectInstance, RefusesNullArguments) {
    int id = 0;
    EXPECT_EQ(zeltoPlatLibAddObjectInstance(nullptr, &id), -1);
    EXPECT_EQ(zeltoPlatLibAddObjectInstance("Test.Table.", nullptr), -1);
    EXPECT_EQ(LogSpy::Count(ERROR, "\"AddObject request without an object name or an id\""), 2U);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(DelObjectInstance, CallsTheHandlerWithTheNameAsItIs) {
    EXPECT_EQ(zeltoPlatLibDelObjectInstance("Device.Ethernet.Interface.1."), 0);
    EXPECT_EQ(Calls().at(0).type, PLT_REQUEST_DELETE_OBJECT);
    EXPECT_EQ(Calls()[0].paramName, "Device.Ethernet.Interface.1.");
    EXPECT_THAT(Calls()[0].indices, ElementsAre(1));
    EXPECT_TRUE(
        LogSpy::Contains(DEBUG, "\"Received DeleteObject request for Root: Device.Ethernet.Interface.1.\""));
}

TEST_F(DelObjectInstance, LogsTheNameOfTheHandlersCode) {
    Script(PLT_REQUEST_DELETE_OBJECT, [](tZeltoPlatformRequest&) { return PLT_NOT_FOUND; });
    EXPECT_EQ(zeltoPlatLibDelObjectInstance("Test.Table.4."), -1);
    EXPECT_TRUE(LogSpy::Contains(
        ERROR, "\"Request DeleteObject(Test.Table.4.) failed with error - 'PLT_NOT_FOUND'\""));
}

TEST_F(DelObjectInstance, FailsWithoutAHandlerOrAName) {
    EXPECT_EQ(zeltoPlatLibDelObjectInstance("Test.Unknown.4."), -1);
    EXPECT_EQ(zeltoPlatLibDelObjectInstance("@Test.Table.4."), -1);
    EXPECT_EQ(zeltoPlatLibDelObjectInstance("Test.Table.2147483648."), -1);
    EXPECT_EQ(zeltoPlatLibDelObjectInstance(nullptr), -1);
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"DeleteObject request without an object name\""));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetObjectIds, CopiesTheIdsAndLogsEach) {
    Script(PLT_REQUEST_GET_OBJECT_IDS, [](tZeltoPlatformRequest& request) {
        AnswerNumbers(request, {3, 1, 2, 500});
        return PLT_SUCCESS;
    });
    ASSERT_EQ(GetIds("Test.Table."), 0);
    EXPECT_EQ(std::vector<int>(ids, ids + count), (std::vector<int>{1, 2, 500}));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Received GetObjectIds request for Root: Test.Table.\""));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"numCount = 3\""));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"instlist[0]: 1\""));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"instlist[1]: 2\""));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"instlist[2]: 500\""));
}

TEST_F(GetObjectIds, GivesAnArrayForNoInstances) {
    ASSERT_EQ(GetIds("Test.Table."), 0);
    EXPECT_EQ(count, 0);
    EXPECT_NE(ids, nullptr);
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"numCount = 0\""));
}

TEST_F(GetObjectIds, TakesTheMostIdsThatFit) {
    Script(PLT_REQUEST_GET_OBJECT_IDS, [](tZeltoPlatformRequest& request) {
        std::vector<int32_t> numbers(64);
        std::iota(numbers.begin(), numbers.end(), 0);
        numbers[0] = 63;
        AnswerNumbers(request, numbers);
        return PLT_SUCCESS;
    });
    ASSERT_EQ(GetIds("Test.Table."), 0);
    ASSERT_EQ(count, 63);
    EXPECT_EQ(ids[0], 1);
    EXPECT_EQ(ids[62], 63);
}

TEST_F(GetObjectIds, RefusesACountThatDoesNotFit) {
    for (const int32_t reported : {-1, 64, INT32_MAX, INT32_MIN}) {
        Script(PLT_REQUEST_GET_OBJECT_IDS, [reported](tZeltoPlatformRequest& request) {
            AnswerNumbers(request, {reported});
            return PLT_SUCCESS;
        });
        EXPECT_EQ(GetIds("Test.Table."), -1);
        EXPECT_TRUE(LogSpy::Contains(ERROR, "\"The handler of Test.Table. reports " +
                                                std::to_string(reported) + " instances\""));
    }
    EXPECT_EQ(count, -5);
    EXPECT_EQ(ids, nullptr);
}

TEST_F(GetObjectIds, RemovesTheMarkButTranslatesNothing) {
    EXPECT_EQ(GetIds("@Device.Ethernet.Interface.1."), 0);
    std::free(ids);
    EXPECT_EQ(GetIds("Device.Ethernet.Interface.1."), 0);
    ASSERT_EQ(Calls().size(), 2U);
    EXPECT_EQ(Calls()[0].paramName, "Device.Ethernet.Interface.1.");
    EXPECT_EQ(Calls()[1].paramName, "Device.Ethernet.Interface.1.");
}

TEST_F(GetObjectIds, LogsTheNameOfTheHandlersCode) {
    Script(PLT_REQUEST_GET_OBJECT_IDS, [](tZeltoPlatformRequest&) { return PLT_TIMEOUT; });
    EXPECT_EQ(GetIds("@Test.Table."), -1);
    EXPECT_TRUE(
        LogSpy::Contains(ERROR, "\"Request GetObjectIds(@Test.Table.) failed with error - 'PLT_TIMEOUT'\""));
    EXPECT_EQ(count, -5);
}

TEST_F(GetObjectIds, FailsWithoutAHandlerOrAName) {
    EXPECT_EQ(GetIds("Test.Unknown."), -1);
    EXPECT_EQ(GetIds("Test.Table.99999999999."), -1);
    EXPECT_EQ(GetIds(nullptr), -1);
    EXPECT_EQ(zeltoPlatLibGetObjectIds("Test.Table.", nullptr, &ids), -1);
    EXPECT_EQ(zeltoPlatLibGetObjectIds("Test.Table.", &count, nullptr), -1);
    EXPECT_EQ(LogSpy::Count(ERROR, "\"GetObjectIds request without an object name or results\""), 3U);
    EXPECT_THAT(Calls(), IsEmpty());
}

} // namespace
