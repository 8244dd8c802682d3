#include "Bus.h"

#include "ExitCodes.h"

#include <chrono>
#include <cstdlib>

namespace tool {

namespace {

using TClock = std::chrono::steady_clock;

constexpr size_t PREFIX_LENGTH = 16;
constexpr int READ_ARGUMENTS = 3;

// Frees what libdbus puts into it.
struct TError {
    DBusError error = DBUS_ERROR_INIT;
    ~TError() { dbus_error_free(&error); }
};

struct TPendingDeleter {
    void operator()(DBusPendingCall* call) const {
        dbus_pending_call_cancel(call);
        dbus_pending_call_unref(call);
    }
};
using TPendingCall = std::unique_ptr<DBusPendingCall, TPendingDeleter>;

[[noreturn]] void ThrowGone() {
    throw TBusFailure("the bus has gone", EXIT_RUN_TIME);
}

template <typename T>
T Require(T result) {
    if (!result) {
        throw std::bad_alloc(); // the only reason that there is
    }
    return result;
}

int ExitCodeOf(const std::string& errorName) {
    if (errorName == DBUS_ERROR_ACCESS_DENIED) {
        return EXIT_DENIED;
    }
    // The bus says NO_REPLY when the party went away with the call.
    if (errorName == DBUS_ERROR_SERVICE_UNKNOWN || errorName == DBUS_ERROR_NAME_HAS_NO_OWNER ||
        errorName == DBUS_ERROR_NO_REPLY) {
        return EXIT_NO_OWNER;
    }
    return EXIT_RUN_TIME;
}

void ThrowIfError(DBusMessage* reply) {
    if (dbus_message_get_type(reply) == DBUS_MESSAGE_TYPE_ERROR) {
        const char* name = dbus_message_get_error_name(reply);
        std::string text = FirstText(reply);
        int exitCode = ExitCodeOf(name);
        std::string reason = text.empty() ? name : text;
        throw TBusFailure(exitCode == EXIT_DENIED ? "denied by the policy of the bus: " + reason : reason,
                          exitCode);
    }
}

int RemainingMs(TClock::time_point deadline) {
    auto remaining = std::chrono::ceil<std::chrono::milliseconds>(deadline - TClock::now()).count();
    return remaining > 0 ? static_cast<int>(remaining) : 0;
}

} // namespace

bool IsParty(const std::string& busName) {
    return busName.compare(0, PREFIX_LENGTH, NAME_PREFIX) == 0;
}

std::string IdentityOf(const std::string& busName) {
    return busName.substr(PREFIX_LENGTH);
}

TPartyText ReadPartyText(DBusMessage* message) {
    TPartyText answer;
    DBusMessageIter at;
    (void)dbus_message_iter_init(message, &at); // without arguments the type below is invalid
    for (int i = 0; i < READ_ARGUMENTS; ++i, (void)dbus_message_iter_next(&at)) {
        int type = dbus_message_iter_get_arg_type(&at);
        if (type == DBUS_TYPE_STRING) {
            const char* text = nullptr;
            dbus_message_iter_get_basic(&at, &text);
            answer.text = text;
        } else if (type == DBUS_TYPE_INT32) {
            dbus_message_iter_get_basic(&at, &answer.code);
        } else if (type == DBUS_TYPE_INVALID) {
            break;
        }
    }
    return answer;
}

std::string FirstText(DBusMessage* message) {
    DBusMessageIter at;
    const char* text = "";
    if (dbus_message_iter_init(message, &at) && dbus_message_iter_get_arg_type(&at) == DBUS_TYPE_STRING) {
        dbus_message_iter_get_basic(&at, &text);
    }
    return text;
}

uint32_t FirstNumber(DBusMessage* message) {
    DBusMessageIter at;
    uint32_t number = 0;
    if (dbus_message_iter_init(message, &at) && dbus_message_iter_get_arg_type(&at) == DBUS_TYPE_UINT32) {
        dbus_message_iter_get_basic(&at, &number);
    }
    return number;
}

std::string TBus::Address() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address == nullptr || *address == '\0' ? "unix:path=/var/run/dbus/system_bus_socket" : address;
}

TBus::TBus() {
    TError error;
    connection.reset(dbus_connection_open_private(Address().c_str(), &error.error));
    if (!connection) {
        throw TBusFailure("no bus at " + Address() + ": " + error.error.message, EXIT_RUN_TIME);
    }
    dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    SayHello();
}

// By hand, since dbus_bus_register waits without a limit for a bus that does not read.
void TBus::SayHello() {
    try {
        TMessage reply = Ask("Hello", {});
        Require(dbus_bus_set_unique_name(connection.get(), FirstText(reply.get()).c_str()));
    } catch (const TBusFailure& failure) {
        throw TBusFailure("no bus at " + Address() + ": " + failure.what(), EXIT_RUN_TIME);
    }
}

TMessage TBus::Call(DBusMessage* call, int timeoutMs) {
    DBusPendingCall* sent = nullptr;
    Require(dbus_connection_send_with_reply(connection.get(), call, &sent, DBUS_TIMEOUT_INFINITE));
    TPendingCall pending(sent);
    if (!pending) {
        ThrowGone();
    }
    if (!Await(pending.get(), timeoutMs)) {
        throw TBusFailure("no answer within " + std::to_string(timeoutMs / 1000) + " s", EXIT_TIME_OUT);
    }
    TMessage reply(dbus_pending_call_steal_reply(pending.get()));
    ThrowIfError(reply.get());
    return reply;
}

bool TBus::Await(DBusPendingCall* call, int timeoutMs) {
    TClock::time_point deadline = TClock::now() + std::chrono::milliseconds(timeoutMs);
    while (dbus_pending_call_get_completed(call) == 0) {
        int remaining = RemainingMs(deadline);
        if (remaining == 0) {
            return false;
        }
        if (dbus_connection_read_write_dispatch(connection.get(), remaining) == 0) {
            ThrowGone();
        }
    }
    return true;
}

TMessage TBus::Ask(const char* method, const std::vector<std::string>& texts) {
    TMessage call = NewBusCall(DBUS_INTERFACE_DBUS, method);
    for (const std::string& text : texts) {
        Append(call.get(), text);
    }
    return Call(call.get());
}

std::vector<std::string> TBus::Names() {
    TMessage reply = Ask("ListNames", {});
    std::vector<std::string> names;
    DBusMessageIter at;
    DBusMessageIter element;
    if (!dbus_message_iter_init(reply.get(), &at) || dbus_message_iter_get_arg_type(&at) != DBUS_TYPE_ARRAY) {
        return names;
    }
    dbus_message_iter_recurse(&at, &element);
    for (; dbus_message_iter_get_arg_type(&element) == DBUS_TYPE_STRING; dbus_message_iter_next(&element)) {
        const char* name = nullptr;
        dbus_message_iter_get_basic(&element, &name);
        names.emplace_back(name);
    }
    return names;
}

std::string TBus::OwnerOf(const std::string& busName) {
    try {
        return FirstText(Ask("GetNameOwner", {busName}).get());
    } catch (const TBusFailure& failure) {
        if (failure.ExitCode() == EXIT_NO_OWNER) {
            return "";
        }
        throw;
    }
}

void TBus::AddMatch(const std::string& rule) {
    (void)Ask("AddMatch", {rule}); // an answer without an error is all that counts
}

TMessage TBus::Next(int timeoutMs) {
    TMessage message(dbus_connection_pop_message(connection.get()));
    if (message) {
        return message;
    }
    if (dbus_connection_read_write(connection.get(), timeoutMs) == 0) {
        ThrowGone();
    }
    return TMessage(dbus_connection_pop_message(connection.get()));
}

void TBus::BecomeMonitor(const std::vector<std::string>& rules) {
    TMessage call = NewBusCall("org.freedesktop.DBus.Monitoring", "BecomeMonitor");
    Append(call.get(), rules);
    Append(call.get(), uint32_t{0});
    (void)Call(call.get()); // an answer without an error is all that counts
}

TMessage NewBusCall(const char* interface, const char* method) {
    return TMessage(
        Require(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, interface, method)));
}

void Append(DBusMessage* message, const std::string& text) {
    const char* bytes = text.c_str();
    Require(dbus_message_append_args(message, DBUS_TYPE_STRING, &bytes, DBUS_TYPE_INVALID));
}

void Append(DBusMessage* message, const std::vector<std::string>& texts) {
    std::vector<const char*> pointers;
    pointers.reserve(texts.size());
    for (const std::string& text : texts) {
        pointers.push_back(text.c_str());
    }
    const char** first = pointers.data();
    Require(dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &first,
                                     static_cast<int>(pointers.size()), DBUS_TYPE_INVALID));
}

void Append(DBusMessage* message, uint32_t number) {
    Require(dbus_message_append_args(message, DBUS_TYPE_UINT32, &number, DBUS_TYPE_INVALID));
}

} // namespace tool
