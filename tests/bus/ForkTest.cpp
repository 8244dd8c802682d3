// Processes that fork: before they have a connection, and after.

#include "BusParty.h"

#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

thread_local std::function<void()> inEventFd;

// The first of its threads does something instead of serving.
class TStartingParty : public TAccessParty {
public:
    explicit TStartingParty(std::function<void()> threadBody) : body(std::move(threadBody)) {}
    ~TStartingParty() override { TZeltoDBus::Stop(); }

protected:
    void MainLoop() override {
        if (!isEntered.exchange(true)) {
            body();
        }
    }

private:
    std::atomic<bool> isEntered{false};
    const std::function<void()> body;
};

// Runs the body in a child, which says by its exit code whether all was well there.
int RunInChild(const std::function<bool()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        (void)alarm(20);
        try {
            _exit(body() ? 0 : 1);
        } catch (...) {
            _exit(2); // the child must not go on with the tests of its parent
        }
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

template <typename TBody>
bool ThrowsRuntimeError(TBody body) {
    try {
        body();
    } catch (const std::runtime_error&) {
        return true;
    }
    return false;
}

int32_t CallEcho(TZeltoIpc& party, const std::string& server, std::string& result) {
    TZeltoIpc::TMethodSettings settings{server, 10};
    return party.CallMethod("ECHO", "request", result, settings);
}

} // namespace

extern "C" __attribute__((visibility("default"))) int eventfd(unsigned value, int flags) {
    if (inEventFd) {
        inEventFd();
    }
    return static_cast<int>(syscall(SYS_eventfd2, value, flags));
}

// A program that becomes a daemon forks after the shared instance has been made and before it is used.
TEST(ForkBeforeTheFirstUse, LeavesTheChildFreeToServeAndToCall) {
    ASSERT_TRUE(BUS_READY);
    const TRunResult run = RunProgram({DAEMON_PROBE_PATH});
    EXPECT_EQ(0, run.exitCode) << run.errors;
}

TEST(ForkBeforeTheFirstUse, LeavesTheChildAPartyThatIsNotConnected) {
    const TServingParty serving("SERVER");
    TAccessParty party;
    EXPECT_EQ(0, RunInChild([&] {
                  std::string result;
                  return CallEcho(party, "SERVER", result) == 0 && result == "request";
              }));
}

class ForkedChild : public testing::Test {
protected:
    ForkedChild() {
        caller.Configure({1, 10, false});
        caller.Init("CALLER");
        caller.Run();
        std::string result;
        EXPECT_EQ(0, CallEcho(caller, "SERVER", result));
    }
    ~ForkedChild() override { caller.Stop(); }

    // The parent's connections are as they were: both carry on.
    void ExpectParentUndisturbed() {
        for (const char* request : {"one", "two", "three"}) {
            TZeltoIpc::TMethodSettings settings{"SERVER", 10};
            std::string result;
            EXPECT_EQ(0, caller.CallMethod("ECHO", request, result, settings));
            EXPECT_EQ(request, result);
        }
        TRawPeer client(BusAddress());
        const auto answer = client.Call(PartyTarget("CALLER", "UNKNOWN"), TRawArguments{});
        ASSERT_TRUE(answer);
        EXPECT_EQ((TRawArguments{std::string(), int32_t{-1}}), answer->arguments);
    }

    const TServingParty serving{"SERVER"};
    TAccessParty caller;
};

TEST_F(ForkedChild, MayNotUseTheParentsConnection) {
    EXPECT_EQ(0, RunInChild([&] {
                  std::string result;
                  return ThrowsRuntimeError([&] { CallEcho(caller, "SERVER", result); }) &&
                         ThrowsRuntimeError([&] { caller.SendEvent("E", ""); }) &&
                         ThrowsRuntimeError([&] { caller.Init("CHILD"); }) &&
                         ThrowsRuntimeError([&] { caller.Run(); });
              }));
    ExpectParentUndisturbed();
    EXPECT_TRUE(HasOwner("CALLER"));
}

TEST_F(ForkedChild, MayStopAndDestroyItsCopyOfTheParty) {
    auto* const party = new TAccessParty();
    party->Init("OTHER");
    party->Run();
    EXPECT_EQ(0, RunInChild([&] {
                  caller.Stop();
                  delete party;
                  return true;
              }));
    ExpectParentUndisturbed();
    EXPECT_TRUE(HasOwner("OTHER"));
    delete party;
}

// Another thread was at work in the party and holds its lock, which nobody releases in the child.
TEST_F(ForkedChild, OfABusyPartyFailsInsteadOfWaiting) {
    TAccessParty party;
    party.Init("OTHER");
    std::promise<void> isBusy;
    std::promise<void> mayGoOn;
    std::thread running([&] {
        inEventFd = [&] {
            isBusy.set_value();
            mayGoOn.get_future().wait();
        };
        party.Run();
        inEventFd = nullptr;
    });
    isBusy.get_future().wait();
    EXPECT_EQ(0, RunInChild([&] { return ThrowsRuntimeError([&] { party.SendEvent("E", ""); }); }));
    mayGoOn.set_value();
    running.join();
}

// As before, but the lock is that of all parties: one was starting its threads, of which the first forks.
TEST_F(ForkedChild, OfAStartingPartyMayDestroyOthers) {
    constexpr int MANY_THREADS = 300;
    auto* const other = new TAccessParty();
    other->Init("OTHER");
    int code = -1;
    TStartingParty starting([&] {
        code = RunInChild([other] {
            delete other;
            return true;
        });
    });
    starting.Configure({MANY_THREADS, 10, false});
    starting.Run();
    starting.Stop();
    EXPECT_EQ(0, code);
    delete other;
}

TEST_F(ForkedChild, OfACallbackMayExit) {
    for (const char* callback : {"event", "method", "listener"}) {
        const TRunResult run = RunProgram({FORK_IN_CALLBACK_PATH, callback});
        EXPECT_EQ(0, run.exitCode) << callback << ": " << run.errors;
    }
}

TEST_F(ForkedChild, MayUseAPartyOfItsOwn) {
    EXPECT_EQ(0, RunInChild([&] {
                  TAccessParty party;
                  std::string result;
                  return CallEcho(party, "SERVER", result) == 0;
              }));
    ExpectParentUndisturbed();
}
