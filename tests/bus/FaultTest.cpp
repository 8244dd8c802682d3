// Failures of libdbus that no input brings about: its functions are replaced here by ones that fail when told
// to, on the thread that told them.

#include "BusParty.h"

#include "support/LogSpy.h"
#include "support/ProcessStats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdarg>
#include <cstring>
#include <future>
#include <stdexcept>
#include <thread>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

using namespace busparty;
using namespace support;
using testing::ElementsAre;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

struct TFault {
    const char* function = "";
    int passes = 0; // calls that succeed before the one that fails
};

thread_local TFault fault;
thread_local std::vector<std::string>* appended = nullptr;
thread_local std::function<void()> beforeMatch;
thread_local int namesWithoutMemory = 0;
thread_local int dispatchesWithoutMemory = 0;

// True once, for the call that is to fail.
bool Fails(const char* function) {
    if (std::strcmp(fault.function, function) != 0 || fault.passes-- > 0) {
        return false;
    }
    fault = {};
    return true;
}

template <typename TFunction>
TFunction* RealFunction(TFunction* /*replacement*/, const char* name) {
    return reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, name));
}

#define REAL(function) RealFunction(&(function), #function)

std::string FailureOf(const char* function, const std::function<void()>& body, int passes = 0) {
    fault = {function, passes};
    std::string failure;
    try {
        body();
    } catch (const std::runtime_error& error) {
        failure = error.what();
    }
    EXPECT_STREQ("", fault.function) << "never called";
    fault = {};
    return failure;
}

// Fails with the text and one error line of the text.
void ExpectFailure(const std::string& text, const char* function, const std::function<void()>& body,
                   int passes = 0) {
    LogSpy::Clear();
    EXPECT_EQ(text, FailureOf(function, body, passes));
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"" + text + "\""));
}

class Fault : public testing::Test {
protected:
    void Call() {
        TZeltoIpc::TMethodSettings settings{"SERVER", 10};
        std::string result;
        EXPECT_EQ(0, caller.CallMethod("ECHO", "request", result, settings));
        EXPECT_EQ("request", result);
    }

    TServingParty server{"SERVER"};
    TAccessParty caller;
};

} // namespace

#define REPLACEMENT extern "C" __attribute__((visibility("default")))

REPLACEMENT dbus_bool_t dbus_message_iter_append_basic(DBusMessageIter* iter, int type, const void* value) {
    if (Fails("dbus_message_iter_append_basic")) {
        return FALSE;
    }
    if (appended != nullptr && type == DBUS_TYPE_STRING) {
        appended->push_back(*static_cast<const char* const*>(value));
    }
    return REAL(dbus_message_iter_append_basic)(iter, type, value);
}

REPLACEMENT dbus_bool_t dbus_message_iter_open_container(DBusMessageIter* iter, int type,
                                                         const char* contained, DBusMessageIter* inner) {
    return Fails("dbus_message_iter_open_container")
               ? FALSE
               : REAL(dbus_message_iter_open_container)(iter, type, contained, inner);
}

REPLACEMENT dbus_bool_t dbus_message_iter_close_container(DBusMessageIter* iter, DBusMessageIter* inner) {
    if (Fails("dbus_message_iter_close_container")) {
        dbus_message_iter_abandon_container(iter, inner);
        return FALSE;
    }
    return REAL(dbus_message_iter_close_container)(iter, inner);
}

REPLACEMENT dbus_bool_t dbus_message_append_args(DBusMessage* message, int firstType, ...) {
    if (Fails("dbus_message_append_args")) {
        return FALSE;
    }
    va_list arguments;
    va_start(arguments, firstType);
    const dbus_bool_t done = dbus_message_append_args_valist(message, firstType, arguments);
    va_end(arguments);
    return done;
}

REPLACEMENT dbus_bool_t dbus_connection_send(DBusConnection* connection, DBusMessage* message,
                                             dbus_uint32_t* serial) {
    return Fails("dbus_connection_send") ? FALSE : REAL(dbus_connection_send)(connection, message, serial);
}

REPLACEMENT dbus_bool_t dbus_connection_send_with_reply(DBusConnection* connection, DBusMessage* message,
                                                        DBusPendingCall** pending, int timeout) {
    *pending = nullptr;
    if (Fails("dbus_connection_send_with_reply")) {
        return FALSE;
    }
    // What a lost connection gives.
    return Fails("a pending call")
               ? TRUE
               : REAL(dbus_connection_send_with_reply)(connection, message, pending, timeout);
}

REPLACEMENT DBusMessage* dbus_connection_send_with_reply_and_block(DBusConnection* connection,
                                                                   DBusMessage* message, int timeout,
                                                                   DBusError* error) {
    if (Fails("dbus_connection_send_with_reply_and_block")) {
        dbus_set_error(error, DBUS_ERROR_ACCESS_DENIED, "may not watch");
        return nullptr;
    }
    return REAL(dbus_connection_send_with_reply_and_block)(connection, message, timeout, error);
}

REPLACEMENT dbus_bool_t dbus_connection_add_filter(DBusConnection* connection,
                                                   DBusHandleMessageFunction function, void* data,
                                                   DBusFreeFunction release) {
    return Fails("dbus_connection_add_filter")
               ? FALSE
               : REAL(dbus_connection_add_filter)(connection, function, data, release);
}

REPLACEMENT void dbus_bus_add_match(DBusConnection* connection, const char* rule, DBusError* error) {
    if (const auto hook = std::exchange(beforeMatch, nullptr)) {
        hook();
    }
    if (Fails("dbus_bus_add_match")) {
        dbus_set_error(error, DBUS_ERROR_NO_MEMORY, "no rules left");
        return;
    }
    REAL(dbus_bus_add_match)(connection, rule, error);
}

REPLACEMENT int dbus_bus_release_name(DBusConnection* connection, const char* name, DBusError* error) {
    if (Fails("dbus_bus_release_name")) {
        dbus_set_error(error, DBUS_ERROR_FAILED, "not now");
        return -1;
    }
    return REAL(dbus_bus_release_name)(connection, name, error);
}

REPLACEMENT DBusDispatchStatus dbus_connection_dispatch(DBusConnection* connection) {
    if (dispatchesWithoutMemory > 0) {
        --dispatchesWithoutMemory;
        return DBUS_DISPATCH_NEED_MEMORY;
    }
    return REAL(dbus_connection_dispatch)(connection);
}

// The name is taken; its answer is lost.
REPLACEMENT int dbus_bus_request_name(DBusConnection* connection, const char* name, unsigned flags,
                                      DBusError* error) {
    if (namesWithoutMemory > 0) {
        --namesWithoutMemory;
        dbus_set_error(error, DBUS_ERROR_NO_MEMORY, "no memory");
        return -1;
    }
    const int answer = REAL(dbus_bus_request_name)(connection, name, flags, error);
    if (Fails("dbus_bus_request_name")) {
        dbus_set_error(error, DBUS_ERROR_NO_REPLY, "no answer");
        return -1;
    }
    return answer;
}

TEST_F(Fault, OfAppendingTheRequestFailsTheCall) {
    ASSERT_TRUE(BUS_READY);
    caller.Connect();
    ExpectFailure("dbus_message_iter_append_basic failed", "dbus_message_iter_append_basic",
                  [this] { Call(); });
    Call();
}

TEST_F(Fault, OfSendingTheCallFailsTheCall) {
    caller.Connect();
    ExpectFailure("dbus_connection_send_with_reply failed", "dbus_connection_send_with_reply",
                  [this] { Call(); });
    ExpectFailure("dbus_connection_send_with_reply failed", "a pending call", [this] { Call(); });
    Call();
}

// The answer has been read, so the socket stays silent about it.
TEST_F(Fault, OfHandingOnTheAnswerIsTriedAgainBeforeTheTimeOut) {
    constexpr int FAILURES = 5;
    constexpr int32_t TIMEOUT = 30;
    caller.Connect();
    auto calling = std::async(std::launch::async, [this] {
        dispatchesWithoutMemory = FAILURES;
        TZeltoIpc::TMethodSettings settings{"SERVER", TIMEOUT};
        std::string result;
        return caller.CallMethod("ECHO", "request", result, settings);
    });
    ASSERT_EQ(std::future_status::ready, calling.wait_for(std::chrono::seconds(TIMEOUT / 2)));
    EXPECT_EQ(0, calling.get());
}

TEST_F(Fault, OfAppendingTheDataFailsTheEvent) {
    ExpectFailure("dbus_message_iter_append_basic failed", "dbus_message_iter_append_basic",
                  [this] { server.party.SendEvent("E", "data"); });
    server.party.SendEvent("NEXT", "data");
    EXPECT_TRUE(server.events.WaitFor({"NEXT", "data"}));
    EXPECT_EQ(0U, server.events.Count({"E", "data"}));
}

TEST_F(Fault, OfSendingTheEventFailsTheEvent) {
    ExpectFailure("dbus_connection_send failed", "dbus_connection_send",
                  [this] { server.party.SendEvent("E", "data"); });
    server.party.SendEvent("NEXT", "data");
    EXPECT_TRUE(server.events.WaitFor({"NEXT", "data"}));
}

TEST_F(Fault, OfSendingAReplyIsLoggedAndTheCallerToldOfAFailure) {
    THandler handler([](const std::string&, std::string& result) {
        result = "lost";
        fault = {"dbus_connection_send", 0}; // on this thread, which sends the reply
        return 0;
    });
    server.party.AddMethodHandler("GET", &handler);
    const auto answer = TRawPeer(BusAddress()).Call(PartyTarget("SERVER", "GET"), TRawArguments{});
    ASSERT_TRUE(answer);
    EXPECT_EQ((TRawArguments{std::string(), int32_t{-1}}), answer->arguments);
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"dbus_connection_send failed\""));
}

TEST_F(Fault, OfBuildingAReplyTellsTheCallerOfAFailure) {
    THandler handler([](const std::string&, std::string& result) {
        result = "lost";
        fault = {"dbus_message_append_args", 0};
        return 0;
    });
    server.party.AddMethodHandler("GET", &handler);
    const auto answer = TRawPeer(BusAddress()).Call(PartyTarget("SERVER", "GET"), TRawArguments{});
    ASSERT_TRUE(answer);
    EXPECT_EQ((TRawArguments{std::string(), int32_t{-1}}), answer->arguments);
}

TEST_F(Fault, OfAddingTheFilterLeavesThePartyUnconnected) {
    const std::size_t descriptors = OpenDescriptors(getpid());
    ExpectFailure("Can't add ServerConnection filter.", "dbus_connection_add_filter",
                  [this] { caller.Connect(); });
    EXPECT_FALSE(caller.connected);
    EXPECT_EQ(descriptors, OpenDescriptors(getpid()));
    Call();
}

TEST_F(Fault, OfAddingTheMatchRuleLeavesThePartyUnconnected) {
    const std::size_t descriptors = OpenDescriptors(getpid());
    ExpectFailure("dbus_bus_add_match - no rules left", "dbus_bus_add_match", [this] { caller.Connect(); });
    EXPECT_FALSE(caller.connected);
    EXPECT_EQ(descriptors, OpenDescriptors(getpid()));
    Call();
}

TEST_F(Fault, OfReleasingTheNameKeepsIt) {
    ExpectFailure("dbus_bus_release_name - not now", "dbus_bus_release_name",
                  [this] { server.party.Init("NEW"); });
    EXPECT_EQ("SERVER", server.party.identity);
    Call();
    server.party.Init("NEW");
    EXPECT_TRUE(HasOwner("NEW"));
}

TEST_F(Fault, OfTakingTheNewNameGivesItUp) {
    ExpectFailure("dbus_bus_request_name - no answer", "dbus_bus_request_name",
                  [this] { server.party.Init("NEW"); });
    EXPECT_EQ("SERVER", server.party.identity);
    Call();
    EXPECT_FALSE(HasOwner("NEW"));
}

TEST_F(Fault, OfTakingTheFormerNameAgainIsMadeUpForByANewConnection) {
    namesWithoutMemory = 2;
    EXPECT_THROW(server.party.Init("NEW"), std::runtime_error);
    EXPECT_EQ(0, namesWithoutMemory);
    EXPECT_TRUE(Eventually([] { return HasOwner("SERVER") && Answers("SERVER"); }));
    EXPECT_FALSE(HasOwner("NEW"));
}

// Whoever connects meanwhile must not take the place of the party that waits for its name.
TEST_F(Fault, OfInitKeepsTheNameFromAConnectionThatIsBeingMade) {
    TAccessParty party;
    party.Init("FORMER");
    TBusEnvironment::Bus().Restart();
    std::promise<void> hasFailed;
    std::thread connecting;
    beforeMatch = [&] {
        connecting = std::thread([&] {
            beforeMatch = [&hasFailed] { hasFailed.get_future().wait(); };
            try {
                party.Connect();
            } catch (const std::runtime_error&) {
            }
        });
    };
    EXPECT_EQ("dbus_bus_add_match - no rules left",
              FailureOf("dbus_bus_add_match", [&party] { party.Init("NEXT"); }));
    hasFailed.set_value();
    connecting.join();
    EXPECT_TRUE(Eventually([&] { return party.connected && party.busName == BusName("FORMER"); }))
        << party.busName;
    EXPECT_TRUE(HasOwner("FORMER"));
}

TEST_F(Fault, OfAskingToWatchLeavesThePartyNotRunning) {
    caller.Configure({1, 10, true});
    caller.Init("WATCHER");
    ExpectFailure("dbus_connection_send_with_reply_and_block - may not watch",
                  "dbus_connection_send_with_reply_and_block", [this] { caller.Run(); });
    EXPECT_FALSE(caller.running);
    EXPECT_NO_THROW(caller.Run());
    caller.Stop();
}

struct TStep {
    const char* function;
    int passes;
};

class MonitorRequest : public Fault, public testing::WithParamInterface<TStep> {};

// The two inner quotes of the line are no mistake of this test.
TEST_P(MonitorRequest, LogsItsFailingStepWithTwoQuotesInside) {
    caller.Configure({1, 10, true});
    caller.Init("WATCHER");
    LogSpy::Clear();
    const std::string function = GetParam().function;
    EXPECT_EQ(function + " failed",
              FailureOf(
                  GetParam().function, [this] { caller.BecomeMonitor(); }, GetParam().passes));
    EXPECT_EQ(1U, LogSpy::Count(3));
    EXPECT_TRUE(LogSpy::Contains(3, "\"" + function + "\"\" failed\""));
    EXPECT_NO_THROW(caller.BecomeMonitor());
}

INSTANTIATE_TEST_SUITE_P(Steps, MonitorRequest,
                         testing::Values(TStep{"dbus_message_iter_open_container", 0},
                                         TStep{"dbus_message_iter_append_basic", 0},
                                         TStep{"dbus_message_iter_append_basic", 1},
                                         TStep{"dbus_message_iter_close_container", 0},
                                         TStep{"dbus_message_iter_append_basic", 2}));

TEST_F(Fault, FreeMonitorRequestCarriesTwoRules) {
    caller.Configure({1, 10, true});
    caller.Init("WATCHER");
    std::vector<std::string> rules;
    appended = &rules;
    caller.BecomeMonitor();
    appended = nullptr;
    ASSERT_LE(2U, rules.size());
    rules.resize(2); // then come texts of libdbus itself
    EXPECT_THAT(rules, ElementsAre("type='signal',member='NameAcquired'", "type='signal',member='NameLost'"));
}
