#include "support/RawPeer.h"

#include "utils/UniqueFd.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <sys/eventfd.h>

namespace support {

namespace {

struct TMessageUnref {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};

using TMessagePtr = std::unique_ptr<DBusMessage, TMessageUnref>;

TMessagePtr Checked(DBusMessage* message) {
    if (message == nullptr) {
        throw std::runtime_error("no such D-Bus message can be made");
    }
    return TMessagePtr(message);
}

void CloseConnection(DBusConnection* connection) {
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
}

DBusConnection* Connect(const std::string& address) {
    (void)dbus_threads_init_default(); // fails only without memory
    DBusError error = DBUS_ERROR_INIT;
    DBusConnection* const connection = dbus_connection_open_private(address.c_str(), &error);
    if (connection != nullptr && dbus_bus_register(connection, &error) != 0) {
        return connection;
    }
    if (connection != nullptr) {
        CloseConnection(connection);
    }
    const std::string reason = error.message == nullptr ? "" : error.message;
    dbus_error_free(&error);
    throw std::runtime_error("cannot connect to " + address + ": " + reason);
}

const char* OrNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

void Build(DBusMessage* message, const TRawBuilder& builder) {
    DBusMessageIter iter;
    dbus_message_iter_init_append(message, &iter);
    builder(iter);
}

TRawPeer::TTarget BusMethod(const char* member) {
    return {DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, member};
}

uint32_t FirstUint(const std::optional<TRawMessage>& reply) {
    const bool present = reply && reply->IsReturn() && !reply->arguments.empty();
    const auto* number = present ? std::get_if<uint32_t>(&reply->arguments[0]) : nullptr;
    return number == nullptr ? 0 : *number;
}

} // namespace

struct TRawPeer::TState {
    DBusConnection* connection = nullptr;
    std::string uniqueName;
    zelto::TUniqueFd wake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::atomic<bool> stopping{false};

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::vector<TRawMessage> received;
    std::map<uint32_t, std::optional<TRawMessage>> awaited; // by serial of the call
    THandler handler;
    bool recording = true;
    bool connected = true;

    std::thread thread;

    void Run(TRawPeer& peer);
    void WaitForInput();
    void Take(TRawPeer& peer, const TRawMessage& message);
    THandler Note(const TRawMessage& message);
    void Wake() const;
    uint32_t Send(DBusMessage* message);

    template <typename TCondition>
    bool Wait(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout,
              const TCondition& condition) const {
        return changed.wait_until(lock, std::chrono::system_clock::now() + timeout, condition);
    }
    size_t CountIf(const TPredicate& predicate) const {
        return static_cast<size_t>(std::count_if(received.begin(), received.end(), predicate));
    }
};

void TRawPeer::TState::Wake() const {
    const uint64_t one = 1;
    (void)!write(wake.Get(), &one, sizeof(one)); // a full counter has woken the thread already
}

// The wait is outside libdbus, so that other threads' sends are written at once.
void TRawPeer::TState::WaitForInput() {
    int fd = -1;
    (void)dbus_connection_get_unix_fd(connection, &fd); // -1 is skipped by poll
    const bool pending = dbus_connection_has_messages_to_send(connection) != 0;
    pollfd polled[] = {{fd, static_cast<short>(pending ? POLLIN | POLLOUT : POLLIN), 0},
                       {wake.Get(), POLLIN, 0}};
    (void)poll(polled, 2, -1);
    uint64_t count = 0;
    (void)!read(wake.Get(), &count, sizeof(count)); // empty unless it was woken
}

void TRawPeer::TState::Run(TRawPeer& peer) {
    while (!stopping && dbus_connection_get_is_connected(connection) != 0) {
        (void)dbus_connection_read_write(connection, 0); // the loop's condition sees the end
        while (const TMessagePtr message{dbus_connection_pop_message(connection)}) {
            Take(peer, ReadMessage(message.get()));
        }
        if (!stopping && dbus_connection_get_is_connected(connection) != 0) {
            WaitForInput();
        }
    }
    const std::lock_guard<std::mutex> lock(mutex);
    connected = false;
    changed.notify_all();
}

// Files the message; gives the handler if it is one to serve.
TRawPeer::THandler TRawPeer::TState::Note(const TRawMessage& message) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (recording) {
        received.push_back(message);
    }
    const auto waiting = awaited.find(message.replySerial);
    if (waiting != awaited.end() && (message.IsReturn() || message.IsError())) {
        waiting->second = message;
    }
    changed.notify_all();
    return message.IsCall() ? handler : THandler();
}

void TRawPeer::TState::Take(TRawPeer& peer, const TRawMessage& message) {
    if (const THandler serve = Note(message)) {
        serve(peer, message);
    }
}

uint32_t TRawPeer::TState::Send(DBusMessage* message) {
    dbus_uint32_t serial = 0;
    if (dbus_connection_send(connection, message, &serial) == 0) {
        throw std::bad_alloc();
    }
    Wake(); // to write what did not go out at once
    return serial;
}

TRawPeer::TRawPeer(const std::string& address) : state(std::make_unique<TState>()) {
    state->connection = Connect(address);
    state->uniqueName = dbus_bus_get_unique_name(state->connection);
    state->thread = std::thread([this] { state->Run(*this); });
}

TRawPeer::~TRawPeer() {
    state->stopping = true;
    state->Wake();
    state->thread.join();
    CloseConnection(state->connection);
}

const std::string& TRawPeer::UniqueName() const {
    return state->uniqueName;
}

bool TRawPeer::IsConnected() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->connected;
}

uint32_t TRawPeer::OwnName(const std::string& name, uint32_t flags) {
    return FirstUint(Call(BusMethod("RequestName"), {name, flags}));
}

uint32_t TRawPeer::ReleaseName(const std::string& name) {
    return FirstUint(Call(BusMethod("ReleaseName"), {name}));
}

bool TRawPeer::HasOwner(const std::string& name) {
    const std::optional<TRawMessage> reply = Call(BusMethod("NameHasOwner"), {name});
    return reply && reply->arguments == TRawArguments{true};
}

bool TRawPeer::AddMatch(const std::string& rule) {
    const std::optional<TRawMessage> reply = Call(BusMethod("AddMatch"), {rule});
    return reply && reply->IsReturn();
}

void TRawPeer::Serve(THandler handler) {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->handler = std::move(handler);
}

void TRawPeer::ServeWith(const std::function<TRawArguments(const TRawMessage&)>& answer) {
    Serve([answer](TRawPeer& peer, const TRawMessage& call) { peer.Reply(call, answer(call)); });
}

void TRawPeer::Reply(const TRawMessage& call, const TRawArguments& arguments) {
    Reply(call, Appending(arguments));
}

void TRawPeer::Reply(const TRawMessage& call, const TRawBuilder& builder) {
    const TMessagePtr reply = Checked(dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN));
    (void)dbus_message_set_destination(reply.get(), call.sender.c_str());
    (void)dbus_message_set_reply_serial(reply.get(), call.serial);
    Build(reply.get(), builder);
    (void)state->Send(reply.get());
}

void TRawPeer::ReplyError(const TRawMessage& call, const std::string& name, const std::string& text) {
    ReplyError(call, name, TRawArguments{text});
}

void TRawPeer::ReplyError(const TRawMessage& call, const std::string& name, const TRawArguments& arguments) {
    const TMessagePtr reply = Checked(dbus_message_new(DBUS_MESSAGE_TYPE_ERROR));
    (void)dbus_message_set_destination(reply.get(), call.sender.c_str());
    (void)dbus_message_set_reply_serial(reply.get(), call.serial);
    (void)dbus_message_set_error_name(reply.get(), name.c_str());
    Build(reply.get(), Appending(arguments));
    (void)state->Send(reply.get());
}

std::optional<TRawMessage> TRawPeer::Call(const TTarget& target, const TRawArguments& arguments,
                                          std::chrono::milliseconds timeout) {
    return Call(target, Appending(arguments), timeout);
}

// The answer may be there before the serial is known here; it is awaited under the lock from before the
// sending.
std::optional<TRawMessage> TRawPeer::Call(const TTarget& target, const TRawBuilder& builder,
                                          std::chrono::milliseconds timeout) {
    const TMessagePtr call = Checked(dbus_message_new_method_call(
        OrNull(target.destination), target.path.c_str(), OrNull(target.interface), target.member.c_str()));
    Build(call.get(), builder);
    std::unique_lock<std::mutex> lock(state->mutex);
    const uint32_t serial = state->Send(call.get());
    std::optional<TRawMessage>& reply = state->awaited[serial];
    (void)state->Wait(lock, timeout, [&] { return reply || !state->connected; });
    const std::optional<TRawMessage> result = std::move(reply);
    state->awaited.erase(serial);
    return result;
}

uint32_t TRawPeer::Post(const TTarget& target, const TRawArguments& arguments) {
    const TMessagePtr call = Checked(dbus_message_new_method_call(
        OrNull(target.destination), target.path.c_str(), OrNull(target.interface), target.member.c_str()));
    Build(call.get(), Appending(arguments));
    return state->Send(call.get());
}

void TRawPeer::Signal(const TTarget& target, const TRawArguments& arguments) {
    Signal(target, Appending(arguments));
}

void TRawPeer::Signal(const TTarget& target, const TRawBuilder& builder) {
    const TMessagePtr signal = Checked(
        dbus_message_new_signal(target.path.c_str(), target.interface.c_str(), target.member.c_str()));
    (void)dbus_message_set_destination(signal.get(), OrNull(target.destination));
    Build(signal.get(), builder);
    (void)state->Send(signal.get());
}

std::vector<TRawMessage> TRawPeer::Received() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->received;
}

std::vector<TRawMessage> TRawPeer::Received(const TPredicate& predicate) const {
    std::vector<TRawMessage> chosen;
    const std::lock_guard<std::mutex> lock(state->mutex);
    std::copy_if(state->received.begin(), state->received.end(), std::back_inserter(chosen), predicate);
    return chosen;
}

std::optional<TRawMessage> TRawPeer::WaitFor(const TPredicate& predicate,
                                             std::chrono::milliseconds timeout) const {
    if (!WaitForCount(predicate, 1, timeout)) {
        return std::nullopt;
    }
    return Received(predicate).front();
}

bool TRawPeer::WaitForCount(const TPredicate& predicate, size_t count,
                            std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(state->mutex);
    return state->Wait(lock, timeout, [&] { return state->CountIf(predicate) >= count; });
}

void TRawPeer::ClearReceived() {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->received.clear();
}

void TRawPeer::SetRecording(bool on) {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->recording = on;
}

bool TRawPeer::BecomeMonitor() {
    const auto noRules = [](DBusMessageIter& iter) {
        DBusMessageIter rules;
        const dbus_uint32_t flags = 0;
        (void)dbus_message_iter_open_container(&iter, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING, &rules);
        (void)dbus_message_iter_close_container(&iter, &rules);
        (void)dbus_message_iter_append_basic(&iter, DBUS_TYPE_UINT32, &flags);
    };
    TTarget target = BusMethod("BecomeMonitor");
    target.interface = "org.freedesktop.DBus.Monitoring";
    const std::optional<TRawMessage> reply = Call(target, TRawBuilder(noRules));
    return reply && reply->IsReturn();
}

} // namespace support
