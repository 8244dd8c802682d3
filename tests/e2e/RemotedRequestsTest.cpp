// What zelto-remoted answers, and that no peer can disturb it.

#include "capi/CannedManager.h"
#include "e2e/Remoted.h"

#include "support/Eventually.h"
#include "support/ProcessStats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <string>
#include <utility>

using e2e::GetRequest;
using e2e::SetRequest;
using e2e::StatusIn;
using e2e::TRemoted;
using support::Eventually;
using support::TBusEnvironment;
using support::TRawPeer;
using support::TTcpAnswer;
using support::TTcpClient;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

namespace {

const std::string NAME = "Device.WiFi.SSID.1.SSID";
const std::string ONE_PARAM = R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "Home"}]})";
const std::string ONE_PARAM_ANSWER =
    R"({"STATUS": "OK", "PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "Home"}]})";

std::string ParamOfAnswerSize(std::size_t size) {
    const std::size_t others =
        std::string(R"({"STATUS": "OK", "PARAMS": [{"NAME": "N", "VALUE": ""}]})").size();
    return R"({"PARAMS": [{"NAME": "N", "VALUE": ")" + std::string(size - others, 'v') + "\"}]}";
}

} // namespace

class Remoted : public testing::Test {
protected:
    Remoted() : manager(TBusEnvironment::Bus().Address()) { manager.AnswerWith(ONE_PARAM); }

    // Nothing that a peer does keeps it from answering the next one.
    void ExpectItServes() { EXPECT_EQ(remoted.Ask(GetRequest(NAME)).json, ONE_PARAM_ANSWER); }

    capi::TCannedManager manager;
    TRemoted remoted{{"--max-per-peer", "1000", "--max-connections", "1000"}};
};

TEST_F(Remoted, AnswersAGetWithTheManagersParameters) {
    TTcpAnswer answer = remoted.Ask(GetRequest(NAME));
    EXPECT_EQ(answer.json, ONE_PARAM_ANSWER);
    EXPECT_EQ(answer.blob, "");
    EXPECT_THAT(manager.Requests(), ElementsAre(Pair("GET_PARAM", R"({"NAME": ")" + NAME + "\"}")));
}

TEST_F(Remoted, LogsWhoAskedForWhat) {
    ExpectItServes();
    EXPECT_TRUE(remoted.Process().WaitForErrors("zelto-remoted: 127.0.0.1 GET_PARAM " + NAME + ": OK\n"));
}

TEST_F(Remoted, SaysThatTheManagerRefused) {
    manager.AnswerWith("", -1);
    EXPECT_EQ(remoted.StatusOf(GetRequest("Device.X")), "there is no manager"); // which refuses everything
}

TEST_F(Remoted, NeverSucceedsWithoutAParameter) {
    manager.AnswerWith(R"({"PARAMS": []})");
    EXPECT_EQ(remoted.StatusOf(GetRequest(NAME)), "the manager gave no parameter");
}

TEST_F(Remoted, GivesAnAnswerOfTheLargestSize) {
    manager.AnswerWith(ParamOfAnswerSize(4096));
    TTcpAnswer answer = remoted.Ask(GetRequest("N"));
    EXPECT_EQ(StatusIn(answer), "OK");
    EXPECT_EQ(answer.json.size(), 4096U);
}

TEST_F(Remoted, RefusesRatherThanCutsALongerAnswer) {
    manager.AnswerWith(ParamOfAnswerSize(4097));
    EXPECT_EQ(remoted.StatusOf(GetRequest("N")), "the answer is longer than 4096 bytes");
}

TEST_F(Remoted, TakesARequestOfTheLargestSizeAndNoLongerOne) {
    const std::size_t others = GetRequest("").size();
    EXPECT_EQ(remoted.StatusOf(GetRequest(std::string(65536 - others, 'n'))), "OK");
    EXPECT_EQ(remoted.StatusOf(GetRequest(std::string(65537 - others, 'n'))),
              "the request is longer than 65536 bytes");
}

TEST_F(Remoted, TakesARequestThatIsSplitAtAnyByte) {
    const std::string request = GetRequest(NAME);
    for (std::size_t split = 1; split < request.size(); ++split) {
        TTcpClient client(remoted.Address());
        ASSERT_TRUE(client.Send(request.substr(0, split)));
        ASSERT_TRUE(client.Send(request.substr(split)));
        EXPECT_EQ(client.ReadAnswer().json, ONE_PARAM_ANSWER) << split;
    }
}

TEST_F(Remoted, AnswersOneRequestOfAConnection) {
    TTcpAnswer answer = remoted.Ask(GetRequest("A") + GetRequest("B"));
    EXPECT_EQ(answer.json, ONE_PARAM_ANSWER);
    EXPECT_THAT(manager.Requests(), ElementsAre(Pair("GET_PARAM", R"({"NAME": "A"})")));
}

TEST_F(Remoted, SurvivesPeersThatCloseAtAnyByte) {
    const std::string request = GetRequest(NAME);
    ExpectItServes();
    const std::size_t before = support::OpenDescriptors(remoted.Process().Pid());
    for (std::size_t size = 0; size <= request.size(); ++size) {
        TTcpClient closing(remoted.Address());
        ASSERT_TRUE(closing.Send(request.substr(0, size)));
        TTcpClient resetting(remoted.Address());
        ASSERT_TRUE(resetting.Send(request.substr(0, size)));
        resetting.Reset();
    }
    ExpectItServes();
    EXPECT_TRUE(Eventually([&] { return support::OpenDescriptors(remoted.Process().Pid()) <= before; }));
}

TEST_F(Remoted, SurvivesGarbage) {
    std::mt19937 random(42);
    for (int round = 0; round < 100; ++round) {
        std::string garbage(random() % 2000 + 1, '\0');
        for (char& byte : garbage) {
            byte = static_cast<char>(random());
        }
        garbage[0] = round % 2 == 0 ? '{' : garbage[0];
        TTcpClient client(remoted.Address());
        (void)client.Send(garbage);
        client.HalfClose();
        const std::string status = StatusIn(client.ReadAnswer());
        EXPECT_TRUE(status != "OK" && !status.empty()) << round << ": " << status;
    }
    ExpectItServes();
}

TEST_F(Remoted, SurvivesDeepNesting) {
    EXPECT_EQ(remoted.StatusOf("{\"a\":" + std::string(32000, '[') + std::string(32000, ']') + "}"),
              "the request is no JSON text");
    ExpectItServes();
}

TEST_F(Remoted, RefusesASilentPeerInTheEnd) {
    TTcpClient silent(remoted.Address());
    TTcpClient unfinished(remoted.Address());
    ASSERT_TRUE(unfinished.Send("{\"REQUEST_TYPE\""));
    EXPECT_EQ(StatusIn(silent.ReadAnswer()), "the request has not come in time");
    EXPECT_EQ(StatusIn(unfinished.ReadAnswer()), "the request has not come in time");
    ExpectItServes();
}

class RemotedEnds : public testing::TestWithParam<int> {};

TEST_P(RemotedEnds, WithZeroOnASignal) {
    TRemoted remoted;
    TTcpClient silent(remoted.Address());
    remoted.Process().Signal(GetParam());
    EXPECT_EQ(remoted.Process().WaitForExit(), 0) << remoted.Process().Errors();
}

INSTANTIATE_TEST_SUITE_P(Signals, RemotedEnds, testing::Values(SIGTERM, SIGINT), [](const auto& testCase) {
    return testCase.param == SIGTERM ? "Term" : "Interrupt";
});

TEST(RemotedManager, MayComeLater) {
    TRemoted remoted;
    EXPECT_EQ(remoted.StatusOf(GetRequest(NAME)), "there is no manager");
    capi::TCannedManager manager(TBusEnvironment::Bus().Address());
    manager.AnswerWith(ONE_PARAM);
    EXPECT_EQ(remoted.StatusOf(GetRequest(NAME)), "OK");
}

TEST(RemotedManager, MayNotAnswer) {
    TRawPeer silent(TBusEnvironment::Bus().Address());
    ASSERT_NE(silent.OwnName(capi::MANAGER_NAME), 0U);
    TRemoted remoted({"--timeout", "1"});
    EXPECT_EQ(remoted.StatusOf(GetRequest(NAME)), "the manager does not answer");
}

TEST(RemotedBus, MayComeLater) {
    TRemoted remoted({"--identity", "FORBIDDEN"}); // which the bus refuses, as it would without being there
    EXPECT_EQ(remoted.StatusOf(GetRequest(NAME)), "the bus of the manager cannot be reached");
    EXPECT_TRUE(remoted.Process().WaitForErrors("cannot connect to the bus: "));
}

TEST(RemotedIdentity, IsThatOfRemoteRequests) {
    TRawPeer peer(TBusEnvironment::Bus().Address());
    TRemoted remoted;
    (void)remoted.StatusOf(GetRequest(NAME)); // connects to the bus
    EXPECT_TRUE(peer.HasOwner("com.Ulmet.Zelto.ZELTO_REMOTE"));
    TRemoted another({"--identity", "ZELTO_REMOTE_2"});
    (void)another.StatusOf(GetRequest(NAME));
    EXPECT_TRUE(peer.HasOwner("com.Ulmet.Zelto.ZELTO_REMOTE_2"));
}
