// The default entry "*". Its place is looked up once in a process, so these tests have a program of their
// own.

#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gtest/gtest.h>

namespace {

constexpr int DEBUG = 7;

class FunctionMapDefault : public testing::Test {
protected:
    static void SetUpTestSuite() {
        tZeltoPlatformRequestDescr descr{};
        scripted::Install({scripted::Entry("Test.Own.", {PLT_REQUEST_SET_PARAM}, false, "own handlers")});
        foundBefore = zeltoGetPlatformRequestDescr(PLT_REQUEST_SET_PARAM, "Test.Own.", &descr);
        scripted::Install({scripted::Entry("*", {PLT_REQUEST_GET_PARAM}, false, "default handlers")});
    }
    void SetUp() override { LogSpy::Clear(); }

    static bool foundBefore; // a name of the table, while there was no default entry

    tZeltoPlatformRequestDescr descr{};
};

bool FunctionMapDefault::foundBefore = false;

// It is the first lookup that misses which decides.
TEST_F(FunctionMapDefault, ServesAlthoughItCameAfterALookupThatNeededNone) {
    ASSERT_TRUE(foundBefore);
    EXPECT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Unknown", &descr));
}

TEST_F(FunctionMapDefault, ServesNamesThatAreNotInTheTable) {
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Unknown", &descr));
    EXPECT_STREQ(descr.name, "default handlers");
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Name: Test.Unknown is not in the table.\""));
    EXPECT_TRUE(
        LogSpy::Contains(DEBUG, "\"Request Name is Test.Unknown and we will use a handler with * name.\""));
    EXPECT_TRUE(LogSpy::Contains(DEBUG, "\"Descriptor found for Request name Test.Unknown\""));
}

TEST_F(FunctionMapDefault, DoesNotServeTypesThatItHasNoHandlerFor) {
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_SET_PARAM, "Test.Unknown", &descr));
}

TEST_F(FunctionMapDefault, DoesNotFillTheGapsOfAnEntryThatIsThere) {
    EXPECT_FALSE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Own.", &descr));
}

TEST_F(FunctionMapDefault, StillServesAfterALaterStartRedefinesIt) {
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Unknown", &descr));
    scripted::Install({scripted::Entry("*", {PLT_REQUEST_GET_PARAM}, false, "newer handlers")});
    ASSERT_TRUE(zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, "Test.Unknown", &descr));
    EXPECT_STREQ(descr.name, "newer handlers");
}

} // namespace
