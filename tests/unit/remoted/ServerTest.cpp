// Peers, their time and their number, with a service of the tests' own behind.

#include "tools/zelto-remoted/Server.h"

#include "support/Eventually.h"
#include "support/ProcessStats.h"
#include "support/TcpClient.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>

using remoted::TAnswer;
using remoted::TLimits;
using remoted::TReply;
using remoted::TServer;
using support::Eventually;
using support::NewLoopbackAddress;
using support::TTcpClient;

namespace {

constexpr char WHOLE[] = R"({"A": "}"})";

// Times that no test reaches.
TLimits LongTimes() {
    TLimits limits;
    limits.requestTime = limits.answerTime = limits.lingerTime = std::chrono::minutes(5);
    return limits;
}

// How many of the next polls of a server fail, as for want of the kernel's memory.
std::atomic<int> failingPolls{0};

} // namespace

extern "C" {
int __real_poll(pollfd* entries, nfds_t count, int timeout);
int __wrap_poll(pollfd* entries, nfds_t count, int timeout) {
    const bool isServers = count >= 3; // those of the tests' clients are of one
    if (isServers && failingPolls > 0) {
        --failingPolls;
        errno = ENOMEM;
        return -1;
    }
    return __real_poll(entries, count, timeout);
}
}

class Server : public testing::Test {
protected:
    ~Server() override { Stop(); }

    void Start(const TLimits& limits = LongTimes(), const std::string& network = "127.0.0.0/8") {
        server = Listen(limits, network);
        thread = std::thread([this] { server->Run(stopEvent); });
    }

    void Stop() {
        if (thread.joinable()) {
            eventfd_write(stopEvent, 1);
            thread.join();
        }
        server.reset();
        if (stopEvent >= 0) {
            close(stopEvent);
            stopEvent = -1;
        }
    }

    // The status of the whole answer that comes.
    static std::string Status(TTcpClient& client) {
        const std::string json = client.ReadAnswer().json;
        const std::string start = R"({"STATUS": ")";
        return json.compare(0, start.size(), start) == 0
                   ? json.substr(start.size(), json.size() - start.size() - 2)
                   : "(none)";
    }

    std::vector<TReply> Replies() {
        const std::lock_guard<std::mutex> lock(mutex);
        return replies;
    }

    std::string address;
    std::string answer = remoted::Confirm().frame;
    bool answersAtOnce = true;
    std::atomic<bool> lacksMemory{false};
    std::mutex mutex;
    std::vector<std::string> requests;
    std::vector<TReply> replies;

private:
    std::unique_ptr<TServer> Listen(const TLimits& limits, const std::string& network) {
        while (true) {
            address = NewLoopbackAddress();
            try {
                return std::make_unique<TServer>(remoted::TServerOptions{remoted::TAddress::Parse(address),
                                                                         {remoted::TNetwork::Parse(network)},
                                                                         limits},
                                                 [this](const std::string&, const std::string& request,
                                                        const TReply& reply) { Handle(request, reply); });
            } catch (const std::runtime_error&) {
                // The address is taken: the next one.
            }
        }
    }

    void Handle(const std::string& request, const TReply& reply) {
        if (lacksMemory) {
            throw std::bad_alloc();
        }
        const std::lock_guard<std::mutex> lock(mutex);
        requests.push_back(request);
        if (answersAtOnce) {
            reply({"", answer});
        } else {
            replies.push_back(reply);
        }
    }

    int stopEvent = eventfd(0, EFD_CLOEXEC);
    std::unique_ptr<TServer> server;
    std::thread thread;
};

TEST_F(Server, HandsOnARequestAndSendsTheAnswer) {
    Start();
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(WHOLE));
    EXPECT_EQ(client.ReadToEnd(), answer);
    EXPECT_EQ(requests, std::vector<std::string>{WHOLE});
}

TEST_F(Server, TakesARequestInSingleBytes) {
    Start();
    TTcpClient client(address);
    for (const char* byte = WHOLE; *byte != '\0'; ++byte) {
        ASSERT_TRUE(client.Send(std::string(1, *byte)));
    }
    EXPECT_EQ(client.ReadToEnd(), answer);
}

TEST_F(Server, AnswersAPeerThatHasClosedItsHalf) {
    Start();
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(WHOLE));
    client.HalfClose();
    EXPECT_EQ(client.ReadToEnd(), answer);
}

TEST_F(Server, SaysThatARequestEndsEarly) {
    Start();
    TTcpClient client(address);
    ASSERT_TRUE(client.Send("{\"A\""));
    client.HalfClose();
    EXPECT_EQ(Status(client), "the request ends early");
    EXPECT_TRUE(requests.empty());
}

TEST_F(Server, AnswersOnlyTheFirstOfTwoRequests) {
    Start();
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(std::string(WHOLE) + R"({"B": 2})"));
    EXPECT_EQ(client.ReadToEnd(), answer);
    (void)client.Send(R"({"C": 3})");
    EXPECT_EQ(requests, std::vector<std::string>{WHOLE});
}

TEST_F(Server, RefusesASilentPeerAfterItsTime) {
    TLimits limits = LongTimes();
    limits.requestTime = std::chrono::milliseconds(50);
    Start(limits);
    TTcpClient silent(address);
    EXPECT_EQ(Status(silent), "the request has not come in time");
    TTcpClient slow(address);
    ASSERT_TRUE(slow.Send("{"));
    EXPECT_EQ(Status(slow), "the request has not come in time");
}

TEST_F(Server, ClosesAPeerThatDoesNotTakeItsAnswer) {
    answer = std::string(64 << 20, 'a'); // more than the sockets hold
    TLimits limits = LongTimes();
    limits.answerTime = std::chrono::milliseconds(50);
    Start(limits);
    const std::size_t before = support::OpenDescriptors(getpid());
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(WHOLE));
    ASSERT_TRUE(Eventually([&client] { return client.HasInput(); }));
    EXPECT_TRUE(Eventually([before] { return support::OpenDescriptors(getpid()) == before + 1; }));
}

TEST_F(Server, ClosesAPeerThatDoesNotClose) {
    TLimits limits = LongTimes();
    limits.lingerTime = std::chrono::milliseconds(50);
    Start(limits);
    const std::size_t before = support::OpenDescriptors(getpid());
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(WHOLE));
    EXPECT_EQ(client.ReadToEnd(), answer);
    EXPECT_TRUE(Eventually([before] { return support::OpenDescriptors(getpid()) == before + 1; }));
}

TEST_F(Server, ClosesAPeerThatGoesOnTalkingAfterItsAnswer) {
    Start();
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(WHOLE));
    const std::string noise(65536, 'x');
    EXPECT_TRUE(Eventually([&] { return !client.Send(noise); }));
}

TEST_F(Server, KeepsARequestWhosePeerIsGoneUntilItIsDone) {
    answersAtOnce = false;
    TLimits limits = LongTimes();
    limits.connectionsPerPeer = 1;
    Start(limits);
    TTcpClient gone(address);
    ASSERT_TRUE(gone.Send(WHOLE));
    ASSERT_TRUE(Eventually([this] { return Replies().size() == 1; }));
    gone.Reset();
    TTcpClient next(address); // the work of the first still counts
    EXPECT_EQ(Status(next), "too many connections");
    Replies().at(0)({"", answer});
    EXPECT_TRUE(Eventually([this] {
        TTcpClient other(address);
        (void)other.Send("x");
        return Status(other) == "the request is no JSON text";
    }));
}

TEST_F(Server, IgnoresASecondReply) {
    answersAtOnce = false;
    Start();
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(WHOLE));
    ASSERT_TRUE(Eventually([this] { return Replies().size() == 1; }));
    Replies().at(0)({"", answer});
    Replies().at(0)({"", answer});
    EXPECT_EQ(client.ReadToEnd(), answer);
    Stop();
    Replies().at(0)({"", answer}); // nor does it need the server
}

TEST_F(Server, ClosesTheConnectionOfARequestThatItsHandlerThrowsFor) {
    Start();
    lacksMemory = true;
    TTcpClient unlucky(address);
    ASSERT_TRUE(unlucky.Send(WHOLE));
    EXPECT_EQ(unlucky.ReadToEnd(), "");
    lacksMemory = false;
    TTcpClient next(address);
    ASSERT_TRUE(next.Send(WHOLE));
    EXPECT_EQ(next.ReadToEnd(), answer);
}

TEST_F(Server, LooksAgainWhenThereIsNoMemoryToWait) {
    failingPolls = 2;
    Start();
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(WHOLE));
    EXPECT_EQ(client.ReadToEnd(), answer);
    EXPECT_EQ(failingPolls, 0);
}

TEST_F(Server, ClosesWithoutAWordForAnEmptyAnswer) {
    answer = "";
    Start();
    TTcpClient client(address);
    ASSERT_TRUE(client.Send(WHOLE));
    EXPECT_EQ(client.ReadToEnd(), "");
}

TEST_F(Server, TellsAPeerThatIsNotAllowed) {
    Start(LongTimes(), "127.0.0.77");
    TTcpClient stranger(address, "127.0.0.78");
    EXPECT_EQ(Status(stranger), "this peer is not allowed");
    TTcpClient friendly(address, "127.0.0.77");
    ASSERT_TRUE(friendly.Send(WHOLE));
    EXPECT_EQ(friendly.ReadToEnd(), answer);
}

TEST_F(Server, LimitsTheConnectionsOfOnePeer) {
    TLimits limits = LongTimes();
    limits.connectionsPerPeer = 2;
    Start(limits);
    TTcpClient first(address, "127.0.0.77");
    TTcpClient second(address, "127.0.0.77");
    TTcpClient third(address, "127.0.0.77");
    EXPECT_EQ(Status(third), "too many connections");
    TTcpClient other(address, "127.0.0.78");
    ASSERT_TRUE(other.Send(WHOLE));
    EXPECT_EQ(other.ReadToEnd(), answer);
    first.Close();
    EXPECT_TRUE(Eventually([this] {
        TTcpClient again(address, "127.0.0.77");
        return again.Send(WHOLE) && again.ReadToEnd() == answer;
    }));
}

TEST_F(Server, LimitsTheConnectionsOfAllPeers) {
    TLimits limits = LongTimes();
    limits.connections = 2;
    Start(limits);
    TTcpClient first(address, "127.0.0.77");
    TTcpClient second(address, "127.0.0.78");
    TTcpClient third(address, "127.0.0.79");
    EXPECT_EQ(Status(third), "too many connections");
}

TEST_F(Server, ClosesWithoutAWordWhatIsFarAboveTheLimits) {
    TLimits limits = LongTimes();
    limits.connectionsPerPeer = 1;
    Start(limits);
    TTcpClient served(address);
    TTcpClient refused(address);
    EXPECT_EQ(Status(refused), "too many connections"); // and does not close
    TTcpClient dropped(address);
    EXPECT_EQ(dropped.ReadToEnd(), "");
}

TEST_F(Server, MustHaveItsAddress) {
    Start();
    EXPECT_THROW(TServer({remoted::TAddress::Parse(address), {}, {}}, nullptr), std::runtime_error);
    EXPECT_THROW(TServer({remoted::TAddress::Parse("192.0.2.1"), {}, {}}, nullptr), std::runtime_error);
}
