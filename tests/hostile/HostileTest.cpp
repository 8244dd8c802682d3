// Whatever a neighbour on the bus does, the gateway answers its applications rightly and in time, and nothing
// of the attack stays when it is over. How long the answers take is measured elsewhere.

#include "hostile/Scene.h"

#include "support/Eventually.h"

#include <gtest/gtest.h>

namespace {

using namespace hostile;

// Generous: only a hang meets it, also with sanitizers on a busy machine.
constexpr int TIMEOUT_SECONDS = 30;
constexpr int PAUSE_US = 1000;
constexpr int WATCH_SECONDS = 120;
// The attacks are paced: a flood that is faster than the gateway fills the queues of the bus, which then
// refuses everybody's calls. How fast that is depends on the machine.

#ifdef ZELTO_SANITIZED
constexpr bool MEMORY_COUNTS = false; // they keep what was freed
constexpr uint32_t CALLS = 50;        // of each application in each phase
#else
constexpr bool MEMORY_COUNTS = true;
constexpr uint32_t CALLS = 300;
#endif
// What the largest texts leave behind in the allocator.
constexpr std::size_t ALLOWED_KIB = 4096;

class UnderAttack : public testing::TestWithParam<const char*> {
protected:
    TScene scene{TCast::LIBRARY, TIMEOUT_SECONDS, PAUSE_US};

    void ExpectService(const std::string& when) {
        const TSpan span = scene.Watch(CALLS, WATCH_SECONDS);
        EXPECT_GE(span.calls, APPLICATIONS * CALLS) << when;
        EXPECT_EQ(span.failures, 0U) << when;
        EXPECT_EQ(span.wrong, 0U) << when << ": " << scene.FirstFault();
        EXPECT_EQ(scene.FindDead(), "") << when;
    }

    void ExpectNothingStays(const std::vector<TResources>& before) {
        std::vector<TResources> now;
        EXPECT_TRUE(support::Eventually([&] {
            now = scene.Resources();
            bool isBack = true;
            for (std::size_t i = 0; i < now.size(); ++i) {
                isBack = isBack && now[i].descriptors == before[i].descriptors &&
                         now[i].threads == before[i].threads;
            }
            return isBack;
        }));
        for (std::size_t i = 0; MEMORY_COUNTS && i < now.size(); ++i) {
            EXPECT_LE(now[i].residentKib, before[i].residentKib + ALLOWED_KIB) << "process " << i;
        }
    }
};

TEST_P(UnderAttack, EveryRequestIsAnsweredRightlyAndNothingStays) {
    ExpectService("before");
    const std::vector<TResources> before = scene.Resources();
    scene.BeginAttack(GetParam(), TPace::PACED);
    ExpectService("under attack");
    scene.EndAttack();
    ExpectService("after");
    ExpectNothingStays(before);
    EXPECT_EQ(scene.End(), "");
}

INSTANTIATE_TEST_SUITE_P(Each, UnderAttack,
                         testing::Values("calls", "calls_without_reply", "calls_to_unique_names", "signals",
                                         "signals_to_unique_names", "wrong_types", "large_texts",
                                         "descriptors", "unasked_replies", "subscriber_that_never_reads",
                                         "connections_opened_and_dropped"),
                         [](const auto& each) { return std::string(each.param); });

// Where no policy forbids it, the calls that reach a thief are lost, but nothing else is.
TEST(TheftOfTheName, IsSurvivedAndTheNameComesBack) {
    constexpr int SHORT_TIMEOUT_SECONDS = 1;
    constexpr uint32_t ROBBED_CALLS = 20; // each may take that long
    TScene scene(TCast::LIBRARY, SHORT_TIMEOUT_SECONDS, PAUSE_US);
    scene.BeginAttack("thief_of_the_name", TPace::PACED);
    const TSpan robbed = scene.Watch(ROBBED_CALLS, WATCH_SECONDS);
    EXPECT_EQ(robbed.wrong, 0U) << scene.FirstFault();
    scene.EndAttack();
    (void)scene.Watch(ROBBED_CALLS, WATCH_SECONDS); // calls that the thief got still run into their time-out
    const TSpan after = scene.Watch(CALLS, WATCH_SECONDS);
    EXPECT_GE(after.calls, APPLICATIONS * CALLS);
    EXPECT_EQ(after.failures, 0U);
    EXPECT_EQ(scene.FindDead(), "");
    EXPECT_EQ(scene.End(), "");
}

} // namespace
