// Files of zelto-remoted as the library fetches them.

#include "capi/CannedManager.h"
#include "e2e/Remoted.h"

#include "support/Eventually.h"
#include "support/ProcessStats.h"
#include "support/TcpPeer.h"
#include "support/TempDir.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/ZeltoAppLib.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <netinet/tcp.h>
#include <sys/stat.h>

using e2e::FileRequest;
using e2e::StatusIn;
using e2e::TRemoted;
using support::Eventually;
using support::TTcpAnswer;
using support::TTcpClient;

namespace {

constexpr std::size_t LARGEST = 1048575;
constexpr std::size_t SEGMENT = 1000;

std::string RandomBytes(std::size_t size) {
    std::mt19937 random(7);
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

// The slow link: what the server sends goes on in small segments, a moment apart.
void ForwardSlowly(int client, const std::string& server) {
    const int atOnce = 1;
    (void)setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &atOnce, sizeof(atOnce));
    TTcpClient onward(server);
    char buffer[SEGMENT];
    const ssize_t requestSize = recv(client, buffer, sizeof(buffer), 0);
    if (requestSize <= 0 || !onward.Send(std::string(buffer, static_cast<std::size_t>(requestSize)))) {
        return;
    }
    ssize_t size = 0;
    while ((size = recv(onward.Descriptor(), buffer, sizeof(buffer), 0)) > 0) {
        if (send(client, buffer, static_cast<std::size_t>(size), MSG_NOSIGNAL) != size) {
            return;
        }
        (void)poll(nullptr, 0, 1);
    }
}

} // namespace

class RemotedFile : public testing::Test {
protected:
    // The content of a file as a C application gets it; "(failed)" when it gets none.
    static std::string Fetch(const std::string& address, const std::string& name) {
        tZeltoLongParamRemoteRequest remote = {};
        (void)std::snprintf(remote.remoteAddress, sizeof(remote.remoteAddress), "%s", address.c_str());
        (void)std::snprintf(remote.request.name, sizeof(remote.request.name), "%s", name.c_str());
        std::string content = "(failed)";
        if (zeltoAppLibGetFileRemote(&remote) == ZELTO_APP_OK) {
            content.assign(remote.request.value, remote.request.size);
        }
        zeltoAppLibReleaseLongParamRemote(&remote);
        return content;
    }

    support::TTempDir directory;
    TRemoted remoted{{"--root", directory.Path(), "--max-per-peer", "100"}};
};

TEST_F(RemotedFile, ArrivesWholeAndEqualWhateverItsSize) {
    for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{65537}, LARGEST}) {
        const std::string content = RandomBytes(size);
        directory.Write("file", content);
        EXPECT_TRUE(Fetch(remoted.Address(), "file") == content) << size;
    }
}

TEST_F(RemotedFile, ArrivesWholeAndEqualOverASlowLinkOfSmallSegments) {
    const std::string content = RandomBytes(LARGEST);
    directory.Write("file", content);
    support::TTcpPeer link([this](int client) { ForwardSlowly(client, remoted.Address()); });
    EXPECT_TRUE(Fetch(link.Address(), "file") == content);
}

TEST_F(RemotedFile, IsRefusedWhenItIsLarger) {
    directory.Write("file", std::string(LARGEST + 1, 'l'));
    TTcpAnswer answer = remoted.Ask(FileRequest("file"));
    EXPECT_EQ(StatusIn(answer), "the file is larger than 1048575 bytes");
    EXPECT_EQ(answer.blob, "");
    EXPECT_EQ(Fetch(remoted.Address(), "file"), "(failed)");
}

TEST_F(RemotedFile, IsNeverOutsideTheFolder) {
    support::TTempDir outside;
    outside.Write("secret", "secret");
    std::filesystem::create_symlink(outside.File("secret"), directory.File("link"));
    std::filesystem::create_symlink("..", directory.File("up"));
    const std::vector<std::string> names = {"../secret", "/etc/passwd", outside.File("secret"),
                                            "link",      "up",          "up/../etc/passwd",
                                            "",          "sub/../file", "/proc/self/environ"};
    for (const std::string& name : names) {
        TTcpAnswer answer = remoted.Ask(FileRequest(name));
        EXPECT_TRUE(answer.isWhole) << name;
        EXPECT_NE(StatusIn(answer), "OK") << name;
        EXPECT_EQ(answer.blob, "") << name;
    }
}

TEST_F(RemotedFile, IsARegularOne) {
    ASSERT_EQ(mkfifo(directory.File("fifo").c_str(), 0600), 0);
    std::filesystem::create_directory(directory.File("folder"));
    EXPECT_EQ(remoted.StatusOf(FileRequest("fifo")), "not a regular file");
    EXPECT_EQ(remoted.StatusOf(FileRequest("folder")), "not a regular file");
}

TEST(RemotedFiles, AreRefusedWithoutAFolder) {
    TRemoted remoted;
    EXPECT_EQ(remoted.StatusOf(FileRequest("file")), "no files are served here");
}

TEST_F(RemotedFile, LeavesNothingBehindWhenItsPeersGo) {
    directory.Write("file", RandomBytes(LARGEST));
    const pid_t process = remoted.Process().Pid();
    ASSERT_EQ(remoted.StatusOf(FileRequest("file")), "OK");
    const std::size_t descriptors = support::OpenDescriptors(process);
    for (int count = 0; count < 20; ++count) {
        TTcpClient client(remoted.Address());
        ASSERT_TRUE(client.Send(FileRequest("file")));
        char byte = 0;
        ASSERT_EQ(recv(client.Descriptor(), &byte, 1, MSG_WAITALL), 1);
        client.Reset();
    }
    EXPECT_TRUE(Eventually([&] { return remoted.StatusOf(FileRequest("file")) == "OK"; }));
    EXPECT_TRUE(Eventually([&] { return support::OpenDescriptors(process) <= descriptors; }));
}

TEST_F(RemotedFile, IsOneOfAFewLargeOnesAtATime) {
    directory.Write("file", RandomBytes(LARGEST));
    // The small windows keep the answers from being taken by the kernel.
    std::vector<TTcpClient> slow;
    for (int count = 0; count < 40; ++count) {
        slow.emplace_back(remoted.Address());
        const int window = 1024;
        (void)setsockopt(slow.back().Descriptor(), SOL_SOCKET, SO_RCVBUF, &window, sizeof(window));
        ASSERT_TRUE(slow.back().Send(FileRequest("file")));
    }
    EXPECT_TRUE(remoted.Process().WaitForErrors("GET_FILE file: too many large files are under way"));
    slow.clear();
    EXPECT_TRUE(Eventually([&] { return remoted.StatusOf(FileRequest("file")) == "OK"; }));
}

TEST_F(RemotedFile, DoesNotKeepOthersWaitingForASlowReader) {
    directory.Write("file", RandomBytes(LARGEST));
    directory.Write("small", "small");
    TTcpClient slow(remoted.Address());
    ASSERT_TRUE(slow.Send(FileRequest("file")));
    ASSERT_TRUE(remoted.Process().WaitForErrors("GET_FILE file: OK"));
    EXPECT_EQ(remoted.Ask(FileRequest("small")).blob, "small");
    EXPECT_EQ(slow.ReadAnswer().blob.size(), LARGEST);
}
