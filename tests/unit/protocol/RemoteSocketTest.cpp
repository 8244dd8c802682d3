// The options of the socket of an exchange. They show in nothing but in how long it takes to give up a peer,
// so this program stands between the library and connect() and looks at them.
#include "support/TcpPeer.h"
#include "zelto/TZeltoApplication.h"

#include <gtest/gtest.h>

#include <atomic>

#include <dlfcn.h>
#include <netinet/tcp.h>

namespace {

std::atomic<int> synRetransmissions{-1};
std::atomic<int> addressReuse{-1};

int Option(int fd, int level, int name) {
    int value = -1;
    socklen_t size = sizeof(value);
    ::getsockopt(fd, level, name, &value, &size);
    return value;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int connect(int fd, const sockaddr* address,
                                                              socklen_t length) {
    static const auto next = reinterpret_cast<decltype(&::connect)>(::dlsym(RTLD_NEXT, "connect"));
    synRetransmissions = Option(fd, IPPROTO_TCP, TCP_SYNCNT);
    addressReuse = Option(fd, SOL_SOCKET, SO_REUSEADDR);
    return next(fd, address, length);
}

namespace {

class RemoteSocket : public testing::Test {
protected:
    void SetUp() override {
        support::TTcpPeer peer(support::Frame("{}"));
        std::string response;
        ASSERT_TRUE(
            TZeltoApplication::GetInstance().PerformRemoteRequest("{}", peer.Address(), response, nullptr));
        ASSERT_EQ(response, "{}");
    }
};

TEST_F(RemoteSocket, GivesUpAPeerThatDoesNotAnswerAfterOneRetransmission) {
    EXPECT_EQ(synRetransmissions, 1);
}

TEST_F(RemoteSocket, MayReuseItsAddress) {
    EXPECT_EQ(addressReuse, 1);
}

} // namespace
