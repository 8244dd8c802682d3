// What the platform side does while there is no bus.

#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "zelto/ZeltoPlatformOps.h"

#include <gtest/gtest.h>

namespace {

constexpr int ERROR = 3;

// The transport logs the reason as it raises it, and the platform side as it catches it.
void ExpectLoggedByBoth() {
    const auto messages = LogSpy::Messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back().format, "\"%s\"");
    EXPECT_EQ(messages.back().text.rfind("\"dbus_bus_get_private - ", 0), 0U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(ERROR, messages.back().text), 2U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(ERROR), 2U) << LogSpy::Dump();
}

TEST(PlatformStartWithoutBus, EndsAfterAnErrorLineWithItsHandlersInPlace) {
    const scripted::THelperScript helper("echo run >> \"$(dirname \"$0\")/runs\"");
    const tZeltoPltFunctionTable entry = scripted::Entry("Test.NoBus", {PLT_REQUEST_GET_PARAM});
    const tZeltoPlatformLibTable table{&entry, 1, nullptr};
    zeltoPlatformLibInit(&table);
    ExpectLoggedByBoth();
    EXPECT_EQ(helper.Directory().Read("runs"), "");
    std::string value;
    EXPECT_EQ(zeltoPlatLibGetParam("Test.NoBus", value, false), 0);
}

TEST(PlatformStartWithoutBus, LogsAnEventThatCannotBeSent) {
    const tZeltoPltDataModelEvent record{};
    zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, &record);
    ExpectLoggedByBoth();
}

} // namespace
