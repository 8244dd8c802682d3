// Memory and descriptors stay where they are, however many calls are made, answered late or never answered.

#include "bus/Party.h"

#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/ProcessStats.h"
#include "support/RawPeer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <unistd.h>

namespace {

using party::MakeParty;
using party::TParty;
using support::TBusEnvironment;

const bool BUS_READY = TBusEnvironment::Register();

#ifdef ZELTO_SANITIZED
constexpr int ROUNDS = 5000; // the sanitizers keep freed memory: only the other properties hold
constexpr bool MEMORY_COUNTS = false;
#else
constexpr int ROUNDS = 100000;
constexpr bool MEMORY_COUNTS = true;
#endif
constexpr int WARM_UP = 1000;
constexpr std::size_t ALLOWED_KIB = 1024;

class Endurance : public testing::Test {
protected:
    Endurance() { LogSpy::SetRecording(false); }
    ~Endurance() override { LogSpy::SetRecording(true); }

    // Runs the step and compares what the process holds after the warm-up and at the end.
    template <typename TStep>
    static void Repeat(TStep step) {
        for (int round = 0; round < WARM_UP; ++round) {
            step(round);
        }
        const std::size_t residentBefore = support::ResidentKib(getpid());
        const std::size_t descriptorsBefore = support::OpenDescriptors(getpid());
        for (int round = WARM_UP; round < ROUNDS; ++round) {
            step(round);
        }
        const std::size_t resident = support::ResidentKib(getpid());
        std::printf("resident set: %zu KiB after %d rounds, %zu KiB after %d\n", residentBefore, WARM_UP,
                    resident, ROUNDS);
        EXPECT_EQ(support::OpenDescriptors(getpid()), descriptorsBefore);
        if (MEMORY_COUNTS) {
            EXPECT_LE(resident, residentBefore + ALLOWED_KIB);
        }
    }
};

// Both parties live in this process, so its resident set is that of both.
TEST_F(Endurance, CallsLeaveNothingBehind) {
    party::THandler echo([](const std::string& request, std::string& result) {
        result = request;
        return 0;
    });
    const TParty server = MakeParty();
    server->AddMethodHandler("ECHO", &echo);
    server->Init("ECHO_SERVER");
    server->Run();
    const TParty client = MakeParty();
    client->SetMethodServerId("*", "ECHO_SERVER");
    client->Init("ECHO_CLIENT");
    client->Run();
    Repeat([&](int round) {
        std::string result;
        const std::string request = std::to_string(round);
        ASSERT_EQ(client->CallMethod("ECHO", request, result), 0);
        ASSERT_EQ(result, request);
    });
}

// With a time-out of 0 every call ends before its answer comes, and every answer comes late.
TEST_F(Endurance, LateAnswersLeaveNothingBehind) {
    std::atomic<int> served{0};
    party::THandler late([&](const std::string&, std::string& result) {
        result.assign(100, 'x');
        ++served;
        return 0;
    });
    const TParty server = MakeParty();
    server->AddMethodHandler("LATE", &late);
    server->Init("LATE_SERVER");
    server->Run();
    const TParty client = MakeParty();
    client->Init("HASTY_CLIENT");
    client->Run();
    Repeat([&](int round) {
        TZeltoIpc::TMethodSettings settings{"LATE_SERVER", 0};
        std::string result;
        (void)client->CallMethod("LATE", "", result, settings);
        // The server is never more than a few calls behind: the bus allows a limited number of open calls.
        ASSERT_TRUE(support::Eventually([&] { return served > round - 50; }));
    });
}

} // namespace
