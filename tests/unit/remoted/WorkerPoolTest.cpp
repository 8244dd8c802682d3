// Jobs and the end of those who do them.

#include "tools/zelto-remoted/WorkerPool.h"

#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <future>
#include <system_error>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

using remoted::TWorkerPool;
using support::DEFAULT_TIMEOUT;
using support::Eventually;

namespace {

// There is room for the stack of one more thread, not for those of two.
class TRoomForOneThread {
public:
    TRoomForOneThread() {
        (void)pthread_getattr_default_np(&formerStack);
        pthread_attr_t large;
        (void)pthread_attr_init(&large);
        (void)pthread_attr_setstacksize(&large, STACK);
        (void)pthread_setattr_default_np(&large);
        (void)pthread_attr_destroy(&large);
        (void)getrlimit(RLIMIT_AS, &formerSpace);
        const rlimit space{AddressSpace() + STACK / 2 * 3, formerSpace.rlim_max};
        (void)setrlimit(RLIMIT_AS, &space);
    }
    ~TRoomForOneThread() {
        (void)setrlimit(RLIMIT_AS, &formerSpace);
        (void)pthread_setattr_default_np(&formerStack);
        (void)pthread_attr_destroy(&formerStack);
    }
    TRoomForOneThread(const TRoomForOneThread&) = delete;
    TRoomForOneThread& operator=(const TRoomForOneThread&) = delete;

private:
    static constexpr std::size_t STACK = 512U << 20U;

    static rlim_t AddressSpace() {
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        return pages * static_cast<rlim_t>(getpagesize());
    }

    pthread_attr_t formerStack;
    rlimit formerSpace;
};

} // namespace

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

TEST(WorkerPool, ThrowsWhenItCannotHaveAllItsThreads) {
#ifdef ZELTO_EMULATED
    GTEST_SKIP() << "an emulated process has no limit of its address space";
#endif
    const TRoomForOneThread room;
    try {
        const TWorkerPool one(1);
    } catch (const std::system_error& error) {
        GTEST_SKIP() << "there is no room for one thread either: " << error.what();
    }
    EXPECT_THROW(TWorkerPool(2), std::system_error);
}
