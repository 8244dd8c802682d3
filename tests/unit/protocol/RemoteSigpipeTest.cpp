// A peer that has closed and reset the connection before the request is sent: the send fails with a broken
// pipe. To make that certain this program stands between the library and connect().
#include "support/LogSpy.h"
#include "support/TcpPeer.h"
#include "utils/SigpipeMask.h"
#include "zelto/TZeltoApplication.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>

#include <dlfcn.h>

namespace {

std::atomic<bool> waitForReset{false};
std::atomic<bool> seesSigpipe{false};

void AwaitReset(int connection) {
    pollfd waiting{connection, 0, 0}; // errors and hang-ups are always reported
    ::poll(&waiting, 1, 10000);
}

void CloseThenReset(int connection) {
    ::shutdown(connection, SHUT_WR);
    const linger reset{1, 0};
    ::setsockopt(connection, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
}

bool IsPending(int number) {
    sigset_t pending;
    ::sigpending(&pending);
    return ::sigismember(&pending, number) == 1;
}

bool IsBlocked(int number) {
    sigset_t blocked;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return ::sigismember(&blocked, number) == 1;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int connect(int fd, const sockaddr* address,
                                                              socklen_t length) {
    static const auto next = reinterpret_cast<decltype(&::connect)>(::dlsym(RTLD_NEXT, "connect"));
    const int result = next(fd, address, length);
    if (waitForReset) {
        AwaitReset(fd);
    }
    return result;
}

namespace {

class RemoteSigpipe : public testing::Test {
protected:
    RemoteSigpipe() { waitForReset = true; }
    ~RemoteSigpipe() override { waitForReset = false; }

    void ExchangeWithClosedPeer() {
        support::TTcpPeer peer(CloseThenReset);
        std::string response = "before";
        EXPECT_TRUE(
            TZeltoApplication::GetInstance().PerformRemoteRequest("{}", peer.Address(), response, nullptr));
        EXPECT_EQ(response, "before");
        EXPECT_EQ(LogSpy::Count(3, "\"Could not send the request to " + peer.Address() +
                                       ":42042. Sent only -1 out of 2\""),
                  1U)
            << LogSpy::Dump();
    }
};

TEST_F(RemoteSigpipe, DoesNotReachTheProcess) { // whose default action would be to end here
    ExchangeWithClosedPeer();
    EXPECT_FALSE(IsPending(SIGPIPE));
    EXPECT_FALSE(IsBlocked(SIGPIPE));
}

TEST_F(RemoteSigpipe, DoesNotReachAHandlerOfTheProcess) {
    seesSigpipe = false;
    const auto before = std::signal(SIGPIPE, [](int) { seesSigpipe = true; });
    ExchangeWithClosedPeer();
    std::signal(SIGPIPE, before);
    EXPECT_FALSE(seesSigpipe);
}

TEST_F(RemoteSigpipe, StaysIgnoredWhereItWasIgnored) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    ExchangeWithClosedPeer();
    EXPECT_EQ(std::signal(SIGPIPE, before), SIG_IGN);
}

TEST(SigpipeMask, LeavesASignalPendingThatWasPendingBefore) {
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    ::pthread_kill(::pthread_self(), SIGPIPE);
    { const zelto::TSigpipeMask mask; }
    EXPECT_TRUE(IsPending(SIGPIPE));
    EXPECT_TRUE(IsBlocked(SIGPIPE));
    int taken = 0;
    ::sigwait(&set, &taken);
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

TEST(SigpipeMask, TakesAwayTheSignalThatWasRaisedUnderIt) {
    {
        const zelto::TSigpipeMask mask;
        ::pthread_kill(::pthread_self(), SIGPIPE);
        EXPECT_TRUE(IsPending(SIGPIPE));
    }
    EXPECT_FALSE(IsPending(SIGPIPE));
}

} // namespace
