// Several parties in one process, and several threads in one party.

#include "BusParty.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <future>

using namespace busparty;
using namespace support;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

int Call(TZeltoIpc& party, const std::string& server, const std::string& method, const std::string& request,
         std::string& result) {
    TZeltoIpc::TMethodSettings settings{server, 10};
    return party.CallMethod(method, request, result, settings);
}

std::string CallFor(TZeltoIpc& party, const std::string& server, const std::string& method,
                    const std::string& request) {
    std::string result;
    const int code = Call(party, server, method, request, result);
    return std::to_string(code) + " " + result;
}

// Forwards what it gets to another server through a party of its own, one mark longer.
class TForwarder {
public:
    TForwarder(const std::string& identity, std::string nextServer)
        : serving(identity), next(std::move(nextServer)) {
        serving.party.AddMethodHandler("FORWARD", &handler);
    }
    ~TForwarder() { serving.party.Stop(); }

    TServingParty serving;

private:
    std::string next;
    THandler handler{[this](const std::string& request, std::string& result) {
        return Call(serving.party, next, next == "LAST" ? "ECHO" : "FORWARD", request + "+", result);
    }};
};

// Answers "SLOW" only when told to, and "ECHO" at once.
class THesitatingServer {
public:
    ~THesitatingServer() { Release(); }
    bool IsAsked() const {
        return peer->WaitFor([](const TRawMessage& message) { return message.member == "SLOW"; }).has_value();
    }
    void Release() {
        for (const TRawMessage& call :
             peer->Received([](const TRawMessage& message) { return message.member == "SLOW"; })) {
            peer->Reply(call, {std::string("slow"), int32_t{0}});
        }
        peer->ClearReceived();
    }

private:
    const std::unique_ptr<TRawPeer> peer =
        MakeRawServer("SERVER", [](TRawPeer& server, const TRawMessage& call) {
            if (call.member == "ECHO") {
                server.Reply(call, {call.Text(0), int32_t{0}});
            }
        });
};

} // namespace

TEST(TwoParties, OfOneProcessCallEachOther) {
    ASSERT_TRUE(BUS_READY);
    TServingParty one("ONE");
    TServingParty other("OTHER");
    EXPECT_EQ("0 to other", CallFor(one.party, "OTHER", "ECHO", "to other"));
    EXPECT_EQ("0 to one", CallFor(other.party, "ONE", "ECHO", "to one"));
}

TEST(TwoParties, HaveSettingsHandlersAndListenersOfTheirOwn) {
    const std::unique_ptr<TZeltoIpc> one(newZeltoIpcInstance());
    const std::unique_ptr<TZeltoIpc> other(newZeltoIpcInstance());
    TEventLog events;
    one->Configure({3, 7, true});
    one->AddEventLstener("", &events);
    one->SetMethodServerId("*", "SERVER");
    TZeltoIpc::TZeltoIpcSettings settings{};
    other->GetSettings(settings);
    EXPECT_EQ(1, settings.threadCount);
    EXPECT_EQ(60, settings.methodTimeout);
    EXPECT_FALSE(settings.monitor);
    EXPECT_EQ(0, other->GetEventListenersNumber());
    std::string serverId = "before";
    other->GetMethodServerId("GET", serverId);
    EXPECT_EQ("before", serverId);
}

TEST(TwoParties, LiveAndDieByThemselves) {
    TServingParty stays("STAYS");
    {
        TServingParty goes("GOES");
        EXPECT_EQ("0 request", CallFor(stays.party, "GOES", "ECHO", "request"));
    }
    TServingParty next("NEXT");
    EXPECT_EQ("0 request", CallFor(next.party, "STAYS", "ECHO", "request"));
    stays.party.SendEvent("E", "data");
    EXPECT_TRUE(next.events.WaitFor({"E", "data"}));
    EXPECT_TRUE(stays.events.WaitFor({"E", "data"}));
}

TEST(TwoParties, MayBeTheSharedOneAndOneOfOnesOwn) {
    TZeltoIpc* const shared = getZeltoIpcInstance();
    THandler echo{Echo};
    shared->AddMethodHandler("ECHO", &echo);
    shared->Init("SHARED");
    shared->Run();
    const std::unique_ptr<TZeltoIpc> own(newZeltoIpcInstance());
    EXPECT_EQ("0 request", CallFor(*own, "SHARED", "ECHO", "request"));
    shared->Stop();
    shared->RemoveMethodHandler("ECHO");
}

TEST(HandlerThatCalls, GetsItsAnswerFromAnotherParty) {
    const TServingParty last("LAST");
    const TForwarder first("FIRST", "LAST");
    TAccessParty caller;
    EXPECT_EQ("0 request+", CallFor(caller, "FIRST", "FORWARD", "request"));
}

TEST(HandlerThatCalls, MayBeOneOfAWholeChain) {
    const TServingParty last("LAST");
    const TForwarder third("THIRD", "LAST");
    const TForwarder second("SECOND", "THIRD");
    const TForwarder first("FIRST", "SECOND");
    TAccessParty caller;
    EXPECT_EQ("0 request+++", CallFor(caller, "FIRST", "FORWARD", "request"));
}

TEST(HandlerThatCalls, MayUseAnotherPartyOfTheProcess) {
    const TServingParty last("LAST");
    TServingParty first("FIRST");
    TAccessParty messenger;
    THandler handler([&](const std::string& request, std::string& result) {
        return Call(messenger, "LAST", "ECHO", request, result);
    });
    first.party.AddMethodHandler("GET", &handler);
    TAccessParty caller;
    EXPECT_EQ("0 request", CallFor(caller, "FIRST", "GET", "request"));
}

TEST(HandlerThatCalls, PassesOnThatNobodyAnswers) {
    const TForwarder first("FIRST", "NOBODY");
    TAccessParty caller;
    EXPECT_EQ("-1 ", CallFor(caller, "FIRST", "FORWARD", "request"));
}

TEST(HandlerThatCalls, ItsOwnPartyRunsIntoItsTimeout) {
    TServingParty serving("PARTY");
    THandler handler([&](const std::string&, std::string& result) {
        TZeltoIpc::TMethodSettings settings{"PARTY", 0};
        return serving.party.CallMethod("ECHO", "", result, settings);
    });
    serving.party.AddMethodHandler("SELF", &handler);
    TAccessParty caller;
    EXPECT_EQ("-1 ", CallFor(caller, "PARTY", "SELF", ""));
    EXPECT_EQ("0 next", CallFor(caller, "PARTY", "ECHO", "next"));
}

TEST(ListenerThatCalls, GetsItsAnswer) {
    const TServingParty server("SERVER");
    TServingParty listening("LISTENING");
    class TCalling : public IZeltoIpcEventListener {
    public:
        explicit TCalling(TZeltoIpc& callingParty) : party(callingParty) {}
        void OnEvent(const std::string& eventName, const std::string& eventData) override {
            if (eventName == "ASK") {
                answer.set_value(CallFor(party, "SERVER", "ECHO", eventData));
            }
        }
        std::promise<std::string> answer;

    private:
        TZeltoIpc& party;
    };
    TCalling calling(listening.party);
    listening.party.AddEventLstener("", &calling);
    listening.party.SendEvent("ASK", "question");
    auto answer = calling.answer.get_future();
    ASSERT_EQ(std::future_status::ready, answer.wait_for(DEFAULT_TIMEOUT));
    EXPECT_EQ("0 question", answer.get());
    listening.party.RemoveEventLstener(&calling);
}

TEST(SlowCall, HoldsUpNoOtherCallOfTheParty) {
    THesitatingServer server;
    TAccessParty party;
    auto slow = std::async(std::launch::async, [&] { return CallFor(party, "SERVER", "SLOW", ""); });
    ASSERT_TRUE(server.IsAsked());
    EXPECT_EQ("0 fast", CallFor(party, "SERVER", "ECHO", "fast"));
    server.Release();
    EXPECT_EQ("0 slow", slow.get());
}

TEST(SlowCall, HoldsUpNoEventAndNoServing) {
    THesitatingServer server;
    TServingParty serving("PARTY");
    auto slow = std::async(std::launch::async, [&] { return CallFor(serving.party, "SERVER", "SLOW", ""); });
    ASSERT_TRUE(server.IsAsked());
    serving.party.SendEvent("E", "data");
    EXPECT_TRUE(serving.events.WaitFor({"E", "data"}));
    TAccessParty other;
    EXPECT_EQ("0 request", CallFor(other, "PARTY", "ECHO", "request"));
    server.Release();
    EXPECT_EQ("0 slow", slow.get());
}

TEST(SlowCall, IsAnsweredWhenAFasterOneHasRunIntoItsTimeout) {
    THesitatingServer server;
    TAccessParty party;
    auto slow = std::async(std::launch::async, [&] { return CallFor(party, "SERVER", "SLOW", ""); });
    ASSERT_TRUE(server.IsAsked());
    TZeltoIpc::TMethodSettings noTime{"SERVER", 0};
    std::string result;
    EXPECT_EQ(-1, party.CallMethod("UNANSWERED", "", result, noTime));
    server.Release();
    EXPECT_EQ("0 slow", slow.get());
}

TEST(ManyThreads, EachGetItsOwnAnswersFromOneParty) {
    const TServingParty server("SERVER", 2);
    TAccessParty party;
    const auto callOften = [&](int thread) {
        for (int number = 0; number < 100; ++number) {
            const std::string request = std::to_string(thread) + "/" + std::to_string(number);
            EXPECT_EQ("0 " + request, CallFor(party, "SERVER", "ECHO", request));
        }
    };
    std::vector<std::future<void>> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.push_back(std::async(std::launch::async, callOften, thread));
    }
    for (std::future<void>& thread : threads) {
        thread.get();
    }
}

TEST(Handler, MayRemoveItselfWhileServing) {
    TServingParty serving("PARTY");
    THandler once([&](const std::string&, std::string& result) {
        serving.party.RemoveMethodHandler("ONCE");
        result = "once";
        return 0;
    });
    serving.party.AddMethodHandler("ONCE", &once);
    TAccessParty caller;
    EXPECT_EQ("0 once", CallFor(caller, "PARTY", "ONCE", ""));
    EXPECT_EQ("-1 ", CallFor(caller, "PARTY", "ONCE", ""));
}
