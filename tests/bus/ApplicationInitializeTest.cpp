// Initialize without a bus, with identities that no bus takes, and a bus that goes away. The application is
// one for the whole process, so its life is told in one test.
#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/RawPeer.h"
#include "zelto/TZeltoApplication.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

TZeltoApplication& App() {
    return TZeltoApplication::GetInstance();
}

// What the transport logs of its own accord is tested with the transport; here only that something explains
// it.
void ExpectFailure(const std::string& identity) {
    LogSpy::Clear();
    App().Initialize(identity);
    EXPECT_GE(LogSpy::Count(3), 1U) << identity << LogSpy::Dump();
}

bool IsOnTheBus(const std::string& identity) {
    support::TRawPeer peer(support::TBusEnvironment::Bus().Address());
    return peer.HasOwner("com.Ulmet.Zelto." + identity);
}

TEST(Initialize, CanBeRepeatedUntilItSucceedsAndThenDoesNothing) {
    support::TPrivateBus& bus = support::TBusEnvironment::Bus();

    bus.Kill();
    ExpectFailure("APP");
    std::string value = "before";
    EXPECT_EQ(App().GetParam("Device.A", value), -1); // nobody is known to ask
    EXPECT_EQ(LogSpy::Count(3, "\"No server ID provided for 'GET_PARAM' method!\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(value, "before");

    bus.Restart();
    for (const char* identity : {"A-B", "A.B", "1A", "my app", "\xff"}) {
        ExpectFailure(identity);
    }
    EXPECT_FALSE(IsOnTheBus("APP"));

    std::thread other([] { App().Initialize("APP"); });
    App().Initialize("APP");
    other.join();
    EXPECT_TRUE(IsOnTheBus("APP"));

    LogSpy::Clear();
    App().Initialize("OTHER");
    EXPECT_FALSE(IsOnTheBus("OTHER"));
    EXPECT_TRUE(LogSpy::Messages().empty()) << LogSpy::Dump();
}

TEST(IsAppActive, GivesThreeWithoutABusAndLeavesTheFlagAlone) {
    App().Initialize("APP");
    support::TBusEnvironment::Bus().Kill();
    bool isActive = true;
    // A call that is under way when the bus goes away is lost with -1; those after it are refused.
    EXPECT_TRUE(support::Eventually([&] {
        isActive = true;
        return App().IsAppActive(ZELTO_KESTA, isActive) == 3;
    }));
    EXPECT_TRUE(isActive);
    EXPECT_GE(LogSpy::Count(3), 1U) << LogSpy::Dump();
}

} // namespace
