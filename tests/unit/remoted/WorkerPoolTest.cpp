// Jobs and the end of those who do them.

#include "tools/zelto-remoted/WorkerPool.h"

#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

using remoted::TWorkerPool;
using support::DEFAULT_TIMEOUT;
using support::Eventually;

TEST(WorkerPool, DoesEveryJob) {
    std::atomic<int> done{0};
    TWorkerPool pool(3);
    for (int index = 0; index < 100; ++index) {
        pool.Post([&done] { ++done; });
    }
    EXPECT_TRUE(Eventually([&done] { return done == 100; }));
}

TEST(WorkerPool, DoesJobsWhileOthersTakeLong) {
    std::promise<void> end;
    std::promise<void> done;
    TWorkerPool pool(2);
    pool.Post([&end] { end.get_future().wait(); });
    pool.Post([&done] { done.set_value(); });
    EXPECT_EQ(done.get_future().wait_for(DEFAULT_TIMEOUT), std::future_status::ready);
    end.set_value();
}

TEST(WorkerPool, DropsWaitingJobsWhenItIsStopped) {
    std::promise<void> begun;
    std::promise<void> end;
    std::atomic<bool> dropped{true};
    {
        TWorkerPool pool(1);
        pool.Post([&] {
            begun.set_value();
            end.get_future().wait();
        });
        pool.Post([&dropped] { dropped = false; });
        begun.get_future().wait();
        EXPECT_FALSE(pool.Stop(std::chrono::milliseconds(1)));
        pool.Post([&dropped] { dropped = false; });
        end.set_value();
        EXPECT_TRUE(pool.Stop(DEFAULT_TIMEOUT));
    }
    EXPECT_TRUE(dropped);
}
