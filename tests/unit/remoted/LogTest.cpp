// Lines that peers can bring about are bounded.

#include "tools/zelto-remoted/Log.h"

#include <gtest/gtest.h>

using remoted::TLineLimit;
using std::chrono::milliseconds;

namespace {

const TLineLimit::TTime START = std::chrono::steady_clock::now();

} // namespace

TEST(LineLimit, PassesOneLineInASecond) {
    TLineLimit limit;
    EXPECT_EQ(limit.Take("first", START), "first");
    EXPECT_EQ(limit.Take("second", START), "");
    EXPECT_EQ(limit.Take("third", START + milliseconds(999)), "");
}

TEST(LineLimit, TellsWithTheNextLineHowManyWereLeftOut) {
    TLineLimit limit;
    (void)limit.Take("first", START);
    (void)limit.Take("second", START);
    (void)limit.Take("third", START + milliseconds(999));
    EXPECT_EQ(limit.Take("fourth", START + milliseconds(1000)), "fourth (2 lines left out)");
    EXPECT_EQ(limit.Take("fifth", START + milliseconds(1500)), "");
    EXPECT_EQ(limit.Take("sixth", START + milliseconds(2500)), "sixth (1 lines left out)");
}

TEST(LineLimit, SaysNothingOfLinesLeftOutWhereThereAreNone) {
    TLineLimit limit;
    (void)limit.Take("first", START);
    EXPECT_EQ(limit.Take("second", START + milliseconds(1000)), "second");
}

TEST(LineLimit, LogsWhatItPasses) {
    TLineLimit limit;
    testing::internal::CaptureStderr();
    limit.Log("failed: ", "first", START);
    limit.Log("failed: ", "second", START);
    limit.Log("failed: ", "third", START + milliseconds(1000));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "zelto-remoted: failed: first\nzelto-remoted: failed: third (1 lines left out)\n");
}
