// A party that cannot start or be renamed for want of memory: it is as it was before, on the bus as well.

#include "WithoutMemory.h"
#include "bus/BusParty.h"

#include "support/LogSpy.h"
#include "support/ProcessStats.h"
#include "zelto/TZeltoApplication.h"

#include <functional>
#include <memory>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

// Longer than the names that replace them.
constexpr const char* FORMER = "A_PARTY_THAT_HAS_HAD_THIS_NAME_BEFORE";
constexpr const char* WATCHER = "A_PARTY_THAT_WATCHES_OTHERS";

// Fails the first allocation of a request, then the second, and so on, until none fails.
class StartWithoutMemory : public testing::Test {
protected:
    using TRequest = std::function<void()>;

    void SetUp() override {
        ASSERT_TRUE(BUS_READY);
        LogSpy::SetRecording(false);
    }
    void TearDown() override { LogSpy::SetRecording(true); }

    // `round` prepares, attempts and checks.
    void Examine(const std::function<void()>& round) {
        constexpr std::size_t MOST_ALLOCATIONS = 500;
        for (hasFailed = true; hasFailed && !HasFailure(); ++n) {
            ASSERT_LT(n, MOST_ALLOCATIONS);
            SCOPED_TRACE("without allocation " + std::to_string(n));
            round();
        }
        EXPECT_GT(n, 2U) << "nothing was allocated";
    }

    // Whether it has succeeded.
    bool Attempt(const TRequest& request) {
        memory::FailHereAt(n, memory::ONCE);
        const std::string outcome = memory::Try([&request] {
            request();
            return "0 ";
        });
        hasFailed = memory::Stop();
        return outcome == "0 ";
    }

protected:
    std::size_t n = 1;
    bool hasFailed = true;
};

TEST_F(StartWithoutMemory, LeavesNoConnectionOpen) {
    const std::size_t descriptors = OpenDescriptors(getpid());
    Examine([&] {
        (void)Attempt([] { TAccessParty().Init("SHORT_LIFE"); });
        EXPECT_EQ(descriptors, OpenDescriptors(getpid()));
    });
}

TEST_F(StartWithoutMemory, KeepsTheFormerNameOnly) {
    Examine([this] {
        TAccessParty party;
        party.Init(FORMER);
        if (!Attempt([&party] { party.Init("NEXT"); })) {
            EXPECT_EQ(FORMER, party.identity);
            EXPECT_EQ(BusName(FORMER), party.busName);
            EXPECT_TRUE(HasOwner(FORMER));
            EXPECT_FALSE(HasOwner("NEXT"));
        }
    });
}

// The name is refused by a bus that has just been started anew.
TEST_F(StartWithoutMemory, GetsTheFormerNameBackAfterTheBusWasLost) {
    Examine([this] {
        TAccessParty party;
        party.Init(FORMER);
        TBusEnvironment::Bus().Restart();
        EXPECT_FALSE(Attempt([&party] { party.Init("FORBIDDEN"); }));
        party.Run();
        EXPECT_TRUE(Eventually([] { return Answers(FORMER); }));
        party.Stop();
    });
}

TEST_F(StartWithoutMemory, WatchesAfterTheNextRun) {
    Examine([this] {
        TEventLog events;
        TAccessParty party;
        party.Configure({1, 10, true});
        party.AddEventLstener("", &events);
        party.Init(WATCHER);
        if (!Attempt([&party] { party.Run(); })) {
            EXPECT_NO_THROW(party.Run());
        }
        TRawPeer(BusAddress()).OwnName(BusName("ARRIVAL"));
        EXPECT_TRUE(events.WaitFor({"APP_CONNECTED", "ARRIVAL"}));
        party.Stop();
    });
}

// Initialize succeeds once in a process, so each attempt has one of its own. It says by its exit code what
// came of the attempt and of the one after it.
enum TAttempt { WAS_REPEATED = 0, CANNOT_BE_REPEATED = 1, HAS_NOT_FAILED = 2 };

TAttempt InitializeWithout(std::size_t n) {
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    memory::FailHereAt(n, memory::ONCE);
    const std::string outcome = memory::Try([&app] {
        app.Initialize("APPLICATION_WITHOUT_MEMORY");
        return "0 ";
    });
    if (!memory::Stop()) {
        return HAS_NOT_FAILED;
    }
    if (!memory::HasSucceeded(outcome)) {
        app.Initialize("APPLICATION_WITHOUT_MEMORY");
    }
    return Answers("APPLICATION_WITHOUT_MEMORY") ? WAS_REPEATED : CANNOT_BE_REPEATED;
}

int InChild(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        (void)alarm(20);
        _exit(body());
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(StartWithoutMemory, OfAnApplicationCanBeRepeated) {
    constexpr std::size_t MOST_ALLOCATIONS = 500;
    int attempt = WAS_REPEATED;
    for (; attempt == WAS_REPEATED && n < MOST_ALLOCATIONS; ++n) {
        attempt = InChild([this] { return InitializeWithout(n); });
    }
    EXPECT_EQ(HAS_NOT_FAILED, attempt) << "without allocation " << n - 1;
    EXPECT_GT(n, 20U) << "hardly anything was allocated";
}

} // namespace
