// Who may ask zelto-remoted for what, and how much.

#include "capi/CannedManager.h"
#include "e2e/Remoted.h"

#include "support/Eventually.h"
#include "support/ProcessStats.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>
#include <vector>

using e2e::FileRequest;
using e2e::GetRequest;
using e2e::SetRequest;
using e2e::StatusIn;
using e2e::TRemoted;
using support::Eventually;
using support::TBusEnvironment;
using support::TRawPeer;
using support::TTcpClient;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

namespace {

constexpr char NOT_SETTABLE[] = "this parameter may not be set from here";
const std::string ONE_PARAM = R"({"PARAMS": [{"NAME": "N", "VALUE": "V"}]})";

} // namespace

TEST(RemotedSets, AreRefusedUnlessAllowed) {
    capi::TCannedManager manager(TBusEnvironment::Bus().Address());
    TRemoted remoted;
    EXPECT_EQ(remoted.StatusOf(SetRequest("Device.A.1.X", "v")), NOT_SETTABLE);
    EXPECT_THAT(manager.Requests(), IsEmpty());
}

TEST(RemotedSets, ReachTheManagerBelowThePrefixesOnly) {
    capi::TCannedManager manager(TBusEnvironment::Bus().Address());
    TRemoted remoted({"--allow-set", "--set-prefix", "Device.A.1", "--set-prefix", "Device.B."});
    for (const char* name : {"Device.A.10.X", "Device.A.*.X", "@Device.B.X", "Device.C", "X.Device.B.X"}) {
        EXPECT_EQ(remoted.StatusOf(SetRequest(name, "v")), NOT_SETTABLE) << name;
    }
    EXPECT_THAT(manager.Requests(), IsEmpty());
    EXPECT_EQ(remoted.Ask(SetRequest("Device.A.1.X", "v")).json, R"({"STATUS": "OK"})");
    EXPECT_EQ(remoted.StatusOf(SetRequest("Device.B.Y", "")), "OK");
    EXPECT_THAT(manager.Requests(),
                ElementsAre(Pair("SET_PARAM", R"({"NAME": "Device.A.1.X", "VALUE": "v", "COMMIT": true})"),
                            Pair("SET_PARAM", R"({"NAME": "Device.B.Y", "VALUE": "", "COMMIT": true})")));
}

TEST(RemotedPeers, AreThoseOfTheList) {
    capi::TCannedManager manager(TBusEnvironment::Bus().Address());
    manager.AnswerWith(ONE_PARAM);
    TRemoted remoted({"--allow", "127.0.0.64/26", "--allow", "127.0.1.1"});
    for (const char* source : {"127.0.0.1", "127.0.0.128", "127.0.1.2"}) {
        TTcpClient stranger(remoted.Address(), source);
        EXPECT_EQ(StatusIn(stranger.ReadAnswer()), "this peer is not allowed") << source;
    }
    for (const char* source : {"127.0.0.64", "127.0.0.127", "127.0.1.1"}) {
        TTcpClient allowed(remoted.Address(), source);
        ASSERT_TRUE(allowed.Send(GetRequest("N")));
        EXPECT_EQ(StatusIn(allowed.ReadAnswer()), "OK") << source;
    }
}

TEST(RemotedPeers, MayHoldALimitedNumberOfConnections) {
    TRemoted remoted({"--max-per-peer", "1"});
    TTcpClient first(remoted.Address());
    TTcpClient second(remoted.Address());
    EXPECT_EQ(StatusIn(second.ReadAnswer()), "too many connections");
}

struct TWrongLine {
    const char* title;
    std::vector<std::string> options;
    const char* error;
};

class WrongLine : public testing::TestWithParam<TWrongLine> {};

TEST_P(WrongLine, EndsWithTwoAndTheReason) {
    std::vector<std::string> command = {ZELTO_REMOTED_PATH};
    command.insert(command.end(), GetParam().options.begin(), GetParam().options.end());
    auto result = support::RunProgram(command);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr(GetParam().error));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, WrongLine,
    testing::Values(TWrongLine{"OpenWithoutAList", {"--listen", "0.0.0.0"}, "--allow is required"},
                    TWrongLine{"OpenIpv6WithoutAList", {"--listen", "::"}, "--allow is required"},
                    TWrongLine{"HostName", {"--listen", "localhost"}, "not a numeric IP address"},
                    TWrongLine{"WrongNetwork", {"--allow", "10.0.0.0/40"}, "not a number of bits"},
                    TWrongLine{"SetsWithoutAPrefix", {"--allow-set"}, "--set-prefix"},
                    TWrongLine{"PrefixWithoutSets", {"--set-prefix", "Device."}, "--allow-set"},
                    TWrongLine{"EmptyPrefix", {"--allow-set", "--set-prefix", ""}, "not empty"},
                    TWrongLine{"NoConnections", {"--max-connections", "0"}, "--max-connections"},
                    TWrongLine{"IdentityWithADash", {"--identity", "my-app"}, "not an identity"},
                    TWrongLine{"IdentityWithADigit", {"--identity", "1A"}, "not an identity"},
                    TWrongLine{"EmptyIdentity", {"--identity", ""}, "not an identity"},
                    TWrongLine{"LongIdentity", {"--identity", std::string(201, 'A')}, "not an identity"},
                    TWrongLine{"Surplus", {"surplus"}, "surplus"}),
    [](const auto& testCase) { return std::string(testCase.param.title); });

TEST(RemotedLine, EndsWithThreeWhenItCannotServe) {
    support::TTempDir directory;
    auto noFolder = support::RunProgram({ZELTO_REMOTED_PATH, "--root", directory.File("none")});
    EXPECT_EQ(noFolder.exitCode, 3);
    EXPECT_THAT(noFolder.errors, HasSubstr("cannot open the folder"));
    TRemoted remoted;
    auto taken = support::RunProgram({ZELTO_REMOTED_PATH, "--listen", remoted.Address()});
    EXPECT_EQ(taken.exitCode, 3);
    EXPECT_THAT(taken.errors, HasSubstr("cannot listen on " + remoted.Address()));
}

TEST(RemotedLine, ShowsHelpAndVersion) {
    auto help = support::RunProgram({ZELTO_REMOTED_PATH, "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.output, HasSubstr("--allow-set"));
    EXPECT_THAT(support::RunProgram({ZELTO_REMOTED_PATH, "--version"}).output,
                testing::MatchesRegex("zelto-remoted [0-9.]+\n"));
}

TEST(RemotedLoad, ServesAHundredPeersBesideAHundredSilentOnes) {
    capi::TCannedManager manager(TBusEnvironment::Bus().Address());
    manager.AnswerWith(ONE_PARAM);
    TRemoted remoted({"--max-per-peer", "250"});
    const pid_t process = remoted.Process().Pid();
    ASSERT_EQ(remoted.StatusOf(GetRequest("N")), "OK"); // connects to the bus
    ASSERT_TRUE(Eventually([&] { return remoted.StatusOf(GetRequest("N")) == "OK"; }));
    const std::size_t descriptors = support::OpenDescriptors(process);
    const std::size_t memory = support::ResidentKib(process);
    {
        std::vector<TTcpClient> silent;
        std::vector<TTcpClient> asking;
        for (int count = 0; count < 100; ++count) {
            silent.emplace_back(remoted.Address());
            asking.emplace_back(remoted.Address());
            ASSERT_TRUE(asking.back().Send(GetRequest("N")));
        }
        for (TTcpClient& client : asking) {
            EXPECT_EQ(StatusIn(client.ReadAnswer()), "OK");
        }
    }
    EXPECT_TRUE(Eventually([&] { return support::OpenDescriptors(process) <= descriptors; }));
    EXPECT_LT(support::ResidentKib(process), memory + 16384);
}

TEST(RemotedLoad, ServesFilesWhileTheManagerHangs) {
    TRawPeer hanging(TBusEnvironment::Bus().Address());
    ASSERT_NE(hanging.OwnName(capi::MANAGER_NAME), 0U);
    support::TTempDir directory;
    directory.Write("file", "content");
    TRemoted remoted({"--root", directory.Path(), "--timeout", "600"});
    std::vector<TTcpClient> waiting;
    for (int count = 0; count < 12; ++count) {
        waiting.emplace_back(remoted.Address());
        ASSERT_TRUE(waiting.back().Send(GetRequest("N")));
    }
    ASSERT_TRUE(hanging.WaitFor([](const auto& message) { return message.member == "GET_PARAM"; }));
    EXPECT_EQ(remoted.Ask(FileRequest("file")).blob, "content");
    // Nor does a request in progress keep it from ending.
    remoted.Process().Signal(SIGTERM);
    EXPECT_EQ(remoted.Process().WaitForExit(), 0);
    for (TTcpClient& client : waiting) {
        EXPECT_EQ(client.ReadToEnd(), "");
    }
}
