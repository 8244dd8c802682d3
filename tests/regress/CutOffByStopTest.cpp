// A large text that a handler answered with, or sent as an event, was cut off when its party was being
// stopped: the caller ran into its time-out.

#include "bus/BusParty.h"

#include <gtest/gtest.h>

#include <future>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

constexpr std::chrono::seconds BOUND{5};
// Several times what a socket takes at once.
constexpr std::size_t LARGE = 4U << 20U;

class LargeTextAtStop : public testing::TestWithParam<int> {
protected:
    LargeTextAtStop() {
        party.Configure({GetParam(), 10, false});
        party.AddMethodHandler("ACT", &handler);
        party.Init("LAST_WORDS");
        party.Run();
    }
    ~LargeTextAtStop() override {
        leave.set_value();
        party.Stop();
    }

    // Stops the party while its handler is at work, lets that end, and waits for Stop.
    void StopWithin() {
        ASSERT_EQ(entered.get_future().wait_for(BOUND), std::future_status::ready);
        auto stopping = std::async(std::launch::async, [this] { party.Stop(); });
        EXPECT_EQ(stopping.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        leave.set_value();
        leave = {};
        EXPECT_EQ(stopping.wait_for(BOUND), std::future_status::ready);
    }

    int Act(std::string& result) {
        std::future<void> left = leave.get_future();
        entered.set_value();
        left.wait();
        if (isEvent) {
            party.SendEvent("LAST", std::string(LARGE, 'e'));
        } else {
            result.assign(LARGE, 'r');
        }
        return 0;
    }

    std::atomic<bool> isEvent{false};
    std::promise<void> entered;
    std::promise<void> leave;
    THandler handler{[this](const std::string&, std::string& result) { return Act(result); }};
    TAccessParty party;
    TRawPeer peer{BusAddress()};
};

INSTANTIATE_TEST_SUITE_P(Threads, LargeTextAtStop, testing::Values(1, 8));

} // namespace

TEST_P(LargeTextAtStop, ReachesTheCaller) {
    ASSERT_TRUE(BUS_READY);
    const uint32_t call = peer.Post(PartyTarget("LAST_WORDS", "ACT"), {std::string()});
    StopWithin();
    const auto answer =
        peer.WaitFor([call](const TRawMessage& message) { return message.replySerial == call; });
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->Text(0).size(), LARGE);
    EXPECT_EQ(answer->Int(1), 0);
}

TEST_P(LargeTextAtStop, ReachesThoseWhoHearTheEvent) {
    isEvent = true;
    ASSERT_TRUE(peer.AddMatch("interface='com.Ulmet.Zelto.Zelto'"));
    (void)peer.Post(PartyTarget("LAST_WORDS", "ACT"), {std::string()});
    StopWithin();
    const auto event = peer.WaitFor([](const TRawMessage& message) { return message.member == "LAST"; });
    ASSERT_TRUE(event);
    EXPECT_EQ(event->Text(0).size(), LARGE);
}
