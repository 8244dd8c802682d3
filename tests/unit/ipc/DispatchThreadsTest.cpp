#include "PlainIpc.h"

#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>

using namespace plain;
using support::Eventually;

namespace {

// Its threads run until the running flag is cleared, as those of a transport do.
class TLoopingIpc : public TPlainIpc {
public:
    TLoopingIpc() {
        SetBody([this] {
            ++entered;
            while (running) {
                std::this_thread::yield();
            }
            ++left;
        });
    }
    ~TLoopingIpc() override { TZeltoIpc::Stop(); }

    bool HaveEntered(int count) {
        return Eventually([&] { return entered == count; });
    }

    std::atomic<int> entered{0};
    std::atomic<int> left{0};
};

} // namespace

class ThreadCount : public testing::TestWithParam<int32_t> {};

TEST_P(ThreadCount, IsHowManyThreadsRunStarts) {
    TLoopingIpc ipc;
    ipc.Configure({GetParam(), 60, false});
    ipc.Run();
    EXPECT_TRUE(ipc.running);
    EXPECT_EQ(static_cast<size_t>(std::max(GetParam(), 0)), ipc.threads.size());
    EXPECT_TRUE(ipc.HaveEntered(std::max(GetParam(), 0)));
    ipc.Stop();
    EXPECT_FALSE(ipc.running);
    EXPECT_EQ(std::max(GetParam(), 0), ipc.left);
    EXPECT_TRUE(ipc.threads.empty());
}

INSTANTIATE_TEST_SUITE_P(Counts, ThreadCount, testing::Values(-1, 0, 1, 2, 8));

TEST(Run, StartsOneThreadByDefault) {
    TLoopingIpc ipc;
    ipc.Run();
    EXPECT_EQ(1U, ipc.threads.size());
    EXPECT_TRUE(ipc.HaveEntered(1));
}

TEST(Run, AppendsItsThreadsToThoseOfAnEarlierRun) {
    TLoopingIpc ipc;
    ipc.Run();
    ipc.Run();
    EXPECT_EQ(2U, ipc.threads.size());
    EXPECT_TRUE(ipc.HaveEntered(2));
    ipc.Stop();
    EXPECT_EQ(2, ipc.left);
}

TEST(Run, StartsAgainAfterStop) {
    TLoopingIpc ipc;
    ipc.Run();
    ipc.Stop();
    ipc.Run();
    EXPECT_TRUE(ipc.running);
    EXPECT_TRUE(ipc.HaveEntered(2));
}

TEST(Run, SetsTheRunningFlagBeforeAnyThreadLooksAtIt) {
    for (int turn = 0; turn < 50; ++turn) {
        TPlainIpc ipc;
        std::atomic<bool> sawItSet{false};
        ipc.SetBody([&] { sawItSet = ipc.running.load(); });
        ipc.Run();
        EXPECT_TRUE(Eventually([&] { return sawItSet.load(); }));
        ipc.Stop();
    }
}

TEST(Stop, DoesNothingWhenNothingRuns) {
    TPlainIpc ipc;
    ipc.Stop();
    ipc.Stop();
    EXPECT_FALSE(ipc.running);
}

TEST(Stop, JoinsThreadsThatHaveEndedThemselves) {
    TPlainIpc ipc;
    ipc.Configure({4, 60, false});
    ipc.Run();
    ipc.Stop();
    EXPECT_TRUE(ipc.threads.empty());
}

TEST(Stop, OnADispatchThreadDoesNotWaitForThatThread) {
    TPlainIpc ipc;
    std::atomic<bool> stopped{false};
    ipc.SetBody([&] {
        ipc.Stop();
        stopped = true;
    });
    ipc.Run();
    EXPECT_TRUE(Eventually([&] { return stopped.load(); }));
    EXPECT_FALSE(ipc.running);
}

TEST(Stop, MayBeCalledByTwoThreadsAtOnce) {
    for (int turn = 0; turn < 20; ++turn) {
        TLoopingIpc ipc;
        ipc.Configure({2, 60, false});
        ipc.Run();
        std::thread other([&] { ipc.Stop(); });
        ipc.Stop();
        other.join();
        EXPECT_EQ(2, ipc.left + 0);
    }
}

TEST(Destructor, StopsTheThreads) {
    auto ipc = std::make_unique<TLoopingIpc>();
    std::atomic<int> left{0};
    ipc->SetBody([&left, &ipc = *ipc] {
        while (ipc.running) {
            std::this_thread::yield();
        }
        ++left;
    });
    ipc->Configure({3, 60, false});
    ipc->Run();
    ipc.reset();
    EXPECT_EQ(3, left);
}
