// Calls that a party makes: what goes over the bus, and what comes of each kind of answer.

#include "BusParty.h"

#include "support/BusRecorder.h"
#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

using namespace busparty;
using namespace support;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

struct TOutcome {
    int code;
    std::string result;
    bool operator==(const TOutcome& other) const { return code == other.code && result == other.result; }
};

std::ostream& operator<<(std::ostream& out, const TOutcome& outcome) {
    return out << outcome.code << " '" << outcome.result << "'";
}

TOutcome Call(TZeltoIpc& party, const std::string& server, const std::string& method = "GET",
              int32_t timeout = -1) {
    TZeltoIpc::TMethodSettings settings{server, timeout};
    TOutcome outcome{0, "before"};
    outcome.code = party.CallMethod(method, "request", outcome.result, settings);
    return outcome;
}

TOutcome CallAnswered(const TRawArguments& answer) {
    const auto server = MakeRawServerWith("SERVER", [&](const TRawMessage&) { return answer; });
    TAccessParty party;
    return Call(party, "SERVER");
}

void AppendNested(DBusMessageIter& iter, bool withValues) {
    DBusMessageIter array;
    DBusMessageIter entry;
    DBusMessageIter variant;
    const char* const key = "inner";
    const dbus_int32_t value = 99;
    (void)dbus_message_iter_open_container(&iter, DBUS_TYPE_ARRAY, "{sv}", &array);
    (void)dbus_message_iter_open_container(&array, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
    (void)dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
    (void)dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "i", &variant);
    (void)dbus_message_iter_append_basic(&variant, DBUS_TYPE_INT32, &value);
    (void)dbus_message_iter_close_container(&entry, &variant);
    (void)dbus_message_iter_close_container(&array, &entry);
    (void)dbus_message_iter_close_container(&iter, &array);
    if (withValues) {
        Appending({std::string("outer"), int32_t{4}})(iter);
    }
}

TOutcome CallAnsweredNested(bool withValues) {
    const auto server = MakeRawServer("SERVER", [&](TRawPeer& peer, const TRawMessage& call) {
        peer.Reply(call, TRawBuilder([&](DBusMessageIter& iter) { AppendNested(iter, withValues); }));
    });
    TAccessParty party;
    return Call(party, "SERVER");
}

} // namespace

TEST(CallMethod, SendsOneCallAndTakesTextAndCodeFromItsAnswer) {
    ASSERT_TRUE(BUS_READY);
    const auto server = MakeRawServerWith("SERVER", [](const TRawMessage&) {
        return TRawArguments{std::string("answer"), int32_t{7}};
    });
    TAccessParty party;
    party.Connect();
    TBusRecorder recorder(BusAddress());
    EXPECT_EQ((TOutcome{7, "answer"}), Call(party, "SERVER", "GET_PARAM"));
    const std::vector<TRawMessage> seen = recorder.Messages();
    ASSERT_EQ(2U, seen.size());
    const std::string client = dbus_bus_get_unique_name(party.clientConnection);
    EXPECT_EQ("call " + client +
                  " -> com.Ulmet.Zelto.SERVER /com/Ulmet/Zelto/SERVER "
                  "com.Ulmet.Zelto.Zelto.GET_PARAM(\"request\")",
              Describe(seen[0]));
    EXPECT_FALSE(seen[0].noReply);
    EXPECT_TRUE(seen[1].IsReturn());
    EXPECT_THAT(LogSpy::Messages(), ElementsAre(LogSpy::TMessage{7, "\"%s\"", "\"request\""}));
}

TEST(CallMethod, KeepsTheResultOfAnAnswerWithOnlyAText) {
    EXPECT_EQ((TOutcome{-1, "text"}), CallAnswered({std::string("text")}));
}

TEST(CallMethod, EmptiesTheResultForAnAnswerWithOnlyACode) {
    EXPECT_EQ((TOutcome{5, ""}), CallAnswered({int32_t{5}}));
}

TEST(CallMethod, SaysThatAnAnswerLacksItsTextOrItsCode) {
    const struct {
        TRawArguments answer;
        const char* signature;
    } rows[] = {
        {{std::string("text")}, "s"},
        {{int32_t{0}}, "i"},
        {{int32_t{0}, std::string("text")}, "is"},
        {{std::string("text"), uint32_t{0}}, "su"},
    };
    for (const auto& row : rows) {
        LogSpy::Clear();
        (void)CallAnswered(row.answer);
        const std::string line =
            std::string("\"The answer to 'GET' is '") + row.signature + "' instead of a text and a code.\"";
        EXPECT_EQ(1U, LogSpy::Count(5, line)) << LogSpy::Dump();
    }
}

TEST(CallMethod, TakesAnAnswerWithoutArgumentsForAFailure) {
    EXPECT_EQ((TOutcome{-1, ""}), CallAnswered({}));
    EXPECT_TRUE(LogSpy::Contains(5, "\"Message has no parameters.\""));
    EXPECT_EQ(1U, LogSpy::Count(5));
}

TEST(CallMethod, TakesCodeAndTextInAnyOrder) {
    EXPECT_EQ((TOutcome{5, "text"}), CallAnswered({int32_t{5}, std::string("text")}));
}

TEST(CallMethod, TakesTheLaterOfTwoArgumentsOfOneType) {
    EXPECT_EQ((TOutcome{-1, "second"}), CallAnswered({std::string("first"), std::string("second")}));
    EXPECT_EQ((TOutcome{2, "text"}), CallAnswered({int32_t{1}, std::string("text"), int32_t{2}}));
}

TEST(CallMethod, LooksAtNoMoreThanThreeArguments) {
    EXPECT_EQ((TOutcome{1, "first"}), CallAnswered({std::string("first"), int32_t{1}, true, int32_t{2}}));
    EXPECT_EQ((TOutcome{-1, ""}), CallAnswered({true, true, true, std::string("late")}));
}

TEST(CallMethod, SkipsArgumentsOfOtherTypes) {
    EXPECT_EQ((TOutcome{3, ""}), CallAnswered({uint32_t{1}, 2.5, int32_t{3}}));
    EXPECT_EQ((TOutcome{-1, ""}), CallAnswered({int64_t{1}, int16_t{2}, uint8_t{3}}));
}

TEST(CallMethod, NeverLooksIntoContainers) {
    EXPECT_EQ((TOutcome{-1, ""}), CallAnsweredNested(false));
    EXPECT_EQ((TOutcome{4, "outer"}), CallAnsweredNested(true));
}

TEST(CallMethod, GivesEveryCodeAsItIs) {
    for (const int32_t code : {INT32_MIN, -2, 0, INT32_MAX}) {
        EXPECT_EQ((TOutcome{code, "x"}), CallAnswered({std::string("x"), code}));
    }
}

TEST(CallMethod, LogsTheTextOfAnErrorAndLeavesTheResult) {
    const auto server = MakeRawServer("SERVER", [](TRawPeer& peer, const TRawMessage& call) {
        peer.ReplyError(call, "test.Error", "100%s refused");
    });
    TAccessParty party;
    EXPECT_EQ((TOutcome{-1, "before"}), Call(party, "SERVER"));
    EXPECT_THAT(LogSpy::Messages(), ElementsAre(LogSpy::TMessage{7, "\"%s\"", "\"request\""},
                                                LogSpy::TMessage{3, "\"%s\"", "\"100%s refused\""}));
}

TEST(CallMethod, LogsAnEmptyTextForAnErrorWithoutOne) {
    const auto server = MakeRawServer("SERVER", [](TRawPeer& peer, const TRawMessage& call) {
        peer.ReplyError(call, "test.Error", TRawArguments{int32_t{5}});
    });
    TAccessParty party;
    EXPECT_EQ((TOutcome{-1, "before"}), Call(party, "SERVER"));
    EXPECT_TRUE(LogSpy::Contains(3, "\"\""));
}

TEST(CallMethod, LogsTheFirstTextOfAnErrorWhereverItStands) {
    const auto server = MakeRawServer("SERVER", [](TRawPeer& peer, const TRawMessage& call) {
        peer.ReplyError(call, "test.Error", {int32_t{5}, std::string("first"), std::string("second")});
    });
    TAccessParty party;
    EXPECT_EQ((TOutcome{-1, "before"}), Call(party, "SERVER"));
    EXPECT_TRUE(LogSpy::Contains(3, "\"first\""));
    EXPECT_EQ(1U, LogSpy::Count(3));
}

TEST(CallMethod, LogsWhatTheBusSaysWhenThereIsNoServer) {
    TAccessParty party;
    EXPECT_EQ((TOutcome{-1, "before"}), Call(party, "NOBODY"));
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::ContainsPart(3, "com.Ulmet.Zelto.NOBODY"));
}

TEST(CallMethod, FailsWhenTheServerDiesInTheMiddleOfTheCall) {
    auto server = MakeRawServer("SERVER", nullptr);
    TAccessParty party;
    auto call = std::async(std::launch::async, [&] { return Call(party, "SERVER"); });
    ASSERT_TRUE(server->WaitFor([](const TRawMessage& message) { return message.member == "GET"; }));
    server.reset();
    EXPECT_EQ((TOutcome{-1, "before"}), call.get());
    EXPECT_EQ(1U, LogSpy::Count(3));
}

TEST(CallMethod, TakesTheServerOfTheTableWhenNoneIsGiven) {
    const auto one = MakeRawServerWith("ONE", [](const TRawMessage&) { return TRawArguments{int32_t{1}}; });
    const auto other =
        MakeRawServerWith("OTHER", [](const TRawMessage&) { return TRawArguments{int32_t{2}}; });
    TAccessParty party;
    party.SetMethodServerId("*", "ONE");
    party.SetMethodServerId("SET", "OTHER");
    EXPECT_EQ(1, Call(party, "", "GET").code);
    EXPECT_EQ(2, Call(party, "", "SET").code);
    EXPECT_EQ(2, Call(party, "OTHER", "GET").code);
    std::string result;
    EXPECT_EQ(1, party.CallMethod("GET", "", result));
    EXPECT_EQ(2, party.CallMethod("SET", "", result));
}

TEST(CallMethod, FailsWithALogLineWhenNoServerIsKnown) {
    TAccessParty party;
    std::string result = "before";
    EXPECT_EQ(-1, party.CallMethod("GET", "request", result));
    const LogSpy::TMessage line{3, "\"No server ID provided for '%s' method!\"",
                                "\"No server ID provided for 'GET' method!\""};
    EXPECT_THAT(LogSpy::Messages(), ElementsAre(line));
    EXPECT_EQ((TOutcome{-1, "before"}), Call(party, ""));
    EXPECT_THAT(LogSpy::Messages(), ElementsAre(line, LogSpy::TMessage{7, "\"%s\"", "\"request\""}, line));
    EXPECT_EQ("before", result);
    EXPECT_FALSE(party.connected);
}

TEST(CallMethod, FailsWhenTheTableKnowsOnlyOtherMethods) {
    TAccessParty party;
    party.SetMethodServerId("SET", "SERVER");
    std::string result = "before";
    EXPECT_EQ(-1, party.CallMethod("GET", "request", result));
    EXPECT_TRUE(LogSpy::Contains(3, "\"No server ID provided for 'GET' method!\""));
}

TEST(CallMethod, WithoutSettingsGoesThroughTheOneWithSettings) {
    class TSpying : public TZeltoDBus {
    public:
        using TZeltoDBus::CallMethod;
        int CallMethod(const std::string& method, const std::string& request, std::string& result,
                       TMethodSettings& settings) override {
            result =
                method + " " + request + " " + settings.serverId + " " + std::to_string(settings.timeout);
            return 9;
        }
    };
    TSpying party;
    party.SetMethodServerId("*", "SERVER");
    std::string result;
    EXPECT_EQ(9, party.CallMethod("GET", "request", result));
    EXPECT_EQ("GET request SERVER -1", result);
}

TEST(CallTimeout, OfZeroWaitsForNothingButSendsTheCall) {
    const auto server = MakeRawServer("SERVER", nullptr);
    TAccessParty party;
    EXPECT_EQ((TOutcome{-1, "before"}), Call(party, "SERVER", "GET", 0));
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"Did not receive a reply. Possible causes include: the remote "
                                    "application did not send a reply, the message bus security policy "
                                    "blocked the reply, the reply timeout expired, or the network "
                                    "connection was broken.\""));
    EXPECT_TRUE(server->WaitFor([](const TRawMessage& message) { return message.member == "GET"; }));
}

TEST(CallTimeout, OfLessThanMinusOneCountsAsZero) {
    const auto server = MakeRawServer("SERVER", nullptr);
    TAccessParty party;
    EXPECT_EQ(-1, Call(party, "SERVER", "GET", -2).code);
    EXPECT_EQ(-1, Call(party, "SERVER", "GET", INT32_MIN).code);
}

TEST(CallTimeout, OfMinusOneIsTheConfiguredOne) {
    const auto server = MakeRawServer("SERVER", nullptr);
    TAccessParty party;
    party.Configure({1, 0, false});
    EXPECT_EQ(-1, Call(party, "SERVER", "GET", -1).code);
    party.Configure({1, INT32_MIN, false});
    EXPECT_EQ(-1, Call(party, "SERVER", "GET", -1).code);
}

TEST(CallTimeout, SaturatesInsteadOfEndingAtOnce) {
    const auto server = MakeRawServerWith("SERVER", [](const TRawMessage&) {
        return TRawArguments{std::string("in time"), int32_t{0}};
    });
    TAccessParty party;
    for (const int32_t seconds : {2147484, 4294968, INT32_MAX}) {
        EXPECT_EQ((TOutcome{0, "in time"}), Call(party, "SERVER", "GET", seconds)) << seconds;
    }
}

TEST(CallTimeout, DropsTheLateAnswerAndTheNextCallGetsItsOwn) {
    TRawMessage late;
    const auto server = MakeRawServer("SERVER", [&](TRawPeer& peer, const TRawMessage& call) {
        if (call.member == "SLOW") {
            late = call;
            return;
        }
        peer.Reply(late, {std::string("late"), int32_t{1}});
        peer.Reply(call, {std::string("own"), int32_t{2}});
    });
    TAccessParty party;
    EXPECT_EQ(-1, Call(party, "SERVER", "SLOW", 0).code);
    EXPECT_EQ((TOutcome{2, "own"}), Call(party, "SERVER", "FAST"));
}
