#include "ipc/DBusReconnect.h"
#include "support/Eventually.h"
#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <new>

using zelto::TReconnector;

namespace {

constexpr std::chrono::seconds BOUND{30};

TEST(Reconnector, TriesAgainAfterAnAttemptForWhichThereWasNoMemory) {
    std::promise<void> succeeded;
    std::atomic<int> attempts{0};
    TReconnector reconnector;
    reconnector.Start([&] {
        if (++attempts < 3) {
            throw std::bad_alloc();
        }
        succeeded.set_value();
        return true;
    });
    ASSERT_EQ(std::future_status::ready, succeeded.get_future().wait_for(BOUND));
    EXPECT_EQ(3, attempts);
    EXPECT_EQ(2U, LogSpy::Count(3, "\"std::bad_alloc\""));
}

// Until then it tries; afterwards it may be started again.
TEST(Reconnector, TriesUntilAnAttemptSucceeds) {
    std::promise<void> mayEnd;
    TReconnector reconnector;
    EXPECT_FALSE(reconnector.IsTrying());
    reconnector.Start([end = mayEnd.get_future().share()] {
        end.wait();
        return true;
    });
    EXPECT_TRUE(reconnector.IsTrying());
    mayEnd.set_value();
    EXPECT_TRUE(support::Eventually([&] { return !reconnector.IsTrying(); }));
}

} // namespace
