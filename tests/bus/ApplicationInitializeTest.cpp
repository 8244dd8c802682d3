// Initialize without a bus, with identities that no bus takes, without a thread, and a bus that goes away.
// The application is one for the whole process, so its life is told in one test.
#include "NoThreads.h"

#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/RawPeer.h"
#include "zelto/TZeltoApplication.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

TZeltoApplication& App() {
    return TZeltoApplication::GetInstance();
}

// The transport logs the reason as it raises it, and the application as it catches it.
void ExpectLoggedByBoth(const std::string& reasonPart) {
    const auto messages = LogSpy::Messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back().format, "\"%s\"");
    EXPECT_NE(messages.back().text.find(reasonPart), std::string::npos) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3, messages.back().text), 2U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3), 2U) << LogSpy::Dump();
}

void ExpectFailure(const std::string& identity, const std::string& reasonPart) {
    LogSpy::Clear();
    App().Initialize(identity);
    ExpectLoggedByBoth(reasonPart);
}

bool IsServing(const std::string& identity) {
    support::TRawPeer peer(support::TBusEnvironment::Bus().Address());
    const auto answer = peer.Call({"com.Ulmet.Zelto." + identity, "/com/Ulmet/Zelto/" + identity,
                                   "com.Ulmet.Zelto.Zelto", "IS_APP_ACTIVE"},
                                  {std::string()});
    return answer && answer->IsReturn() && answer->Int(1) == 0;
}

bool IsOnTheBus(const std::string& identity) {
    support::TRawPeer peer(support::TBusEnvironment::Bus().Address());
    return peer.HasOwner("com.Ulmet.Zelto." + identity);
}

// The bus tells a party of its name in its own time: nothing but events may have been logged.
bool HasOnlyHeardEvents() {
    const auto messages = LogSpy::Messages();
    return std::all_of(messages.begin(), messages.end(),
                       [](const LogSpy::TMessage& message) { return message.format == "\"'%s' - '%s'\""; });
}

TEST(Initialize, CanBeRepeatedUntilItSucceedsAndThenDoesNothing) {
    support::TPrivateBus& bus = support::TBusEnvironment::Bus();

    bus.Kill();
    ExpectFailure("APP", "dbus_bus_get_private - ");
    std::string value = "before";
    EXPECT_EQ(App().GetParam("Device.A", value), -1); // nobody is known to ask
    EXPECT_EQ(LogSpy::Count(3, "\"No server ID provided for 'GET_PARAM' method!\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(value, "before");

    bus.Restart();
    for (const char* identity : {"A-B", "A.B", "1A", "my app", "\xff"}) {
        ExpectFailure(identity, " is not an identity: ");
    }
    EXPECT_FALSE(IsOnTheBus("APP"));

    LogSpy::Clear();
    {
        const TNoThreads none;
        App().Initialize("APP"); // has its name, but cannot serve
    }
    EXPECT_EQ(LogSpy::Count(3, "\"Resource temporarily unavailable\""), 1U) << LogSpy::Dump();

    std::thread other([] { App().Initialize("APP"); });
    App().Initialize("APP");
    other.join();
    EXPECT_TRUE(IsServing("APP"));

    LogSpy::Clear();
    App().Initialize("OTHER");
    EXPECT_FALSE(IsOnTheBus("OTHER"));
    EXPECT_TRUE(HasOnlyHeardEvents()) << LogSpy::Dump();
}

TEST(IsAppActive, GivesThreeWithoutABusAndLeavesTheFlagAlone) {
    App().Initialize("APP");
    support::TBusEnvironment::Bus().Kill();
    bool isActive = true;
    // A call that is under way when the bus goes away is lost with -1; those after it are refused.
    EXPECT_TRUE(support::Eventually([&] {
        isActive = true;
        LogSpy::Clear();
        return App().IsAppActive(ZELTO_KESTA, isActive) == 3;
    }));
    EXPECT_TRUE(isActive);
    EXPECT_EQ(LogSpy::Messages().back().format, "\"%s\"");
    EXPECT_EQ(LogSpy::Count(3, "\"dbus_connection_send_with_reply failed\""), 2U) << LogSpy::Dump();
}

} // namespace
