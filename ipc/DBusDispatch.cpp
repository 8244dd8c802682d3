// The road of an incoming message: MainLoop waits for it, the filter hands it to MessageHandler, Reply
// answers it.

#include "ipc/DBusCalls.h"
#include "ipc/DBusNames.h"
#include "ipc/DBusPrivate.h"
#include "utils/Log.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <cxxabi.h>
#include <poll.h>

using namespace zelto;

namespace {

constexpr int32_t REPLY_FLUSH_MS = 2000;
// Where an earlier one has not left in that time, so that not every caller has to wait for it.
constexpr int32_t LATER_REPLY_FLUSH_MS = 50;
// How often an idle party looks at what has arrived on its client connection unasked.
constexpr int32_t DRAIN_INTERVAL_MS = 5000;
constexpr int32_t BUSY_DRAIN_INTERVAL_MS = 20;
// A bus that has not taken this much does not read.
constexpr long MAX_WAITING_BYTES = 1024L * 1024;

// The message that the current thread hands on, and the connection it came from, where its reply belongs.
struct TIncoming {
    DBusConnection* connection;
    DBusMessage* message;
    bool isAnswered;
};

thread_local TIncoming* incoming = nullptr;

class TIncomingScope {
public:
    explicit TIncomingScope(TIncoming* current) : outer(incoming) { incoming = current; }
    ~TIncomingScope() { incoming = outer; }
    TIncomingScope(const TIncomingScope&) = delete;
    TIncomingScope& operator=(const TIncomingScope&) = delete;

private:
    TIncoming* const outer;
};

// Not a constant: the analysis of clang must not think that an exception always leaves.
void LogUnknownException() {
    qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", "an exception that is no std::exception has left a callback");
}

// Runs code that calls users' callbacks, from which no exception may get into libdbus: it would never release
// its locks.
template <typename TBody>
void Contain(TBody body) {
    try {
        body();
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (const std::exception& error) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", error.what());
    } catch (...) {
        LogUnknownException();
    }
}

bool IsFromBus(DBusMessage* message) {
    const char* const sender = dbus_message_get_sender(message);
    return sender == nullptr || std::strcmp(sender, DBUS_SERVICE_DBUS) == 0;
}

} // namespace

void TZeltoDBus::MainLoop() {
    const std::shared_ptr<TPrivate> keep = own->self;
    const TPrivate::TRunRef run = keep->GetRun();
    if (!run) {
        return;
    }
    const TRun::TThreadScope threadScope(run.get());
    const TPrivate::TLoop loop(*keep, *run);
    while (running && run->Lead()) {
        Contain([&] { keep->DispatchTurn(*run); });
        run->Unlead();
    }
}

void TZeltoDBus::TPrivate::DispatchTurn(TRun& dispatching) {
    const TLinkRef current = GetLink();
    if (!current) {
        WaitForLink(dispatching);
        return;
    }
    DBusConnection* const server = current->server.get();
    const DBusDispatchStatus status = dbus_connection_get_dispatch_status(server);
    if (status != DBUS_DISPATCH_DATA_REMAINS &&
        !WaitForInput(*current, dispatching, status == DBUS_DISPATCH_NEED_MEMORY)) {
        return;
    }
    current->client.Drain();
    if (dbus_connection_read_write_dispatch(server, 0) == FALSE || current->client.IsLost()) {
        LoseLink(current);
    } else if (status != DBUS_DISPATCH_DATA_REMAINS) {
        ReadArrived(server);
    }
}

// False when the run was woken for another reason.
bool TZeltoDBus::TPrivate::WaitForInput(TBusLink& dispatched, TRun& dispatching, bool lacksMemory) const {
    DBusConnection* const server = dispatched.server.get();
    pollfd polled[] = {{-1, POLLIN, 0}, {dispatching.GetWakeFd(), POLLIN, 0}};
    const int32_t drainMs = dispatched.client.IsBusy() ? BUSY_DRAIN_INTERVAL_MS : DRAIN_INTERVAL_MS;
    int timeoutMs = party->dispatchTimeoutMs < 0 ? drainMs : std::min(party->dispatchTimeoutMs, drainMs);
    if (dbus_connection_get_unix_fd(server, &polled[0].fd) == FALSE) {
        // The connection is closed; what is left in its queue is handed on.
        return true;
    }
    if (dbus_connection_has_messages_to_send(server) != FALSE) {
        polled[0].events = POLLIN | POLLOUT;
    }
    if (lacksMemory) {
        polled[0].fd = -1; // what is there to read would end the wait at once
        timeoutMs = MEMORY_RETRY_MS;
    }
    (void)poll(polled, 2, timeoutMs);
    if (polled[1].revents != 0) {
        dispatching.ClearWake();
        return false;
    }
    return true;
}

DBusHandlerResult TZeltoDBus::MessageFilter(DBusConnection* connection, DBusMessage* message, void* data) {
    if (data != nullptr) {
        TPrivate::HandleMessage(*static_cast<TZeltoDBus*>(data), connection, message);
    }
    return DBUS_HANDLER_RESULT_HANDLED;
}

void TZeltoDBus::TPrivate::HandleMessage(TZeltoDBus& party, DBusConnection* connection,
                                         DBusMessage* message) {
    if (party.monitor) {
        // Any process can send a signal that looks like the bus's own.
        if (IsFromBus(message)) {
            Contain([&] { party.MonitorHandler(message); });
        }
        return;
    }
    TIncoming current{connection, message, false};
    const TIncomingScope scope(&current);
    Contain([&] { party.MessageHandler(message); });
    if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL && !current.isAnswered) {
        // The caller must not wait for its time-out.
        Contain([&] { party.Reply(message, "", -1); });
    }
}

void TZeltoDBus::MessageHandler(DBusMessage* message) {
    const int type = dbus_message_get_type(message);
    const char* const member = dbus_message_get_member(message);
    std::string text;
    int32_t code = -1;
    GetMessageValue(message, text, &code);
    if (type == DBUS_MESSAGE_TYPE_ERROR) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", FirstText(message).c_str());
    } else if (type == DBUS_MESSAGE_TYPE_SIGNAL && member != nullptr) {
        OnEvent(member, text);
    } else if (type == DBUS_MESSAGE_TYPE_METHOD_CALL) {
        std::string result;
        code = OnMethodCall(member == nullptr ? "" : member, text, result);
        try {
            Reply(message, result, code);
        } catch (const std::runtime_error& error) {
            qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", error.what());
        }
    }
}

void TZeltoDBus::Reply(DBusMessage* call, const std::string& result, int code) {
    qvLogging_log(LOG_LEVEL_DEBUG, "\"%s\"", result.c_str());
    const bool isIncoming = incoming != nullptr && incoming->message == call;
    const TPrivate::TLinkRef link = isIncoming ? nullptr : own->GetLink();
    DBusConnection* const connection = isIncoming ? incoming->connection
                                       : link     ? link->server.get()
                                                  : nullptr;
    if (connection == nullptr || dbus_connection_get_outgoing_size(connection) > MAX_WAITING_BYTES) {
        throw std::runtime_error("dbus_connection_send failed");
    }
    if (monitor && own->IsMonitor(connection)) {
        // Its handler has made the party a monitor, which may not send: the bus has told the caller.
        if (isIncoming) {
            incoming->isAnswered = true;
        }
        return;
    }
    const char* const member = dbus_message_get_member(call);
    // A failure must be answered without memory as well, or its caller would wait for the time-out.
    const std::string fault = TextFault("result", member == nullptr ? "" : member, result);
    if (!fault.empty()) {
        throw std::runtime_error(fault); // logged by whoever asked for the reply
    }
    const TBusMessage reply(dbus_message_new_method_return(call));
    const char* const text = result.c_str();
    const dbus_int32_t value = code;
    if (dbus_message_append_args(reply(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &value,
                                 DBUS_TYPE_INVALID) == FALSE) {
        return;
    }
    const bool isBehind = dbus_connection_has_messages_to_send(connection) != FALSE;
    if (dbus_connection_send(connection, reply(), nullptr) == FALSE) {
        throw std::runtime_error("dbus_connection_send failed");
    }
    if (isIncoming) {
        incoming->isAnswered = true;
    }
    (void)FlushBounded(connection, DeadlineAfter(isBehind ? LATER_REPLY_FLUSH_MS : REPLY_FLUSH_MS));
}
