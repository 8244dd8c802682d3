// A party that nobody dispatches does not notice by itself that the bus was started anew. It used to stay
// with its dead connection: calls after a failed event, Init and Run failed for ever.

#include "bus/BusParty.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

TPrivateBus& Bus() {
    return TBusEnvironment::Bus();
}

} // namespace

TEST(UnnoticedBusLoss, IsEndedByACallAfterAFailedEvent) {
    ASSERT_TRUE(BUS_READY);
    TServingParty server("SERVER");
    TAccessParty caller;
    caller.SetMethodServerId("*", "SERVER");
    caller.Init("CALLER");
    caller.SendEvent("BEFORE", "");
    Bus().Restart();
    EXPECT_THROW(caller.SendEvent("AFTER", ""), std::runtime_error);
    EXPECT_TRUE(Eventually([&] {
        std::string result;
        try {
            return caller.CallMethod("ECHO", "request", result) == 0;
        } catch (const std::runtime_error&) {
            return false;
        }
    }));
}

TEST(UnnoticedBusLoss, DoesNotKeepAPartyFromANewIdentity) {
    TAccessParty party;
    party.Init("OLD_NAME");
    Bus().Restart();
    party.Init("NEW_NAME");
    EXPECT_TRUE(HasOwner("NEW_NAME"));
    EXPECT_FALSE(HasOwner("OLD_NAME"));
}

TEST(UnnoticedBusLoss, IsFollowedByReconnectionWhenInitFails) {
    TAccessParty party;
    party.Init("FORMER");
    Bus().Kill();
    EXPECT_THROW(party.Init("NEXT"), std::runtime_error);
    EXPECT_EQ("FORMER", party.identity);
    Bus().Restart();
    EXPECT_TRUE(Eventually([] { return HasOwner("FORMER"); }));
    party.Init("NEXT");
    EXPECT_TRUE(HasOwner("NEXT"));
    EXPECT_FALSE(HasOwner("FORMER"));
}

TEST(UnnoticedBusLoss, DoesNotKeepAPartyFromMonitoring) {
    TEventLog events;
    TAccessParty monitor;
    monitor.Configure({1, 10, true});
    monitor.AddEventLstener("", &events);
    monitor.Init("WATCHER");
    Bus().Restart();
    monitor.Run();
    ASSERT_TRUE(LogSpy::WaitForPart(5, "WATCHER' is back."));
    TRawPeer peer(BusAddress());
    peer.OwnName(BusName("ARRIVAL"));
    EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", "ARRIVAL"}));
    monitor.Stop();
}
