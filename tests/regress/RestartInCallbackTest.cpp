// A callback restarted its party and stopped it again: the threads of the second run waited inside libdbus
// for that callback, where no Stop reached them. A Stop elsewhere did not end what such a callback waited
// for.

#include "bus/BusParty.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

// Less than an idle dispatch thread sleeps.
constexpr std::chrono::seconds BOUND{4};
constexpr int ROUNDS = 50;
// Time enough for the new threads to come to wherever they wait.
constexpr int CALLS_AFTER_RESTART = 50;

class RestartInCallback : public testing::TestWithParam<int> {
protected:
    RestartInCallback() {
        party.Configure({GetParam(), 60, false});
        party.AddMethodHandler("ACT", &handler);
        party.Init("BEFORE");
        party.Run();
    }
    ~RestartInCallback() override { party.Stop(); }

    // Has the handler do this, on a dispatch thread; what the caller gets.
    std::string AnswerOf(std::function<int()> chosenAction) {
        action = std::move(chosenAction);
        TRawPeer caller(BusAddress());
        const auto answer = caller.Call(PartyTarget("BEFORE", "ACT"), {std::string()});
        return answer && answer->IsReturn() ? answer->Text(0) : "no answer";
    }

    int CallOthers() {
        int code = 0;
        for (int i = 0; i < CALLS_AFTER_RESTART && code == 0; ++i) {
            std::string ignored;
            TZeltoIpc::TMethodSettings settings{"OTHER", 10};
            code = party.CallMethod("ECHO", "", ignored, settings);
        }
        return code;
    }

    // Has the handler do this, and gives what becomes of a Stop on another thread meanwhile.
    std::future_status StopDuring(std::function<int()> chosenAction) {
        std::promise<void> entered;
        action = [&] {
            entered.set_value();
            return chosenAction();
        };
        TRawPeer caller(BusAddress());
        caller.Post(PartyTarget("BEFORE", "ACT"), {std::string()});
        entered.get_future().wait_for(BOUND);
        auto stopping = std::async(std::launch::async, [this] { party.Stop(); });
        return stopping.wait_for(BOUND);
    }

    int CallNobody() {
        std::string ignored;
        TZeltoIpc::TMethodSettings settings{"SILENT", 60};
        return party.CallMethod("NEVER", "", ignored, settings);
    }

    std::function<int()> action;
    THandler handler{[this](const std::string&, std::string& result) {
        result = "acted";
        return action();
    }};
    const std::unique_ptr<TRawPeer> other = MakeRawServerWith("OTHER", [](const TRawMessage&) {
        return TRawArguments{std::string("answered"), int32_t{0}};
    });
    const std::unique_ptr<TRawPeer> silent = MakeRawServer("SILENT", [](TRawPeer&, const TRawMessage&) {});
    TAccessParty party;
};

INSTANTIATE_TEST_SUITE_P(Threads, RestartInCallback, testing::Values(1, 8));

} // namespace

TEST_P(RestartInCallback, MayTakeASecondIdentity) {
    ASSERT_TRUE(BUS_READY);
    EXPECT_EQ("acted", AnswerOf([this] {
                  party.Init("MIDDLE");
                  const int code = CallOthers();
                  party.Init("AFTER");
                  return code;
              }));
    TRawPeer peer(BusAddress());
    const auto answer = peer.Call(PartyTarget("AFTER", "UNKNOWN"), {std::string()});
    EXPECT_TRUE(answer && answer->IsReturn());
}

TEST_P(RestartInCallback, MayStopAgain) {
    EXPECT_EQ("acted", AnswerOf([this] {
                  party.Stop();
                  party.Run();
                  const int code = CallOthers();
                  party.Stop();
                  return code;
              }));
}

TEST_P(RestartInCallback, IsWaitedForByStop) {
    std::atomic<int> code{0};
    std::atomic<bool> isBack{false};
    action = [&] {
        party.Stop();
        party.Run();
        code = CallNobody();
        isBack = true;
        return 0;
    };
    TRawPeer caller(BusAddress());
    caller.Post(PartyTarget("BEFORE", "ACT"), {std::string()});
    ASSERT_TRUE(silent->WaitFor([](const TRawMessage& message) { return message.member == "NEVER"; }));
    auto stopping = std::async(std::launch::async, [this] { party.Stop(); });
    ASSERT_EQ(stopping.wait_for(BOUND), std::future_status::ready);
    EXPECT_TRUE(isBack);
    EXPECT_EQ(code, -1);
}

TEST_P(RestartInCallback, DoesNotKeepAStopThatHasBegun) {
    EXPECT_EQ(std::future_status::ready, StopDuring([this] {
                  const int code = CallNobody(); // until that Stop
                  party.Stop();
                  party.Run();
                  return code;
              }));
}

TEST_P(RestartInCallback, MayStopAtTheSameTimeAsOthers) {
    for (int round = 0; round < ROUNDS; ++round) {
        ASSERT_EQ(std::future_status::ready, StopDuring([this] {
                      party.Stop();
                      return CallNobody();
                  }))
            << round;
        party.Run();
    }
}
