// Stop returns at once whatever the bus and the other threads do.

#include "bus/Party.h"

#include "support/BusEnvironment.h"
#include "support/Eventually.h"
#include "support/Gate.h"
#include "support/RawPeer.h"
#include "zelto/TZeltoDBus.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <tuple>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using party::MakeParty;
using party::TParty;
using support::TBusEnvironment;
using support::TGate;
using support::TRawPeer;

const bool BUS_READY = TBusEnvironment::Register();

constexpr std::chrono::seconds STOP_BOUND{2};

// Runs Stop and says how long it took; a Stop that hangs ends the test program at its own bound.
std::chrono::milliseconds StopAndMeasure(TZeltoIpc& stopped) {
    const auto begin = std::chrono::steady_clock::now();
    stopped.Stop();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
}

void ExpectPromptStop(TZeltoIpc& stopped) {
    const auto taken = StopAndMeasure(stopped);
    testing::Test::RecordProperty("stop_ms", static_cast<int>(taken.count()));
    EXPECT_LT(taken, STOP_BOUND);
}

class StopWithThreads : public testing::TestWithParam<int> {
protected:
    static std::string Identity(const char* name) {
        return std::string(name) + "_" + std::to_string(GetParam());
    }
    static std::string Address() { return TBusEnvironment::Bus().Address(); }
};

INSTANTIATE_TEST_SUITE_P(Counts, StopWithThreads, testing::Values(1, 2, 8));

TEST_P(StopWithThreads, ReturnsWhileTheBusIsIdle) {
    const TParty tested = MakeParty(GetParam());
    tested->Init(Identity("IDLE"));
    tested->Run();
    ExpectPromptStop(*tested);
}

TEST_P(StopWithThreads, ReturnsAgainAfterASecondRun) {
    const TParty tested = MakeParty(GetParam());
    party::THandler handler([](const std::string&, std::string&) { return 7; });
    tested->AddMethodHandler("ANSWER", &handler);
    tested->Init(Identity("AGAIN"));
    tested->SetMethodServerId("*", Identity("AGAIN"));
    for (int round = 0; round < 3; ++round) {
        tested->Run();
        std::string result;
        EXPECT_EQ(tested->CallMethod("ANSWER", "", result), 7);
        ExpectPromptStop(*tested);
    }
}

TEST_P(StopWithThreads, ReturnsBeforeInit) {
    const TParty tested = MakeParty(GetParam());
    tested->Run();
    ExpectPromptStop(*tested);
}

TEST_P(StopWithThreads, ReturnsWhileEventsAreFlooding) {
    const TParty tested = MakeParty(GetParam());
    std::atomic<int> heard{0};
    party::TListener listener([&](const std::string&, const std::string&) { ++heard; });
    tested->AddEventLstener("", &listener);
    tested->Init(Identity("FLOODED"));
    tested->Run();
    std::atomic<bool> flooding{true};
    std::vector<std::thread> flooders;
    for (int index = 0; index < 2; ++index) {
        flooders.emplace_back([&] {
            TRawPeer peer(Address());
            while (flooding) {
                peer.Signal({"", "/flood", "com.Ulmet.Zelto.Zelto", "FLOOD"}, {std::string(200, 'x')});
            }
        });
    }
    EXPECT_TRUE(support::Eventually([&] { return heard > 100; }));
    ExpectPromptStop(*tested);
    flooding = false;
    for (std::thread& flooder : flooders) {
        flooder.join();
    }
    tested->RemoveEventLstener(&listener);
}

TEST_P(StopWithThreads, ReturnsWhenAnotherPartyTookTheName) {
    const TParty tested = MakeParty(GetParam());
    tested->Init(Identity("TAKEN"));
    tested->Run();
    TRawPeer thief(Address());
    thief.OwnName("com.Ulmet.Zelto." + Identity("TAKEN"), 2); // replace existing
    ExpectPromptStop(*tested);
}

TEST_P(StopWithThreads, ReturnsInMonitorMode) {
    const TParty tested = MakeParty(GetParam(), true);
    tested->Init(Identity("WATCHER"));
    tested->Run();
    ExpectPromptStop(*tested);
}

TEST_P(StopWithThreads, ReturnsWhenTheBusIsDead) {
    const TParty tested = MakeParty(GetParam());
    tested->Init(Identity("ORPHAN"));
    tested->Run();
    TBusEnvironment::Bus().Kill();
    ExpectPromptStop(*tested);
    TBusEnvironment::Bus().Restart();
}

TEST_P(StopWithThreads, ReturnsWhileTheBusIsAwayAndReconnectionIsUnderWay) {
    const TParty tested = MakeParty(GetParam());
    tested->Init(Identity("WAITING"));
    tested->Run();
    TBusEnvironment::Bus().Kill();
    EXPECT_TRUE(support::Eventually([&] {
        try {
            tested->SendEvent("ANY", "");
            return false;
        } catch (const std::runtime_error&) {
            return true;
        }
    }));
    ExpectPromptStop(*tested);
    TBusEnvironment::Bus().Restart();
}

TEST_P(StopWithThreads, ReturnsWhenTheBusHangs) {
    const TParty tested = MakeParty(GetParam());
    tested->Init(Identity("HUNG"));
    tested->Run();
    TBusEnvironment::Bus().Hang();
    ExpectPromptStop(*tested);
    TBusEnvironment::Bus().Resume();
}

TEST_P(StopWithThreads, ReturnsWhileOtherThreadsAreInCalls) {
    const TParty tested = MakeParty(GetParam());
    tested->Init(Identity("CALLER"));
    tested->Run();
    TRawPeer silent(Address());
    silent.OwnName("com.Ulmet.Zelto." + Identity("SILENT"));
    TZeltoIpc::TMethodSettings settings{Identity("SILENT"), 3};
    std::vector<std::future<int>> calls;
    for (int index = 0; index < 3; ++index) {
        calls.push_back(std::async(std::launch::async, [&] {
            TZeltoIpc::TMethodSettings own = settings;
            std::string result;
            return tested->CallMethod("NEVER_ANSWERED", "", result, own);
        }));
    }
    EXPECT_TRUE(
        silent.WaitForCount([](const auto& message) { return message.member == "NEVER_ANSWERED"; }, 3));
    ExpectPromptStop(*tested);
    for (auto& call : calls) {
        EXPECT_EQ(call.get(), -1);
    }
}

TEST_P(StopWithThreads, EndsTheCallThatAHandlerHasUnderWay) {
    const TParty tested = MakeParty(GetParam(), false, 60);
    TRawPeer silent(Address());
    silent.OwnName("com.Ulmet.Zelto." + Identity("DEAF"));
    std::atomic<int> code{99};
    party::THandler handler([&](const std::string&, std::string&) {
        TZeltoIpc::TMethodSettings settings{Identity("DEAF"), -1};
        std::string result;
        code = tested->CallMethod("NEVER_ANSWERED", "", result, settings);
        return 0;
    });
    tested->AddMethodHandler("RELAY", &handler);
    tested->Init(Identity("RELAYER"));
    tested->Run();
    TRawPeer caller(Address());
    const std::string target = Identity("RELAYER");
    caller.Post({"com.Ulmet.Zelto." + target, "/com/Ulmet/Zelto/" + target, "com.Ulmet.Zelto.Zelto", "RELAY"},
                {""});
    EXPECT_TRUE(silent.WaitFor([](const auto& message) { return message.member == "NEVER_ANSWERED"; }));
    ExpectPromptStop(*tested);
    EXPECT_EQ(code, -1);
}

TEST_P(StopWithThreads, WaitsForAHandlerInProgress) {
    const TParty tested = MakeParty(GetParam());
    TGate entered;
    TGate leave;
    std::atomic<bool> left{false};
    party::THandler handler([&](const std::string&, std::string&) {
        entered.Open();
        leave.Wait();
        left = true;
        return 0;
    });
    tested->AddMethodHandler("SLOW", &handler);
    tested->Init(Identity("SLOW"));
    tested->Run();
    TRawPeer caller(Address());
    const std::string target = Identity("SLOW");
    caller.Post({"com.Ulmet.Zelto." + target, "/com/Ulmet/Zelto/" + target, "com.Ulmet.Zelto.Zelto", "SLOW"},
                {""});
    ASSERT_TRUE(entered.Wait());
    auto stopping = std::async(std::launch::async, [&] { tested->Stop(); });
    EXPECT_EQ(stopping.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    leave.Open();
    EXPECT_EQ(stopping.wait_for(STOP_BOUND), std::future_status::ready);
    EXPECT_TRUE(left);
}

TEST_P(StopWithThreads, DoesNotWaitForItselfInAListener) {
    const TParty tested = MakeParty(GetParam());
    TGate stopped;
    party::TListener listener([&](const std::string& name, const std::string&) {
        if (name == "STOP_NOW") {
            tested->Stop();
            stopped.Open();
        }
    });
    tested->AddEventLstener("", &listener);
    tested->Init(Identity("LISTENER"));
    tested->Run();
    tested->SendEvent("STOP_NOW", "");
    EXPECT_TRUE(stopped.Wait(STOP_BOUND));
    tested->RemoveEventLstener(&listener);
}

TEST_P(StopWithThreads, ServesAgainWhenAHandlerStopsAndRuns) {
    const TParty tested = MakeParty(GetParam());
    party::THandler restart([&](const std::string&, std::string& result) {
        tested->Stop();
        tested->Run();
        result = "restarted";
        return 1;
    });
    party::THandler plain([](const std::string&, std::string& result) {
        result = "plain";
        return 2;
    });
    tested->AddMethodHandler("RESTART", &restart);
    tested->AddMethodHandler("PLAIN", &plain);
    tested->Init(Identity("RESTARTED"));
    tested->SetMethodServerId("*", Identity("RESTARTED"));
    tested->Run();
    std::string result;
    EXPECT_EQ(tested->CallMethod("RESTART", "", result), 1);
    EXPECT_EQ(tested->CallMethod("PLAIN", "", result), 2);
    EXPECT_EQ(result, "plain");
    ExpectPromptStop(*tested);
}

TEST_P(StopWithThreads, MayBeCalledByTwoThreadsAtOnce) {
    const TParty tested = MakeParty(GetParam());
    tested->Init(Identity("TWICE"));
    tested->Run();
    auto first = std::async(std::launch::async, [&] { tested->Stop(); });
    auto second = std::async(std::launch::async, [&] { tested->Stop(); });
    EXPECT_EQ(first.wait_for(STOP_BOUND), std::future_status::ready);
    EXPECT_EQ(second.wait_for(STOP_BOUND), std::future_status::ready);
}

class TSeenParty : public TZeltoDBus {
public:
    ~TSeenParty() override { TZeltoDBus::Stop(); }
    using TZeltoDBus::running;
};

// It used to wait for the threads of a run that had begun while it was about to take those of its own.
TEST(Stop, ReturnsWhileAnotherThreadStartsThePartyAgain) {
    constexpr int ROUNDS = 1000;
    constexpr std::chrono::seconds BOUND{60};
    TSeenParty tested;
    tested.Init("STARTED_AGAIN");
    std::atomic<bool> isOver{false};
    std::thread starting([&] {
        while (!isOver) {
            if (!tested.running) {
                tested.Run();
            }
        }
    });
    auto stopping = std::async(std::launch::async, [&] {
        for (int round = 0; round < ROUNDS && !isOver; ++round) {
            while (!tested.running) {
                std::this_thread::yield();
            }
            tested.Stop();
        }
    });
    EXPECT_EQ(std::future_status::ready, stopping.wait_for(BOUND));
    isOver = true;
    starting.join();
    tested.Stop(); // ends one that waits
}

// exit() runs the static destructors, and with them Stop, on the dispatch thread whose callback called it.
TEST(Exit, FromACallbackEndsTheProcess) {
    support::TChildProcess::TOptions options;
    // The callback holds the listeners' lock when exit() destroys it: there is no other way to leave.
    options.environment = {{"TSAN_OPTIONS", "report_destroy_locked=0"}};
    support::TChildProcess child({EXIT_IN_CALLBACK_PATH}, options);
    EXPECT_EQ(child.WaitForExit(), std::optional<int>(5)) << child.Errors();
}

TEST(Exit, FromACallbackThatHasRestartedItsPartyEndsTheProcess) {
    support::TChildProcess::TOptions options;
    options.environment = {{"TSAN_OPTIONS", "report_destroy_locked=0"}};
    support::TChildProcess child({EXIT_IN_CALLBACK_PATH, "renamed"}, options);
    EXPECT_EQ(child.WaitForExit(), std::optional<int>(5)) << child.Errors();
}

} // namespace
