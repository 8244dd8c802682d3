// Failures of libdbus that no input brings about.

#include "FaultInjection.h"

#include "support/ProcessStats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <future>

#include <unistd.h>

using namespace busparty;
using namespace faults;
using namespace support;
using testing::ElementsAre;

namespace {

const bool BUS_READY = TBusEnvironment::Register();

thread_local std::vector<std::string>* appended = nullptr;
thread_local int dispatchesWithoutMemory = 0;
thread_local bool lacksMemory = false; // libdbus then reads nothing, so the socket stays readable
std::atomic<int> failedDispatches{0};

} // namespace

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

REPLACEMENT DBusDispatchStatus dbus_connection_dispatch(DBusConnection* connection) {
    if (dispatchesWithoutMemory > 0) {
        --dispatchesWithoutMemory;
        return DBUS_DISPATCH_NEED_MEMORY;
    }
    if (lacksMemory) {
        ++failedDispatches;
        return DBUS_DISPATCH_NEED_MEMORY;
    }
    return REAL(dbus_connection_dispatch)(connection);
}

REPLACEMENT dbus_bool_t dbus_connection_read_write(DBusConnection* connection, int timeout) {
    return lacksMemory ? TRUE : REAL(dbus_connection_read_write)(connection, timeout);
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

TEST_F(Fault, OfMemoryDoesNotMakeACallSpin) {
    constexpr int ATTEMPTS = 100; // a tenth of a second apart they would take ten seconds
    caller.Connect();
    auto calling = std::async(std::launch::async, [this] {
        lacksMemory = true;
        TZeltoIpc::TMethodSettings settings{"SERVER", 1};
        std::string result;
        return caller.CallMethod("ECHO", "request", result, settings);
    });
    EXPECT_EQ(-1, calling.get());
    EXPECT_LT(failedDispatches, ATTEMPTS);
    Call();
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
