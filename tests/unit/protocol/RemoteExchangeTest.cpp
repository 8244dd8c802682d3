// The exchange with a peer gateway, byte by byte, against a scripted peer.
#include "support/LogSpy.h"
#include "support/ProcessStats.h"
#include "support/TcpPeer.h"
#include "zelto/TZeltoApplication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include <netinet/tcp.h>
#include <sys/resource.h>

namespace {

using support::Frame;
using support::TTcpPeer;

const std::string JSON = R"({"STATUS": "OK"})";

struct TOutcome {
    bool sent;
    std::string response = "before";
    std::string blob = "before";
};

TOutcome Exchange(const std::string& address, const std::string& request = "{}") {
    TOutcome outcome{};
    std::vector<char> blob(outcome.blob.begin(), outcome.blob.end());
    outcome.sent =
        TZeltoApplication::GetInstance().PerformRemoteRequest(request, address, outcome.response, &blob);
    outcome.blob.assign(blob.begin(), blob.end());
    return outcome;
}

TOutcome ExchangeWithout(const std::string& address) {
    TOutcome outcome{};
    outcome.sent =
        TZeltoApplication::GetInstance().PerformRemoteRequest("{}", address, outcome.response, nullptr);
    return outcome;
}

std::string JsonLengthMessage(uint32_t size) {
    return "\"RemotZelto: failed to read the JSON length in response or the value is wrong. JSON size is " +
           std::to_string(size) + ". MAX = 4096\"";
}

const std::string BLOB_LENGTH_MESSAGE = "\"RemotZelto: failed to read the Blob length in response.\"";

TEST(RemoteExchange, SendsTheBytesOfTheRequestAndNothingElse) {
    const std::string request("{\"A\": \"\0\xff\"}\n", 12);
    TTcpPeer peer(Frame(JSON));
    EXPECT_TRUE(Exchange(peer.Address(), request).sent);
    EXPECT_EQ(peer.Request(), request);
}

TEST(RemoteExchange, ReceivesTheTextAndTheBlob) {
    TTcpPeer peer(Frame(JSON, "file"));
    const TOutcome outcome = Exchange(peer.Address());
    EXPECT_TRUE(outcome.sent);
    EXPECT_EQ(outcome.response, JSON);
    EXPECT_EQ(outcome.blob, "file");
    EXPECT_EQ(LogSpy::Count(3), 0U) << LogSpy::Dump();
}

TEST(RemoteExchange, LogsTheAddressBeforeItConnects) {
    TTcpPeer peer(Frame(JSON));
    Exchange(peer.Address());
    ASSERT_EQ(LogSpy::Messages().size(), 1U) << LogSpy::Dump();
    EXPECT_TRUE(LogSpy::Contains(7, "\"" + peer.Address() + " is a valid IPv4\""));
}

TEST(RemoteExchange, LeavesTheBlobAsItWasWhenNoneIsAnnounced) {
    TTcpPeer peer(Frame(JSON));
    const TOutcome outcome = Exchange(peer.Address());
    EXPECT_EQ(outcome.response, JSON);
    EXPECT_EQ(outcome.blob, "before");
}

TEST(RemoteExchange, TakesATextOfTheLargestSize) {
    const std::string text(4096, 'x');
    TTcpPeer peer(Frame(text));
    EXPECT_EQ(Exchange(peer.Address()).response, text);
}

class WrongJsonLength : public testing::TestWithParam<uint32_t> {};

TEST_P(WrongJsonLength, LeavesTheOutputsAsTheyWere) {
    TTcpPeer peer(Frame(GetParam(), 4, std::string(5000, 'x')));
    const TOutcome outcome = Exchange(peer.Address());
    EXPECT_TRUE(outcome.sent);
    EXPECT_EQ(outcome.response, "before");
    EXPECT_EQ(outcome.blob, "before");
    EXPECT_EQ(LogSpy::Count(3, JsonLengthMessage(GetParam())), 1U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3), 1U) << LogSpy::Dump();
}

INSTANTIATE_TEST_SUITE_P(RemoteExchange, WrongJsonLength,
                         testing::Values(0U, 4097U, 0x7fffffffU, 0x80000000U, 0xffffffffU));

TEST(RemoteExchange, TakesABlobOfTheLargestSizeWhole) {
    std::string blob(1048575, '\0');
    for (std::size_t index = 0; index < blob.size(); ++index) {
        blob[index] = static_cast<char>(index * 31);
    }
    TTcpPeer peer(Frame(JSON, blob));
    const TOutcome outcome = Exchange(peer.Address());
    EXPECT_EQ(outcome.response, JSON);
    EXPECT_TRUE(outcome.blob == blob);
}

TEST(RemoteExchange, DoesNotReadABlobAboveTheLargestSize) {
    for (const uint32_t size : {1048576U, 0x80000000U, 0xffffffffU}) {
        TTcpPeer peer(Frame(static_cast<uint32_t>(JSON.size()), size, JSON + "blob"));
        const TOutcome outcome = Exchange(peer.Address());
        EXPECT_TRUE(outcome.sent);
        EXPECT_EQ(outcome.response, JSON);
        EXPECT_EQ(outcome.blob, "before");
    }
    EXPECT_EQ(LogSpy::Count(3), 0U) << LogSpy::Dump();
}

TEST(RemoteExchange, DoesNotWaitForABlobThatNobodyWants) {
    TTcpPeer peer([](int connection) { // announces a blob, sends none of it, and waits
        const std::string answer = Frame(static_cast<uint32_t>(JSON.size()), 1000, JSON);
        ::send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
        char byte = 0;
        while (::recv(connection, &byte, 1, 0) > 0) {
        }
    });
    const TOutcome outcome = ExchangeWithout(peer.Address());
    EXPECT_TRUE(outcome.sent);
    EXPECT_EQ(outcome.response, JSON);
}

TEST(RemoteExchange, TakesAnAnswerThatComesByteByByte) {
    TTcpPeer peer([](int connection) {
        const int noDelay = 1;
        ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof(noDelay));
        for (const char byte : Frame(JSON, "file")) {
            ::send(connection, &byte, 1, MSG_NOSIGNAL);
        }
        char unread = 0;
        while (::recv(connection, &unread, 1, 0) > 0) {
        }
    });
    const TOutcome outcome = Exchange(peer.Address());
    EXPECT_EQ(outcome.response, JSON);
    EXPECT_EQ(outcome.blob, "file");
}

TEST(RemoteExchange, CutsTheTextAtItsFirstNul) {
    TTcpPeer peer(Frame(std::string("{}\0garbage", 10), "file"));
    const TOutcome outcome = Exchange(peer.Address());
    EXPECT_EQ(outcome.response, "{}");
    EXPECT_EQ(outcome.blob, "file");
}

TEST(RemoteExchange, AssignsAnEmptyTextWhenItBeginsWithANul) {
    TTcpPeer peer(Frame(std::string("\0{}", 3)));
    EXPECT_EQ(Exchange(peer.Address()).response, "");
}

TEST(RemoteExchange, SurvivesAPeerThatClosesWithinTheLengths) {
    const std::string frame = Frame(JSON, "file");
    for (std::size_t size = 0; size < 8; ++size) {
        LogSpy::Clear();
        TTcpPeer peer(frame.substr(0, size));
        const TOutcome outcome = Exchange(peer.Address());
        EXPECT_TRUE(outcome.sent) << size;
        EXPECT_EQ(outcome.response, "before") << size;
        EXPECT_EQ(outcome.blob, "before") << size;
        const uint32_t seen = size == 0 ? 0 : static_cast<uint32_t>(JSON.size());
        const std::string message = size < 4 ? JsonLengthMessage(seen) : BLOB_LENGTH_MESSAGE;
        EXPECT_EQ(LogSpy::Count(3, message), 1U) << size << LogSpy::Dump();
        EXPECT_EQ(LogSpy::Count(3), 1U) << size << LogSpy::Dump();
    }
}

TEST(RemoteExchange, SurvivesAPeerThatClosesWithinTheTextOrTheBlob) {
    const std::string frame = Frame(JSON, "file");
    for (std::size_t size = 8; size < frame.size(); ++size) {
        TTcpPeer peer(frame.substr(0, size));
        const TOutcome outcome = Exchange(peer.Address());
        EXPECT_TRUE(outcome.sent) << size;
        EXPECT_EQ(outcome.response, JSON.substr(0, size - 8)) << size;
        // Resized to four bytes; what did not come stays as it was.
        const std::size_t arrived = size - std::min(size, 8 + JSON.size());
        EXPECT_EQ(outcome.blob, std::string("file").substr(0, arrived) + std::string("befo").substr(arrived))
            << size;
    }
    EXPECT_EQ(LogSpy::Count(3), 0U) << LogSpy::Dump();
}

TEST(RemoteExchange, FillsWhatAShortBlobGrewWithZeros) {
    TTcpPeer peer(Frame(static_cast<uint32_t>(JSON.size()), 10, JSON + "ab"));
    EXPECT_EQ(Exchange(peer.Address()).blob, std::string("abfore\0\0\0\0", 10));
}

TEST(RemoteExchange, ReportsHowMuchOfTheRequestAResettingPeerTook) {
    const std::string request(64U << 20U, 'x');
    TTcpPeer peer([](int connection) {
        char byte = 0;
        ::recv(connection, &byte, 1, 0);
        const linger reset{1, 0};
        ::setsockopt(connection, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
    });
    const TOutcome outcome = Exchange(peer.Address(), request);
    EXPECT_TRUE(outcome.sent);
    EXPECT_EQ(outcome.response, "before");
    EXPECT_EQ(
        LogSpy::CountPart(3, "\"Could not send the request to " + peer.Address() + ":42042. Sent only "), 1U)
        << LogSpy::Dump();
    EXPECT_EQ(LogSpy::CountPart(3, " out of 67108864\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3, JsonLengthMessage(0)), 1U) << LogSpy::Dump();
}

TEST(RemoteExchange, FailsWhenNobodyListens) {
    const support::TAbsentPeer absent;
    const TOutcome outcome = Exchange(absent.Address());
    EXPECT_FALSE(outcome.sent);
    EXPECT_EQ(outcome.response, "before");
    EXPECT_EQ(LogSpy::Count(3, "\"Failed to connect to " + absent.Address() + ":42042\""), 1U)
        << LogSpy::Dump();
}

TEST(RemoteExchange, RefusesWhatIsNoNumericAddress) {
    for (const char* address : {"localhost", "", "127.0.0.1:42042", "127.1", "[::1]", "::1%lo", "%s%n"}) {
        LogSpy::Clear();
        EXPECT_FALSE(Exchange(address).sent) << address;
        EXPECT_EQ(LogSpy::Count(3, "\"" + std::string(address) + " is not a valid IP\""), 1U)
            << LogSpy::Dump();
        EXPECT_EQ(LogSpy::Messages().size(), 1U) << LogSpy::Dump();
    }
}

TEST(RemoteExchange, IsRefusedByTheKernelOverIpv6) {
    const int probe = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (probe < 0) {
        GTEST_SKIP() << "this machine has no IPv6";
    }
    ::close(probe);
    const TOutcome outcome = Exchange("::1");
    EXPECT_FALSE(outcome.sent);
    EXPECT_EQ(LogSpy::Count(7, "\"::1 is a valid IPv6\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3, "\"Failed to connect to ::1:42042\""), 1U) << LogSpy::Dump();
}

TEST(RemoteExchange, FailsAtTheSocketOptionWhenThereIsNoSocket) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const TOutcome outcome = Exchange("127.0.0.1");
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_FALSE(outcome.sent);
    EXPECT_EQ(LogSpy::Count(3, "\"setsockopt is failed\""), 1U) << LogSpy::Dump();
    EXPECT_EQ(LogSpy::Count(3), 1U) << LogSpy::Dump();
}

TEST(RemoteExchange, LeavesNoDescriptorBehind) {
    const std::string frame = Frame(JSON, "file");
    const std::size_t before = support::OpenDescriptors(::getpid());
    for (const std::size_t size : {std::size_t{2}, std::size_t{6}, std::size_t{12}, frame.size()}) {
        TTcpPeer peer(frame.substr(0, size));
        Exchange(peer.Address());
    }
    Exchange("localhost");
    EXPECT_EQ(support::OpenDescriptors(::getpid()), before);
}

TEST(RemoteExchange, MayRunOnSeveralThreads) {
    std::vector<std::thread> threads;
    std::vector<std::string> responses(4);
    for (std::string& response : responses) {
        threads.emplace_back([&response] {
            const std::string own =
                "{\"OWN\": \"" + std::to_string(reinterpret_cast<uintptr_t>(&response)) + "\"}";
            TTcpPeer peer(Frame(own));
            response = Exchange(peer.Address()).response == own ? "own" : "other";
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(responses, testing::Each("own"));
}

} // namespace
