// A callback may give its own party another identity or stop it. Both used to end the calls of that callback
// at once, the one with which Init releases the old name included.

#include "bus/BusParty.h"

#include <gtest/gtest.h>

#include <optional>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

class CallsInACallback : public testing::TestWithParam<int> {
protected:
    CallsInACallback() {
        party.Configure({GetParam(), 10, false});
        party.AddMethodHandler("ACT", &handler);
        party.Init("BEFORE");
        party.Run();
    }
    ~CallsInACallback() override { party.Stop(); }

    // What a callback of the party gets when it does this and then calls a method of another party.
    std::string AnswerAfter(std::function<void()> firstAction) {
        action = std::move(firstAction);
        TRawPeer caller(BusAddress());
        const auto answer = caller.Call(PartyTarget("BEFORE", "ACT"), {std::string()});
        return answer && answer->IsReturn() ? answer->Text(0) : "no answer";
    }

    int Act(std::string& result) {
        action();
        TZeltoIpc::TMethodSettings settings{"OTHER", 10};
        return party.CallMethod("ECHO", "", result, settings);
    }

    std::function<void()> action;
    THandler handler{[this](const std::string&, std::string& result) { return Act(result); }};
    const std::unique_ptr<TRawPeer> other = MakeRawServerWith("OTHER", [](const TRawMessage&) {
        return TRawArguments{std::string("answered"), int32_t{0}};
    });
    TAccessParty party;
};

INSTANTIATE_TEST_SUITE_P(Threads, CallsInACallback, testing::Values(1, 8));

} // namespace

TEST_P(CallsInACallback, WorkAfterInit) {
    ASSERT_TRUE(BUS_READY);
    EXPECT_EQ("answered", AnswerAfter([this] { party.Init("AFTER"); }));
    TRawPeer peer(BusAddress());
    EXPECT_FALSE(peer.HasOwner(BusName("BEFORE")));
    const auto answer = peer.Call(PartyTarget("AFTER", "UNKNOWN"), {std::string()});
    EXPECT_TRUE(answer && answer->IsReturn());
}

TEST_P(CallsInACallback, WorkAfterStop) {
    EXPECT_EQ("answered", AnswerAfter([this] { party.Stop(); }));
}
