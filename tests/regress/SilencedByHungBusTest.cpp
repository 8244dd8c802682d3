// A bus that did not read for a while left a party with a queue that nobody sent any more: from then on every
// event and every call failed, until the bus was started anew.

#include "bus/BusParty.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

// More than a socket takes and more than may wait to be sent.
const std::string LARGE_TEXT(4U * 1024 * 1024, 'x');

bool CanSend(TZeltoIpc& party, const std::string& data) {
    try {
        party.SendEvent("EVENT", data);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

// An echo of the server within a time-out in seconds.
bool CanCall(TZeltoIpc& party, const std::string& request, int32_t timeout) {
    TZeltoIpc::TMethodSettings settings{"SERVER", timeout};
    std::string result;
    try {
        return party.CallMethod("ECHO", request, result, settings) == 0 && result == request;
    } catch (const std::runtime_error&) {
        return false;
    }
}

} // namespace

TEST(SilencedByHungBus, EndsForAPartyWithDispatchThreads) {
    ASSERT_TRUE(BUS_READY);
    TServingParty serving("PARTY");
    TBusEnvironment::Bus().Hang();
    EXPECT_TRUE(CanSend(serving.party, LARGE_TEXT));
    EXPECT_FALSE(CanSend(serving.party, "refused"));
    TBusEnvironment::Bus().Resume();
    EXPECT_TRUE(Eventually([&] { return CanSend(serving.party, "after"); }));
    EXPECT_TRUE(serving.events.WaitFor({"EVENT", LARGE_TEXT}));
    EXPECT_TRUE(serving.events.WaitFor({"EVENT", "after"}));
    EXPECT_EQ(0U, serving.events.Count({"EVENT", "refused"}));
}

TEST(SilencedByHungBus, EndsForAPartyWithoutDispatchThreads) {
    const TServingParty server("SERVER");
    TAccessParty caller;
    ASSERT_TRUE(CanCall(caller, "before", 10));
    TBusEnvironment::Bus().Hang();
    EXPECT_FALSE(CanCall(caller, LARGE_TEXT, 0));
    EXPECT_FALSE(CanCall(caller, "refused", 0));
    TBusEnvironment::Bus().Resume();
    EXPECT_TRUE(Eventually([&] { return CanCall(caller, "after", 10); }));
}
