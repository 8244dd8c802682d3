#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr int ERROR = 3;
constexpr int NOTICE = 5;
constexpr int DEBUG = 7;

using scripted::Entry;
using scripted::HandlerOf;

void Init(const std::vector<tZeltoPltFunctionTable>& entries) {
    const tZeltoPlatformLibTable table{entries.data(), static_cast<int32_t>(entries.size()), nullptr};
    zeltoPlatformLibInit(&table);
}

int32_t OtherHandler(void*) {
    return PLT_SUCCESS;
}

TEST(FunctionMap, FillsTheDescriptorFromTheEntry) {
    tZeltoPltFunctionTable entry = Entry("Test.Fill.", {PLT_REQUEST_SET_PARAM}, true, "fill handlers");
    entry.userData = -77;
    scripted::Install({entry});
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_SET_PARAM, "Test.Fill.", &descr));
    EXPECT_EQ(descr.handler, HandlerOf(PLT_REQUEST_SET_PARAM));
    EXPECT_EQ(descr.userData, -77);
    EXPECT_STREQ(descr.name, "fill handlers");
    EXPECT_TRUE(descr.paramChangeEvent);
}

TEST(FunctionMap, LogsALookupThatSucceeds) {
    scripted::Install({Entry("Test.Found.", {PLT_REQUEST_GET_OBJECT_IDS})});
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_OBJECT_IDS, "Test.Found.", &descr));
    const auto messages = LogSpy::Messages();
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].text, "\"Request type: 6 and paramName: Test.Found.\"");
    EXPECT_EQ(messages[1].text,
              "\"Request Name is Test.Found. and we will use a handler with Test.Found. name.\"");
    EXPECT_EQ(messages[2].text, "\"Descriptor found for Request name Test.Found.\"");
    EXPECT_EQ(LogSpy::Count(DEBUG), 3U);
}

TEST(FunctionMap, CutsAHandlerNameAtItsField) {
    static const std::string longName(400, 'h');
    scripted::Install({Entry("Test.LongName.", {PLT_REQUEST_GET_PARAM}, false, longName.c_str())});
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.LongName.", &descr));
    EXPECT_EQ(std::string(descr.name), std::string(255, 'h'));
}

TEST(FunctionMap, TakesAMissingHandlerNameAsEmpty) {
    scripted::Install({Entry("Test.NoHandlerName.", {PLT_REQUEST_GET_PARAM}, false, nullptr)});
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.NoHandlerName.", &descr));
    EXPECT_STREQ(descr.name, "");
}

TEST(FunctionMap, DoesNotFindANameThatIsNotThere) {
    scripted::Install({Entry("Test.There.", {PLT_REQUEST_GET_PARAM})});
    tZeltoPlatformRequestDescr descr{};
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.ThereNot.", &descr));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Name: Test.ThereNot. is not in the table.\""));
    EXPECT_EQ(descr.handler, nullptr);
}

// The first lookup that misses decides for the life of the process.
TEST(FunctionMap, DoesNotFindADefaultEntryThatComesAfterTheFirstMiss) {
    tZeltoPlatformRequestDescr descr{};
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Missed", &descr));
    scripted::Install({Entry("*", {PLT_REQUEST_GET_PARAM})});
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Missed", &descr));
    EXPECT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "*", &descr));
}

TEST(FunctionMap, ComparesWholeNamesWithCase) {
    scripted::Install({Entry("Test.Whole.Name", {PLT_REQUEST_GET_PARAM})});
    tZeltoPlatformRequestDescr descr{};
    for (const char* const name : {"Test.Whole.", "Test.Whole.Name.", "test.whole.name", ""}) {
        EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, name, &descr)) << name;
    }
}

TEST(FunctionMap, DoesNotFindATypeThatTheEntryDoesNotServe) {
    tZeltoPltFunctionTable entry = Entry("Test.OneType.", {PLT_REQUEST_GET_PARAM});
    entry.handlers[1] = {PLT_REQUEST_SET_PARAM, nullptr};
    scripted::Install({entry});
    tZeltoPlatformRequestDescr descr{};
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_SET_PARAM, "Test.OneType.", &descr));
    EXPECT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.OneType.", &descr));
}

TEST(FunctionMap, DoesNotFindATypeOutOfRange) {
    scripted::Install({scripted::FullEntry("Test.Range.")});
    tZeltoPlatformRequestDescr descr{};
    for (const int type : {-1, 7, 1000000}) {
        EXPECT_FALSE(
            zeltoGetPlatformRequestDescr(static_cast<tZeltoPltRequestType>(type), "Test.Range.", &descr))
            << type;
    }
}

TEST(FunctionMap, RefusesANullName) {
    tZeltoPlatformRequestDescr descr{};
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_SET_PARAM, nullptr, &descr));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Request type: 1 and paramName: (NULL)\""));
}

TEST(FunctionMap, RefusesANullDescriptor) {
    scripted::Install({scripted::FullEntry("Test.NullDescr.")});
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.NullDescr.", nullptr));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Request type: 0 and paramName: Test.NullDescr.\""));
    EXPECT_EQ(LogSpy::Messages().size(), 1U);
}

TEST(FunctionMap, TakesTheSecondOfTwoEntriesOfOneNameWithANotice) {
    tZeltoPltFunctionTable second = Entry("Device.WiFi.SSID.", {PLT_REQUEST_SET_PARAM});
    second.handlers[1] = {PLT_REQUEST_GET_PARAM, OtherHandler};
    Init({Entry("Device.WiFi.SSID.", {PLT_REQUEST_GET_PARAM, PLT_REQUEST_ADD_OBJECT}), second});
    EXPECT_EQ(
        LogSpy::Count(NOTICE,
                      "\"The handler for Device.WiFi.SSID. is redefined! Please check the configuration.\""),
        1U);
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Device.WiFi.SSID.", &descr));
    EXPECT_EQ(descr.handler, OtherHandler);
    // It keeps only its own handlers.
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_ADD_OBJECT, "Device.WiFi.SSID.", &descr));
}

TEST(FunctionMap, TakesTheEntryOfALaterStartWithANotice) {
    Init({Entry("Test.Restart.", {PLT_REQUEST_GET_PARAM, PLT_REQUEST_ADD_OBJECT})});
    EXPECT_EQ(LogSpy::Count(NOTICE), 0U);
    Init({Entry("Test.Restart.", {PLT_REQUEST_GET_PARAM}, false, "newer handlers")});
    EXPECT_EQ(LogSpy::Count(
                  NOTICE, "\"The handler for Test.Restart. is redefined! Please check the configuration.\""),
              1U);
    EXPECT_EQ(LogSpy::Count(NOTICE), 1U);
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Restart.", &descr));
    EXPECT_STREQ(descr.name, "newer handlers");
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_ADD_OBJECT, "Test.Restart.", &descr));
}

// The manager's own text is not looked at again.
TEST(FunctionMap, LogsItsOwnKey) {
    char name[] = "Test.Key.";
    scripted::Install({Entry(name, {PLT_REQUEST_GET_PARAM})});
    std::strcpy(name, "changed");
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Key.", &descr));
    EXPECT_TRUE(LogSpy::Contains(
        DEBUG, "\"Request Name is Test.Key. and we will use a handler with Test.Key. name.\""));
}

TEST(FunctionMap, TakesTheLaterOfTwoPairsOfOneTypeWithoutANotice) {
    tZeltoPltFunctionTable entry = Entry("Test.Pairs.", {PLT_REQUEST_GET_PARAM, PLT_REQUEST_SET_PARAM});
    entry.handlers[2] = {PLT_REQUEST_GET_PARAM, OtherHandler};
    Init({entry});
    EXPECT_EQ(LogSpy::Count(NOTICE), 0U);
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Pairs.", &descr));
    EXPECT_EQ(descr.handler, OtherHandler);
}

TEST(FunctionMap, DropsAPairWhoseTypeIsOutOfRangeWithoutAMessage) {
    tZeltoPltFunctionTable entry = Entry("Test.Type7.", {PLT_REQUEST_GET_PARAM});
    entry.handlers[1] = {static_cast<tZeltoPltRequestType>(7), OtherHandler};
    entry.handlers[2] = {static_cast<tZeltoPltRequestType>(-1), OtherHandler};
    Init({entry, entry});
    EXPECT_EQ(LogSpy::Count(NOTICE), 1U); // the one pair that counts, by the second entry
    tZeltoPlatformRequestDescr descr{};
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Type7.", &descr));
    EXPECT_EQ(descr.handler, HandlerOf(PLT_REQUEST_GET_PARAM));
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_OBJECT_IDS, "Test.Type7.", &descr));
}

TEST(FunctionMap, SkipsAnEntryWithoutAName) {
    Init({Entry(nullptr, {PLT_REQUEST_GET_PARAM}), Entry("Test.AfterNull.", {PLT_REQUEST_GET_PARAM})});
    EXPECT_TRUE(LogSpy::Contains(ERROR, "\"Entry 0 of the function table has no name\""));
    tZeltoPlatformRequestDescr descr{};
    EXPECT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.AfterNull.", &descr));
}

TEST(FunctionMap, TakesNoEntriesFromANullPointerOrACountBelowOne) {
    const tZeltoPltFunctionTable entry = Entry("Test.Count.", {PLT_REQUEST_GET_PARAM});
    const tZeltoPlatformLibTable tables[] = {
        {nullptr, 5, nullptr}, {&entry, 0, nullptr}, {&entry, -1, nullptr}};
    for (const tZeltoPlatformLibTable& table : tables) {
        zeltoPlatformLibInit(&table);
    }
    tZeltoPlatformRequestDescr descr{};
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Count.", &descr));
}

TEST(CompareParamName, TellsEqualTextsFromOthers) {
    const struct {
        const char* lhs;
        const char* rhs;
        int result;
        const char* message;
    } rows[] = {
        {"A.B", "A.B", 1, "\"Request Name: A.B and Table Name: A.B\""},
        {"", "", 1, "\"Request Name:  and Table Name: \""},
        {"A.B", "A.b", 0, "\"Request Name: A.B and Table Name: A.b\""},
        {"A.B", "A.B.", 0, "\"Request Name: A.B and Table Name: A.B.\""},
        {nullptr, "A", 0, "\"Request Name: (NULL) and Table Name: A\""},
        {"A", nullptr, 0, "\"Request Name: A and Table Name: (NULL)\""},
        {nullptr, nullptr, 0, "\"Request Name: (NULL) and Table Name: (NULL)\""},
    };
    for (const auto& row : rows) {
        LogSpy::Clear();
        EXPECT_EQ(compareParamName(row.lhs, row.rhs), row.result) << row.message;
        EXPECT_TRUE(LogSpy::Contains(DEBUG, row.message)) << row.message;
        EXPECT_EQ(LogSpy::Messages().size(), row.result == 1 ? 2U : 1U) << row.message;
    }
}

TEST(CompareParamName, LogsAMatch) {
    EXPECT_EQ(compareParamName("A.B", "A.B"), 1);
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Param A.B is found in function table\""));
}

TEST(PlatformDealloc, TakesNullAndAllocatedMemory) {
    zeltoPlatformDealloc(nullptr);
    zeltoPlatformDealloc(::strdup("text")); // the leak checker sees whether it went
}

} // namespace
