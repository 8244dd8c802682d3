// Makes every allocation of a request fail, one after the other.
#ifndef ZELTO_TESTS_WITHOUT_MEMORY_H
#define ZELTO_TESTS_WITHOUT_MEMORY_H

#include "FailingMemory.h"

#include "support/Eventually.h"
#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>

namespace memory {

// What a request came to: its result and what it wrote, or how it failed.
using TOutcome = std::string;
// Returns its outcome, beginning with "0 " when it succeeded.
using TRequest = std::function<TOutcome()>;

inline TOutcome Try(const TRequest& request) {
    try {
        return request();
    } catch (const std::bad_alloc&) {
        return "bad_alloc";
    } catch (const std::runtime_error&) {
        return "runtime_error";
    }
}

inline bool HasSucceeded(const TOutcome& outcome) {
    return outcome.compare(0, 2, "0 ") == 0;
}

class TWithoutMemory {
public:
    // `expected` is the outcome when there is memory.
    TWithoutMemory(TRequest examined, TOutcome expectedOutcome)
        : request(std::move(examined)), expected(std::move(expectedOutcome)) {}

    // Fails the first allocation, then the second, and so on, until the request meets none that fails. A
    // request either fails or comes to what it always comes to; then it has released what it allocated, and
    // the next one succeeds.
    void Examine() {
        LogSpy::SetRecording(false);
        ASSERT_EQ(expected, Try(request)) << "with all the memory there is";
        level = Live();
        ExamineEach(ONCE);
        ExamineEach(FROM_THEN_ON);
        LogSpy::SetRecording(true);
    }

private:
    static constexpr std::size_t MOST_ALLOCATIONS = 2000;
    static constexpr std::chrono::milliseconds LEVEL_TIMEOUT{2000};

    void ExamineEach(TFailure failure) {
        std::size_t n = 1;
        while (ExamineOne(n, failure) && !testing::Test::HasFailure()) {
            ASSERT_LT(++n, MOST_ALLOCATIONS);
        }
        EXPECT_GT(n, 1U) << "nothing was allocated";
    }

    // False when no allocation failed. Nothing of the test's own is alive when blocks are counted.
    bool ExamineOne(std::size_t n, TFailure failure) {
        FailAt(n, failure);
        const bool isSound = IsSound(Try(request));
        const bool hasFailed = Stop();
        const bool isAsAlways = Try(request) == expected;
        const bool isLevel = support::Eventually([this] { return Live() <= level; }, LEVEL_TIMEOUT);
        EXPECT_TRUE(isSound) << "it succeeded with another outcome" << At(n, failure);
        EXPECT_TRUE(isAsAlways) << "the next one fails" << At(n, failure);
        EXPECT_TRUE(isLevel) << Live() - level << " blocks are left" << At(n, failure);
        return hasFailed;
    }

    bool IsSound(const TOutcome& outcome) const { return outcome == expected || !HasSucceeded(outcome); }

    static std::string At(std::size_t n, TFailure failure) {
        return " without allocation " + std::to_string(n) + (failure == ONCE ? "" : " and all after it");
    }

    const TRequest request;
    const TOutcome expected;
    long level = 0; // blocks in use between two requests
};

} // namespace memory

#endif
