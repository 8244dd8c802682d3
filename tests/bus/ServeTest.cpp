// Calls that reach a party: what its handlers see, and what is answered.

#include "BusParty.h"

#include "support/BusRecorder.h"
#include "support/LogSpy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

using namespace busparty;
using namespace support;
using testing::ElementsAre;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

using TBusMessage = TZeltoDBus::TBusMessage;

// Calls "METHOD" of a party that has one handler of that name.
class OneHandler : public testing::Test {
protected:
    void Serve(THandler::TAnswer answer) {
        handler = std::make_unique<THandler>(std::move(answer));
        serving.party.AddMethodHandler("METHOD", handler.get());
    }

    TRawArguments Call(const std::string& member, const TRawBuilder& builder) {
        const auto answer = client.Call(PartyTarget("SERVER", member), builder);
        return answer && answer->IsReturn() ? answer->arguments : TRawArguments{};
    }
    TRawArguments Call(const TRawArguments& arguments) { return Call("METHOD", Appending(arguments)); }
    TRawArguments CallWithText() { return Call({std::string("request")}); }

    std::unique_ptr<THandler> handler;
    TServingParty serving{"SERVER"};
    TRawPeer client{BusAddress()};
    const TRawArguments failure{std::string(), int32_t{-1}};
};

// Says what request text the handler has got.
class RequestText : public OneHandler {
protected:
    std::string Of(const TRawBuilder& builder) {
        std::string seen = "not called";
        Serve([&](const std::string& request, std::string&) {
            seen = request;
            return 0;
        });
        EXPECT_EQ((TRawArguments{std::string(), int32_t{0}}), Call("METHOD", builder));
        return seen;
    }
    std::string Of(const TRawArguments& arguments) { return Of(Appending(arguments)); }
};

} // namespace

TEST_F(OneHandler, AnswersWithResultAndCode) {
    ASSERT_TRUE(BUS_READY);
    Serve([](const std::string& request, std::string& result) {
        result = "answer to " + request;
        return 7;
    });
    TBusRecorder recorder(BusAddress());
    EXPECT_EQ((TRawArguments{std::string("answer to request"), int32_t{7}}), CallWithText());
    const auto replies = recorder.Messages([](const TRawMessage& message) { return message.IsReturn(); });
    ASSERT_EQ(1U, replies.size());
    const std::string server = dbus_bus_get_unique_name(serving.party.serverConnection);
    EXPECT_EQ("return " + server + " -> " + client.UniqueName() + "(\"answer to request\", 7)",
              Describe(replies[0]));
    EXPECT_EQ("si", replies[0].signature);
    EXPECT_TRUE(LogSpy::Contains(7, "\"answer to request\""));
}

TEST_F(OneHandler, AnswersAFailureWithItsResult) {
    Serve([](const std::string&, std::string& result) {
        result = "reason";
        return -3;
    });
    EXPECT_EQ((TRawArguments{std::string("reason"), int32_t{-3}}), CallWithText());
}

TEST_F(OneHandler, GetsAnEmptyResultToFill) {
    Serve([](const std::string&, std::string& result) {
        const int code = static_cast<int>(result.size());
        result = "filled";
        return code;
    });
    EXPECT_EQ((TRawArguments{std::string("filled"), int32_t{0}}), CallWithText());
    EXPECT_EQ((TRawArguments{std::string("filled"), int32_t{0}}), CallWithText());
}

TEST_F(OneHandler, LeavesAnUnknownMethodToTheParty) {
    EXPECT_EQ(failure, Call("UNKNOWN", Appending({std::string("request")})));
    EXPECT_EQ(0U, LogSpy::Count(3));
}

TEST_F(OneHandler, IsCalledWhateverTheInterfaceAndThePath) {
    Serve(Echo);
    const auto answer = client.Call({BusName("SERVER"), "/elsewhere", "another.Interface", "METHOD"},
                                    TRawArguments{std::string("text")});
    ASSERT_TRUE(answer);
    EXPECT_EQ((TRawArguments{std::string("text"), int32_t{0}}), answer->arguments);
}

TEST_F(RequestText, IsEmptyWithoutArguments) {
    EXPECT_EQ("", Of(TRawArguments{}));
    EXPECT_EQ(1U, LogSpy::Count(5, "\"Message has no parameters.\""));
}

TEST_F(RequestText, IsTheTextArgumentWhereverItStands) {
    EXPECT_EQ("text", Of({std::string("text")}));
    EXPECT_EQ("text", Of({int32_t{1}, std::string("text")}));
    EXPECT_EQ("text", Of({true, 1.5, std::string("text")}));
    EXPECT_EQ("text", Of({std::string("text"), int32_t{1}, uint8_t{2}, std::string("fourth")}));
}

TEST_F(RequestText, IsTheLaterOfTwo) {
    EXPECT_EQ("second", Of({std::string("first"), std::string("second")}));
}

TEST_F(RequestText, IsEmptyForArgumentsOfOtherTypes) {
    EXPECT_EQ("", Of({int32_t{5}}));
    EXPECT_EQ("", Of({uint32_t{5}, int64_t{6}, 7.5}));
    EXPECT_EQ(0U, LogSpy::Count(5, "\"Message has no parameters.\""));
}

TEST_F(RequestText, IsNotTakenFromContainers) {
    EXPECT_EQ("", Of([](DBusMessageIter& iter) {
                  DBusMessageIter structure;
                  DBusMessageIter array;
                  const char* const text = "inner";
                  (void)dbus_message_iter_open_container(&iter, DBUS_TYPE_STRUCT, nullptr, &structure);
                  (void)dbus_message_iter_open_container(&structure, DBUS_TYPE_ARRAY, "s", &array);
                  (void)dbus_message_iter_append_basic(&array, DBUS_TYPE_STRING, &text);
                  (void)dbus_message_iter_close_container(&structure, &array);
                  (void)dbus_message_iter_close_container(&iter, &structure);
              }));
}

TEST_F(RequestText, IsNotTakenFromPathsAndSignatures) {
    EXPECT_EQ("", Of([](DBusMessageIter& iter) {
                  const char* const path = "/path";
                  const char* const signature = "a{sv}";
                  (void)dbus_message_iter_append_basic(&iter, DBUS_TYPE_OBJECT_PATH, &path);
                  (void)dbus_message_iter_append_basic(&iter, DBUS_TYPE_SIGNATURE, &signature);
              }));
}

TEST_F(OneHandler, ThatThrowsARuntimeErrorIsAnsweredForAndLogged) {
    Serve([](const std::string&, std::string& result) -> int {
        result = "half";
        throw std::runtime_error("broken %s handler");
    });
    EXPECT_EQ(failure, CallWithText());
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"broken %s handler\""));
}

TEST_F(OneHandler, ThatThrowsAnotherExceptionIsAnsweredForAndLogged) {
    Serve([](const std::string&, std::string&) -> int { throw std::out_of_range("too far"); });
    EXPECT_EQ(failure, CallWithText());
    EXPECT_TRUE(LogSpy::Contains(3, "\"too far\""));
}

TEST_F(OneHandler, ThatThrowsWhatIsNoExceptionIsAnsweredForAndLogged) {
    Serve([](const std::string&, std::string&) -> int { throw 42; });
    EXPECT_EQ(failure, CallWithText());
    EXPECT_EQ(1U, LogSpy::Count(3));
}

TEST_F(OneHandler, ServesOnAfterItHasThrown) {
    Serve([](const std::string& request, std::string& result) {
        if (request == "request") {
            throw std::runtime_error("once");
        }
        return Echo(request, result);
    });
    EXPECT_EQ(failure, CallWithText());
    EXPECT_EQ((TRawArguments{std::string("other"), int32_t{0}}), Call({std::string("other")}));
}

TEST_F(OneHandler, WhoseResultIsNotUtf8IsAnsweredForAndLoggedOnce) {
    Serve([](const std::string&, std::string& result) {
        result = "bad \xff text";
        return 0;
    });
    EXPECT_EQ(failure, CallWithText());
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"the result of 'METHOD' is not valid UTF-8\""));
    EXPECT_EQ((TRawArguments{std::string("next"), int32_t{0}}),
              Call("ECHO", Appending({std::string("next")})));
}

TEST_F(OneHandler, WhoseResultIsTooLongIsAnsweredForAndLoggedOnce) {
    Serve([](const std::string&, std::string& result) {
        result.assign(16U * 1024 * 1024 + 1, 'x');
        return 0;
    });
    EXPECT_EQ(failure, CallWithText());
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"the result of 'METHOD' is longer than 16 MiB\""));
}

TEST_F(OneHandler, MayAnswerAMegabyte) {
    Serve(Echo);
    const std::string text(1024U * 1024, 'x');
    EXPECT_EQ((TRawArguments{text, int32_t{0}}), Call({text}));
}

TEST(SeveralDispatchThreads, AnswerEveryCallOnce) {
    constexpr std::size_t COUNT = 100; // the bus allows 128 unanswered calls
    const TServingParty serving("SERVER", 8);
    TRawPeer client(BusAddress());
    for (std::size_t number = 0; number < COUNT; ++number) {
        (void)client.Post(PartyTarget("SERVER", "ECHO"), {std::to_string(number)});
    }
    const auto isReturn = [](const TRawMessage& message) {
        return message.IsReturn() && message.signature == "si";
    };
    EXPECT_TRUE(client.WaitForCount(isReturn, COUNT));
    const auto replies = client.Received(isReturn);
    ASSERT_EQ(COUNT, replies.size());
    for (std::size_t number = 0; number < replies.size(); ++number) {
        EXPECT_EQ(std::to_string(number), replies[number].Text(0));
    }
}

TEST(MessageHandler, LogsTheTextOfAnError) {
    TAccessParty party;
    const TBusMessage call(dbus_message_new_method_call("a.b", "/p", "a.b", "M"));
    dbus_message_set_serial(call(), 1);
    const TBusMessage error(dbus_message_new_error(call(), "test.Error", "refused"));
    party.MessageHandler(error());
    EXPECT_THAT(LogSpy::Messages(), ElementsAre(LogSpy::TMessage{3, "\"%s\"", "\"refused\""}));
}

TEST(MessageHandler, LogsAnEmptyTextForAnErrorWithoutOne) {
    TAccessParty party;
    const TBusMessage error(dbus_message_new(DBUS_MESSAGE_TYPE_ERROR));
    party.MessageHandler(error());
    EXPECT_TRUE(LogSpy::Contains(3, "\"\""));
}

TEST(MessageHandler, IgnoresMethodReturns) {
    TAccessParty party;
    TEventLog events;
    party.AddEventLstener("", &events);
    const TBusMessage answer(dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN));
    const char* const text = "text";
    dbus_message_append_args(answer(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    party.MessageHandler(answer());
    EXPECT_TRUE(LogSpy::Messages().empty());
}

TEST(MessageHandler, LetsTheExceptionOfAHandlerPass) {
    TAccessParty party;
    THandler handler([](const std::string&, std::string&) -> int { throw std::domain_error("broken"); });
    party.AddMethodHandler("M", &handler);
    const TBusMessage call(dbus_message_new_method_call("a.b", "/p", "a.b", "M"));
    EXPECT_THROW(party.MessageHandler(call()), std::domain_error);
}

TEST(MessageHandler, LogsAReplyThatCannotBeSent) {
    TAccessParty party;
    const TBusMessage call(dbus_message_new_method_call("a.b", "/p", "a.b", "M"));
    party.MessageHandler(call());
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"dbus_connection_send failed\""));
    EXPECT_THROW(party.Reply(call(), "", 0), std::runtime_error);
}

TEST(MessageFilter, DoesNothingWithoutAnObjectAndAlwaysSaysHandled) {
    const TBusMessage signal(dbus_message_new_signal("/p", "a.b", "M"));
    EXPECT_EQ(DBUS_HANDLER_RESULT_HANDLED, TAccessParty::MessageFilter(nullptr, signal(), nullptr));
    EXPECT_TRUE(LogSpy::Messages().empty());
    TAccessParty party;
    EXPECT_EQ(DBUS_HANDLER_RESULT_HANDLED,
              TAccessParty::MessageFilter(nullptr, signal(), static_cast<TZeltoDBus*>(&party)));
    EXPECT_TRUE(LogSpy::Contains(7, "\"'M' - ''\""));
}

TEST(GetMessageValue, EmptiesTheTextWithoutAMessageOrACode) {
    TAccessParty party;
    std::string text = "before";
    int32_t code = 5;
    party.GetMessageValue(nullptr, text, &code);
    EXPECT_EQ("", text);
    EXPECT_EQ(5, code);
    text = "before";
    const TBusMessage signal(dbus_message_new_signal("/p", "a.b", "M"));
    party.GetMessageValue(signal(), text, nullptr);
    EXPECT_EQ("", text);
    EXPECT_TRUE(LogSpy::Messages().empty());
}

TEST(GetMessageValue, GivesNoTextAndMinusOneWithoutArguments) {
    TAccessParty party;
    std::string text = "before";
    int32_t code = 5;
    const TBusMessage signal(dbus_message_new_signal("/p", "a.b", "M"));
    party.GetMessageValue(signal(), text, &code);
    EXPECT_EQ("", text);
    EXPECT_EQ(-1, code);
    EXPECT_THAT(LogSpy::Messages(), ElementsAre(LogSpy::TMessage{5, "\"Message has no parameters.\"",
                                                                 "\"Message has no parameters.\""}));
}
