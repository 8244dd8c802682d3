// A manager whose answers are not what they should be, or that goes away between them.

#include "cli/Golden.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

using cli::RunZelto;
using cli::TLine;
using support::TBusEnvironment;
using support::TRawArguments;
using support::TRawMessage;
using support::TRawPeer;

namespace {

using TAnswers = std::function<TRawArguments(const TRawMessage&)>;

std::unique_ptr<TRawPeer> Serve(const TAnswers& answers) {
    auto peer = std::make_unique<TRawPeer>(TBusEnvironment::Bus().Address());
    peer->ServeWith(answers);
    EXPECT_NE(peer->OwnName(e2e::MANAGER_NAME), 0U);
    return peer;
}

TAnswers Always(const std::string& text) {
    return [text](const TRawMessage&) { return TRawArguments{text, int32_t{0}}; };
}

struct TMissing {
    const char* title;
    TLine arguments;
    const char* what;
    const char* key;
};

} // namespace

class AnswerWithoutKey : public testing::TestWithParam<TMissing> {};

TEST_P(AnswerWithoutKey, EndsWithThree) {
    for (const char* text : {"", "{}", "no JSON", "[1]", "5"}) {
        const auto manager = Serve(Always(text));
        const auto result = RunZelto(GetParam().arguments);
        EXPECT_EQ(result.exitCode, 3) << text;
        EXPECT_EQ(result.output, "") << text;
        EXPECT_EQ(result.errors,
                  std::string("zelto: ") + GetParam().what + ": the answer has no " + GetParam().key + "\n")
            << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Verbs, AnswerWithoutKey,
                         testing::Values(TMissing{"Get", {"get", "A"}, "get A", "PARAMS"},
                                         TMissing{
                                             "GetSeveral", {"get", "A", "B"}, "get A and 1 more", "PARAMS"},
                                         TMissing{"GetLong", {"get", "--long", "A"}, "get A", "VALUE"},
                                         TMissing{"GetObj", {"getobj", "A.", "B"}, "getobj A.", "PARAMS"},
                                         TMissing{"Add", {"add", "A."}, "add A.", "ID"},
                                         TMissing{"Ls", {"ls", "A."}, "ls A.", "IDS"},
                                         TMissing{"Map", {"map"}, "map", "DATA_MODELS"}),
                         [](const auto& missing) { return std::string(missing.param.title); });

TEST(OddAnswer, OfAnotherKindReadsAsEmpty) {
    const auto manager =
        Serve(Always(R"({"PARAMS": [1, null, {"NAME": 5}, {"VALUE": "v"}], "VALUE": null})"));
    const auto result = RunZelto({"get", "A"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "=\n=\n=\n=v\n");
    EXPECT_EQ(RunZelto({"get", "--long", "A"}).output, "");
}

TEST(OddAnswer, WithoutArgumentsIsARefusal) {
    const auto manager = Serve([](const TRawMessage&) { return TRawArguments{}; });
    const auto result = RunZelto({"get", "A"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "zelto: get A: refused by the manager\n");
}

TEST(OddAnswer, CanBeAnError) {
    TRawPeer manager(TBusEnvironment::Bus().Address());
    manager.Serve([](TRawPeer& peer, const TRawMessage& call) {
        peer.ReplyError(call, "com.example.Error.Soup", "no \033 soup");
    });
    ASSERT_NE(manager.OwnName(e2e::MANAGER_NAME), 0U);
    const auto result = RunZelto({"get", "A"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: get A: no \\033 soup\n");
}

TEST(OddAnswer, HasAnyCode) {
    const auto manager = Serve([](const TRawMessage&) {
        return TRawArguments{std::string("{}"), int32_t{-77}};
    });
    const auto result = RunZelto({"call", "SING"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "{}\n");
    EXPECT_EQ(result.errors, "zelto: call SING: refused by the manager with code -77\n");
}

// It refuses a list, sets one parameter by itself and is gone.
TEST(ManagerThatDies, BetweenTwoParametersEndsTheCommandWithSeven) {
    TRawPeer manager(TBusEnvironment::Bus().Address());
    std::atomic<int> singles{0};
    manager.Serve([&singles](TRawPeer& peer, const TRawMessage& call) {
        if (call.member != "SET_PARAM") {
            peer.Reply(call, {std::string(), int32_t{-1}});
        } else if (++singles == 1) {
            peer.Reply(call, {std::string(), int32_t{0}});
        } else {
            peer.ReplyError(call, "org.freedesktop.DBus.Error.NoReply", "it is gone");
        }
    });
    ASSERT_NE(manager.OwnName(e2e::MANAGER_NAME), 0U);
    const auto result = RunZelto({"set", "A=1", "B=1", "C=1"});
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_EQ(result.errors, "zelto: set A: done\nzelto: set B: it is gone\nzelto: set C: not tried\n");
}

// It refuses a list, answers for A by itself and is gone.
TEST(ManagerThatDies, BetweenTwoReadsEndsTheCommandWithSeven) {
    TRawPeer manager(TBusEnvironment::Bus().Address());
    manager.Serve([](TRawPeer& peer, const TRawMessage& call) {
        if (call.member != "GET_PARAM") {
            peer.Reply(call, {std::string(), int32_t{-1}});
        } else if (call.Text(0) == R"({"NAME": "A"})") {
            peer.Reply(call, {std::string(R"({"PARAMS": [{"NAME": "A", "VALUE": "a"}]})"), int32_t{0}});
        } else {
            peer.ReplyError(call, "org.freedesktop.DBus.Error.NoReply", "it is gone");
        }
    });
    ASSERT_NE(manager.OwnName(e2e::MANAGER_NAME), 0U);
    const auto get = RunZelto({"get", "A", "B", "C"});
    EXPECT_EQ(get.exitCode, 7);
    EXPECT_EQ(get.output, "A=a\n");
    EXPECT_EQ(get.errors, "zelto: get B: it is gone\nzelto: get C: not tried\n");
    const auto dryRun = RunZelto({"set", "--dry-run", "A=1", "B=1", "C=1"});
    EXPECT_EQ(dryRun.exitCode, 7);
    EXPECT_EQ(dryRun.output, "A: a -> 1\n");
    EXPECT_EQ(dryRun.errors, "zelto: set B: it is gone\nzelto: set C: not tried\n");
    const auto none = RunZelto({"get", "B", "A"});
    EXPECT_EQ(none.exitCode, 3);
    EXPECT_EQ(none.errors, "zelto: get B: it is gone\nzelto: get A: not tried\n");
}

TEST(RollBack, ThatFailsEndsWithSeven) {
    std::atomic<bool> isSet{false};
    const auto manager = Serve([&isSet](const TRawMessage& call) {
        if (call.member == "GET_PARAM_ARRAY") {
            return TRawArguments{
                std::string(R"({"PARAMS": [{"NAME": "A", "VALUE": "old"}, {"NAME": "B", "VALUE": "old"}]})"),
                int32_t{0}};
        }
        if (call.member == "GET_PARAM") {
            return TRawArguments{std::string(R"({"PARAMS": [{"NAME": "A", "VALUE": "new"}]})"), int32_t{0}};
        }
        const bool isFirst = call.member == "SET_PARAM" && !isSet.exchange(true);
        return TRawArguments{std::string(), int32_t{isFirst ? 0 : -1}};
    });
    const auto result = RunZelto({"set", "--rollback", "A=new", "B=new"});
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_EQ(result.errors, "zelto: set B: refused by the manager\n"
                             "zelto: set B: does not have its old value again: refused by the manager\n"
                             "zelto: set A: does not have its old value again: refused by the manager\n"
                             "zelto: set: not everything is as it was\n");
}

// The list is written all the same.
TEST(RollBack, HappensWhenNoAnswerComes) {
    TRawPeer manager(TBusEnvironment::Bus().Address());
    std::atomic<bool> isNew{false};
    manager.Serve([&isNew](TRawPeer& peer, const TRawMessage& call) {
        if (call.member == "SET_PARAM_ARRAY") {
            isNew = true;
            return;
        }
        if (call.member == "SET_PARAM") {
            isNew = call.Text(0).find("old") == std::string::npos;
        }
        const std::string value = isNew ? "new" : "old";
        peer.Reply(call, {R"({"PARAMS": [{"NAME": "A", "VALUE": ")" + value + "\"}]}", int32_t{0}});
    });
    ASSERT_NE(manager.OwnName(e2e::MANAGER_NAME), 0U);
    const auto result = RunZelto({"-t", "1", "set", "--rollback", "A=new", "A=newer"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_EQ(result.errors, "zelto: set A: no answer within 1 s\nzelto: set: everything is as it was\n");
    EXPECT_FALSE(isNew);
}

TEST(RollBack, EndsWhenNobodyAnswersItsQuestions) {
    TRawPeer manager(TBusEnvironment::Bus().Address());
    manager.Serve([](TRawPeer& peer, const TRawMessage& call) {
        if (call.member == "GET_PARAM_ARRAY") {
            peer.Reply(call, {std::string(R"({"PARAMS": [{"NAME": "A", "VALUE": "old"},
                                                         {"NAME": "B", "VALUE": "old"}]})"),
                              int32_t{0}});
        } else {
            peer.ReplyError(call, "org.freedesktop.DBus.Error.NoReply", "it is gone");
        }
    });
    ASSERT_NE(manager.OwnName(e2e::MANAGER_NAME), 0U);
    const auto result = RunZelto({"set", "--rollback", "A=new", "B=new"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.errors, "zelto: set A: it is gone\n"
                             "zelto: set B: it is not known whether it has its old value: it is gone\n"
                             "zelto: set: it is not known what is written\n");
}
