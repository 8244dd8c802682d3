// The log of zelto-remoted cannot be used against it.

#include "e2e/Remoted.h"

#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using e2e::StatusIn;
using e2e::TRemoted;
using support::TTcpAnswer;
using support::TTcpClient;

namespace {

constexpr char NO_TYPE[] = "REQUEST_TYPE is missing or not known";

// A pipe with room for a page, whose reader does what the test says.
class TSmallPipe {
public:
    TSmallPipe() {
        if (pipe2(ends, O_CLOEXEC) == 0) {
            (void)fcntl(ends[1], F_SETPIPE_SZ, SIZE); // refused where the user's pipes have too much room
            (void)fcntl(ends[0], F_SETFL, O_NONBLOCK);
        }
    }
    ~TSmallPipe() {
        (void)close(ends[0]);
        (void)close(ends[1]);
    }
    TSmallPipe(const TSmallPipe&) = delete;
    TSmallPipe& operator=(const TSmallPipe&) = delete;

    int Writer() const { return ends[1]; }
    bool IsSmall() const { return fcntl(ends[1], F_GETPIPE_SZ) <= LARGEST; }

    bool Has(const std::string& text) const { return content.find(text) != std::string::npos; }

    // Reads until the text has come.
    bool WaitFor(const std::string& text) {
        return support::Eventually([&] {
            char buffer[4096];
            const ssize_t size = read(ends[0], buffer, sizeof(buffer));
            content.append(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
            return Has(text);
        });
    }

private:
    static constexpr int SIZE = 4096;
    static constexpr int LARGEST = 16384; // what the lines of the test overfill

    int ends[2] = {-1, -1};
    std::string content;
};

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

// Gives the address that it listens on; "" for none. One may be taken by another test.
std::string Start(TSmallPipe& log, std::unique_ptr<support::TChildProcess>& process) {
    support::TChildProcess::TOptions options;
    options.errorDescriptor = log.Writer();
    for (int count = 0; count < 20; ++count) {
        const std::string address = support::NewLoopbackAddress();
        const std::vector<std::string> command = {ZELTO_REMOTED_PATH, "--listen", address};
        process = std::make_unique<support::TChildProcess>(command, options);
        if (log.WaitFor(address) && log.Has("listening on " + address)) {
            return address;
        }
    }
    return "";
}

TTcpAnswer Ask(const std::string& address, const std::string& request) {
    TTcpClient client(address);
    (void)client.Send(request); // the answer shows whether it came
    return client.ReadAnswer();
}

} // namespace

TEST(RemotedLog, DoesNotStopItWhenNobodyReads) {
    TSmallPipe log;
    ASSERT_TRUE(log.IsSmall());
    std::unique_ptr<support::TChildProcess> process;
    const std::string address = Start(log, process);
    ASSERT_NE(address, "");
    for (int count = 0; count < 300; ++count) { // of which each is a line
        ASSERT_EQ(StatusIn(Ask(address, "{}")), NO_TYPE) << count;
    }
    ASSERT_EQ(StatusIn(Ask(address, e2e::FileRequest("file"))), "no files are served here");
    EXPECT_TRUE(log.WaitFor(NO_TYPE));
}

TEST(RemotedLog, HasALineInASecondForPeersThatAreNotAllowed) {
    TRemoted remoted({"--allow", "127.0.1.1"});
    const auto start = std::chrono::steady_clock::now();
    for (int count = 0; count < 100; ++count) {
        TTcpClient stranger(remoted.Address());
        EXPECT_EQ(StatusIn(stranger.ReadAnswer()), "this peer is not allowed");
    }
    const auto time = std::chrono::steady_clock::now() - start;
    remoted.Process().Signal(SIGTERM);
    EXPECT_EQ(remoted.Process().WaitForExit(), 0);
    const std::size_t lines = Count(remoted.Process().Errors(), "127.0.0.1: this peer is not allowed");
    EXPECT_GE(lines, 1U);
    EXPECT_LE(lines, 1U + static_cast<std::size_t>(time / std::chrono::seconds(1)));
}
