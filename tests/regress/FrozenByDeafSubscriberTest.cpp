// A subscriber that does not read can make the bus stop reading from whoever sends events. A manager then
// waited a second for every event, and so a second for every change that it was asked for.

#include "bus/BusParty.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

// More than a socket takes, and less than may wait to be sent.
const std::string LARGE_TEXT(700U * 1024, 'x');
constexpr int EVENTS = 20;
// All of them at a second each would take longer, and one of them is not even near.
constexpr std::chrono::seconds ENOUGH{10};
// An idle dispatch thread looks every five seconds at what has not left.
constexpr std::chrono::milliseconds SOON{3000};

} // namespace

TEST(FrozenByDeafSubscriber, IsWaitedForOnceAndNotForEveryEvent) {
    ASSERT_TRUE(BUS_READY);
    TServingParty serving("PARTY");
    TBusEnvironment::Bus().Hang();
    serving.party.SendEvent("LARGE", LARGE_TEXT);
    const auto begin = std::chrono::steady_clock::now();
    for (int number = 0; number < EVENTS; ++number) {
        serving.party.SendEvent("SMALL", std::to_string(number));
    }
    const auto taken = std::chrono::steady_clock::now() - begin;
    TBusEnvironment::Bus().Resume();
    EXPECT_LT(taken, ENOUGH);
    EXPECT_TRUE(serving.events.WaitFor({"SMALL", std::to_string(EVENTS - 1)}));
    EXPECT_EQ(1U, serving.events.Count({"LARGE", LARGE_TEXT}));
    for (int number = 0; number < EVENTS; ++number) {
        EXPECT_EQ(1U, serving.events.Count({"SMALL", std::to_string(number)})) << number;
    }
}

TEST(FrozenByDeafSubscriber, SendsWhatIsLeftAsSoonAsTheBusReadsAgain) {
    ASSERT_TRUE(BUS_READY);
    TServingParty serving("PARTY");
    TBusEnvironment::Bus().Hang();
    serving.party.SendEvent("LARGE", LARGE_TEXT);
    TBusEnvironment::Bus().Resume();
    EXPECT_TRUE(Eventually([&] { return serving.events.Count({"LARGE", LARGE_TEXT}) == 1; }, SOON));
}
