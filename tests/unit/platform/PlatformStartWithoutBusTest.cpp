// What the platform side does while there is no bus.

#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gtest/gtest.h>

namespace {

constexpr int ERROR = 3;

TEST(PlatformStartWithoutBus, EndsAfterAnErrorLineWithItsHandlersInPlace) {
    const scripted::THelperScript helper("echo run >> \"$(dirname \"$0\")/runs\"");
    const tZeltoPltFunctionTable entry = scripted::Entry("Test.NoBus", {PLT_REQUEST_GET_PARAM});
    const tZeltoPlatformLibTable table{&entry, 1, nullptr};
    zeltoPlatformLibInit(&table);
    EXPECT_TRUE(LogSpy::ContainsPart(ERROR, "dbus_bus_get_private - ")) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Messages().back().format, "\"%s\"");
    EXPECT_EQ(helper.Directory().Read("runs"), "");
    std::string value;
    EXPECT_EQ(zeltoPlatLibGetParam("Test.NoBus", value, false), 0);
}

TEST(PlatformStartWithoutBus, LogsAnEventThatCannotBeSent) {
    const tZeltoPltDataModelEvent record{};
    zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, &record);
    EXPECT_TRUE(LogSpy::ContainsPart(ERROR, "dbus_bus_get_private - "));
    EXPECT_EQ(LogSpy::Messages().back().format, "\"%s\"");
}

} // namespace
