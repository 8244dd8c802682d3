#include "zelto/ZeltoGenericUtils.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>

#include <pthread.h>

using namespace ZeltoGenericUtils;

namespace {

// Sets the time zone of the process for one test.
class TimeToLocalTimeStringIn : public testing::Test {
protected:
    ~TimeToLocalTimeStringIn() override {
        ::unsetenv("TZ");
        ::tzset();
    }

    static void SetZone(const std::string& zone) { ::setenv("TZ", zone.c_str(), 1); }

    static constexpr long MORNING = 1794735000; // 15 November 2026, 09:30 UTC
};

TEST_F(TimeToLocalTimeStringIn, UtcIsWrittenWithItsName) {
    SetZone("UTC0");
    EXPECT_EQ(TimeToLocalTimeString(MORNING), "Sun, 15 Nov 2026 09:30:00 UTC");
    EXPECT_EQ(TimeToLocalTimeString(0), "Thu, 01 Jan 1970 00:00:00 UTC");
}

TEST_F(TimeToLocalTimeStringIn, AnotherZoneShiftsTheTime) {
    SetZone("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(TimeToLocalTimeString(MORNING), "Sun, 15 Nov 2026 04:30:00 EST");
    EXPECT_EQ(TimeToLocalTimeString(MORNING - 60L * 60 * 24 * 60), "Wed, 16 Sep 2026 05:30:00 EDT");
}

TEST_F(TimeToLocalTimeStringIn, AChangedZoneHoldsFromTheNextCallOn) {
    SetZone("UTC0");
    EXPECT_EQ(TimeToLocalTimeString(0), "Thu, 01 Jan 1970 00:00:00 UTC");
    SetZone("CET-1");
    EXPECT_EQ(TimeToLocalTimeString(0), "Thu, 01 Jan 1970 01:00:00 CET");
}

TEST_F(TimeToLocalTimeStringIn, TimesBeforeTheEpochAreNegative) {
    SetZone("UTC0");
    EXPECT_EQ(TimeToLocalTimeString(-1), "Wed, 31 Dec 1969 23:59:59 UTC");
}

TEST_F(TimeToLocalTimeStringIn, FortyNineBytesFit) {
    const std::string name(23, 'Z');
    SetZone(name + "0");
    EXPECT_EQ(TimeToLocalTimeString(0), "Thu, 01 Jan 1970 00:00:00 " + name);
}

TEST_F(TimeToLocalTimeStringIn, FiftyBytesGiveTheEmptyText) {
    SetZone(std::string(24, 'Z') + "0");
    EXPECT_EQ(TimeToLocalTimeString(0), "");
}

TEST_F(TimeToLocalTimeStringIn, ATimeOutsideTheCalendarGivesTheEmptyText) {
    if (sizeof(long) == 4) {
        GTEST_SKIP() << "every 32-bit time is in the calendar";
    }
    SetZone("UTC0");
    EXPECT_EQ(TimeToLocalTimeString(LONG_MAX), "");
}

TEST(GetSystemUpTime, AgreesWithTheKernel) {
    double before = 0;
    std::ifstream("/proc/uptime") >> before;
    const long upTime = GetSystemUpTime();
    double after = 0;
    std::ifstream("/proc/uptime") >> after;
    // The two sources may round to different sides.
    EXPECT_GE(upTime, static_cast<long>(before) - 1);
    EXPECT_LE(upTime, static_cast<long>(after) + 1);
}

class PThreadCondInitTest : public testing::Test {
protected:
    PThreadCondInitTest() { PThreadCondInit(cond); }
    ~PThreadCondInitTest() override {
        pthread_cond_destroy(&cond);
        pthread_mutex_destroy(&mutex);
    }

    int WaitUntil(const timespec& end) {
        pthread_mutex_lock(&mutex);
        const int result = pthread_cond_timedwait(&cond, &mutex, &end);
        pthread_mutex_unlock(&mutex);
        return result;
    }

    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t cond;
};

// A time of the monotonic clock lies decades in the past of the wall clock, so the wait could not tell the
// time that has come from one that has not if it measured by the wall clock.
TEST_F(PThreadCondInitTest, TimedWaitsEndByTheMonotonicClock) {
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_nsec += 20'000'000;
    if (end.tv_nsec >= 1'000'000'000) {
        end.tv_nsec -= 1'000'000'000;
        ++end.tv_sec;
    }
    EXPECT_EQ(WaitUntil(end), ETIMEDOUT);
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    EXPECT_TRUE(now.tv_sec > end.tv_sec || (now.tv_sec == end.tv_sec && now.tv_nsec >= end.tv_nsec));
}

TEST_F(PThreadCondInitTest, ASignalWakesTheWaiter) {
    struct TShared {
        pthread_mutex_t& mutex;
        pthread_cond_t& cond;
        bool woken;
    } shared{mutex, cond, false};
    const auto wake = [](void* argument) -> void* {
        auto& state = *static_cast<TShared*>(argument);
        pthread_mutex_lock(&state.mutex);
        state.woken = true;
        pthread_cond_signal(&state.cond);
        pthread_mutex_unlock(&state.mutex);
        return nullptr;
    };
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += 30;
    pthread_mutex_lock(&mutex);
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, wake, &shared), 0);
    int result = 0;
    while (!shared.woken && result == 0) {
        result = pthread_cond_timedwait(&cond, &mutex, &end);
    }
    pthread_mutex_unlock(&mutex);
    pthread_join(thread, nullptr);
    EXPECT_EQ(result, 0);
}

} // namespace
