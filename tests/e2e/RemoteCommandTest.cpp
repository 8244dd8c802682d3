// The zelto command and a peer gateway: a manager and zelto-remoted.

#include "capi/CannedPeer.h"
#include "e2e/Programs.h"
#include "e2e/Remoted.h"

#include "support/TcpPeer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using e2e::RunCommand;
using e2e::TGateway;
using e2e::TRemoted;
using support::TTcpPeer;
using testing::HasSubstr;

namespace {

const std::string SSID_1 = "Device.WiFi.SSID.1.SSID";

} // namespace

class RemoteCommand : public testing::Test {
protected:
    support::TRunResult Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"remote", remoted.Address()});
        return RunCommand(arguments);
    }

    std::string Prefix() const { return "zelto: remote " + remoted.Address() + " "; }

    TGateway gateway;
    support::TTempDir directory;
    TRemoted remoted{{"--root", directory.Path(), "--allow-set", "--set-prefix", "Device.WiFi."}};
};

TEST_F(RemoteCommand, ReadsParameters) {
    auto result = Run({"get", SSID_1, "Device.WiFi.SSID.*.SSID"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "Device.WiFi.SSID.1.SSID=Ulmet\nDevice.WiFi.SSID.1.SSID=Ulmet\n"
                             "Device.WiFi.SSID.2.SSID=Ulmet-Guest\n");
    EXPECT_EQ(Run({"get", "-V", SSID_1}).output, "Ulmet\n");
}

TEST_F(RemoteCommand, WritesParameters) {
    auto result = Run({"set", SSID_1 + "=a=b", "Device.WiFi.SSID.2.SSID=Two"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(gateway.Get(SSID_1), "a=b");
    EXPECT_EQ(gateway.Get("Device.WiFi.SSID.2.SSID"), "Two");
}

TEST_F(RemoteCommand, FetchesAFile) {
    const std::string content("a\0b\n\xff", 5);
    directory.Write("file", content);
    auto result = Run({"file", "file"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, content);
    EXPECT_EQ(Run({"file", "file", "-o", directory.File("copy")}).exitCode, 0);
    EXPECT_EQ(directory.Read("copy"), content);
}

TEST_F(RemoteCommand, SaysWhyThePeerRefused) {
    auto get = Run({"get", "Device.X"});
    EXPECT_EQ(get.exitCode, 1);
    EXPECT_EQ(get.errors, Prefix() + "get Device.X: refused by the manager\n");
    auto set = Run({"set", "Device.X=1"});
    EXPECT_EQ(set.exitCode, 1);
    EXPECT_EQ(set.errors, Prefix() + "set Device.X: this parameter may not be set from here\n");
    auto file = Run({"file", "../x"});
    EXPECT_EQ(file.exitCode, 1);
    EXPECT_EQ(file.errors, Prefix() + "file ../x: the name leads out of the folder of files\n");
}

TEST_F(RemoteCommand, EndsWithSevenWhenSomeIsDone) {
    auto get = Run({"get", "Device.X", SSID_1});
    EXPECT_EQ(get.exitCode, 7);
    EXPECT_EQ(get.output, SSID_1 + "=Ulmet\n");
    EXPECT_EQ(get.errors, Prefix() + "get Device.X: refused by the manager\n");
    auto set = Run({"set", SSID_1 + "=x", "Device.X=1", "Device.Y=1"});
    EXPECT_EQ(set.exitCode, 7);
    EXPECT_EQ(set.output, "");
    EXPECT_EQ(set.errors, Prefix() + "set Device.X: this parameter may not be set from here\n" + Prefix() +
                              "set Device.WiFi.SSID.1.SSID: done\n" + Prefix() + "set Device.Y: not tried\n");
}

TEST_F(RemoteCommand, PrintsJson) {
    const std::string entry = R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": ")";
    EXPECT_EQ(Run({"-j", "get", SSID_1}).output, "{\"PARAMS\": [\n" + entry + "Ulmet\"}\n]}\n");
    EXPECT_EQ(Run({"-J", "set", SSID_1 + "=x"}).output, entry + "x\"}\n");
    directory.Write("file", "content");
    EXPECT_EQ(Run({"-j", "file", "file", "-o", directory.File("copy")}).output,
              R"({"FILE_NAME": "file", "SIZE": 7})"
              "\n");
}

TEST_F(RemoteCommand, EndsWithTwoWhenItIsWrong) {
    const std::vector<std::vector<std::string>> lines = {{"remote"},
                                                         {"remote", "127.0.0.1"},
                                                         {"remote", "localhost", "get", "X"},
                                                         {"remote", "127.0.0.1", "get"},
                                                         {"remote", "127.0.0.1", "set", "X"},
                                                         {"remote", "127.0.0.1", "file"},
                                                         {"remote", "127.0.0.1", "sing"}};
    for (const auto& line : lines) {
        auto result = RunCommand(line);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(line);
        EXPECT_NE(result.errors, "") << testing::PrintToString(line);
    }
}

TEST_F(RemoteCommand, EndsWithThreeWhenATextCannotBeSentOrWritten) {
    auto result = Run({"get", "Device.\xff"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("not UTF-8"));
    directory.Write("file", "content");
    EXPECT_EQ(Run({"file", "file", "-o", "/dev/full"}).exitCode, 3);
}

TEST(RemoteCommandPeer, MayNotBeThere) {
    const support::TAbsentPeer absent;
    auto result = RunCommand({"remote", absent.Address(), "get", "X"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.errors, "zelto: remote " + absent.Address() + " get X: no connection to the peer\n");
}

TEST(RemoteCommandPeer, MayTalkNonsense) {
    TTcpPeer peer("nonsense");
    auto result = RunCommand({"remote", peer.Address(), "get", "X"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("the peer gave no answer"));
}

TEST(RemoteCommandPeer, MayNotAnswer) {
    TTcpPeer peer([](int connection) {
        char byte = 0;
        while (recv(connection, &byte, 1, 0) > 0) {
        }
    });
    auto result = RunCommand({"-t", "1", "remote", peer.Address(), "get", "X"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors, HasSubstr("no answer within 1 s"));
}

class RemoteCommandFile : public testing::Test {
protected:
    support::TRunResult Fetch() {
        return RunCommand({"remote", peer.Address(), "file", "file", "-o", directory.File("copy")});
    }

    const std::string ok = R"({"STATUS": "OK"})";
    capi::TCannedPeer peer;
    support::TTempDir directory;
};

TEST_F(RemoteCommandFile, StaysAsItWasWhenItIsCutOffOnItsWay) {
    directory.Write("copy", "before");
    for (const std::string& part :
         {std::string(), std::string("part"), std::string(998, '\xff'), std::string(998, '\0')}) {
        peer.AnswerWithPart(ok, part, 999);
        auto result = Fetch();
        EXPECT_EQ(result.exitCode, 3) << part.size();
        EXPECT_EQ(result.errors,
                  "zelto: remote " + peer.Address() + " file file: the file was cut off on its way\n");
        EXPECT_EQ(directory.Read("copy"), "before");
    }
}

TEST_F(RemoteCommandFile, IsNotWrittenToTheOutputWhenItIsCutOffOnItsWay) {
    peer.AnswerWithPart(ok, "part", 999);
    auto result = RunCommand({"remote", peer.Address(), "file", "file"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
}

TEST_F(RemoteCommandFile, MayEndInAnyByte) {
    for (const char last : {'\0', '\1', '\n', '\x7f', '\x80', '\xfe', '\xff'}) {
        const std::string content = std::string("content") + last;
        peer.AnswerWith(ok, content);
        EXPECT_EQ(Fetch().exitCode, 0) << int{last};
        EXPECT_EQ(directory.Read("copy"), content) << int{last};
    }
}

TEST_F(RemoteCommandFile, IsAskedForOnceUnlessItEndsInTheByteThatWasThere) {
    peer.AnswerWith(ok, std::string(1048575, '\0'));
    EXPECT_EQ(Fetch().exitCode, 0);
    EXPECT_EQ(peer.Requests().size(), 1U);
    peer.AnswerWith(ok, "\xff");
    EXPECT_EQ(Fetch().exitCode, 0);
    EXPECT_EQ(peer.Requests().size(), 3U);
}

TEST_F(RemoteCommandFile, IsEmptyWhenNothingOfItIsAnnounced) {
    directory.Write("copy", "before");
    peer.AnswerWith(ok);
    EXPECT_EQ(Fetch().exitCode, 0);
    EXPECT_EQ(directory.Read("copy"), "");
}
