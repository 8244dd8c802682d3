// Feeds D-Bus messages of random shape to the message filter of a party.
//
// Input: how the party and its callbacks are, length and bytes of the handler's result, the message. A method
// call is answered exactly once, with a text and a code, whatever the handler does; a signal reaches the
// listener; nothing else has an effect; a monitor answers nothing and tells of parties only.
#include "RandomMessage.h"

#include "ipc/DBusCalls.h"
#include "ipc/DBusNames.h"
#include "zelto/TZeltoDBus.h"

#include <stdexcept>
#include <vector>

namespace {

using fuzz::Require;

// How a party is, from one byte.
enum TParty : unsigned {
    IS_MONITOR = 1,
    HAS_HANDLER = 2,
    HANDLER_THROWS = 4,
    LISTENER_THROWS = 8,
    IS_CLOGGED = 16,
    CANNOT_SEND = 32,
};

unsigned party = 0;
std::vector<zelto::TMessageHandle> replies;

// No connection at all: what is done with it is done below.
DBusConnection* Connection() {
    static int none = 0;
    return reinterpret_cast<DBusConnection*>(&none);
}

class TCallbacks : public IZeltoIpcEventListener, public IZeltoIpcMethodHandler {
public:
    void OnEvent(const std::string& eventName, const std::string& eventData) override {
        events.push_back({eventName, eventData});
        if ((party & LISTENER_THROWS) != 0) {
            throw std::runtime_error("scripted");
        }
    }

    int OnMethodCall(const std::string& method, const std::string& request, std::string& result) override {
        calls.push_back({method, request});
        result = answer;
        if ((party & HANDLER_THROWS) != 0) {
            throw 7;
        }
        return static_cast<int>(answer.size());
    }

    std::string answer;
    std::vector<std::pair<std::string, std::string>> events;
    std::vector<std::pair<std::string, std::string>> calls;
};

class TFuzzedParty : public TZeltoDBus {
public:
    TFuzzedParty(TCallbacks& callbacks, unsigned kind, const char* member) {
        monitor = (kind & IS_MONITOR) != 0;
        AddEventLstener("", &callbacks);
        if ((kind & HAS_HANDLER) != 0 && member != nullptr) {
            AddMethodHandler(member, &callbacks);
        }
    }

    void Take(DBusMessage* message) {
        Require(MessageFilter(Connection(), message, this) == DBUS_HANDLER_RESULT_HANDLED,
                "libdbus has nothing left to do");
    }

    std::string NameIn(DBusMessage* message) {
        std::string name;
        int32_t code = 0;
        GetMessageValue(message, name, &code);
        return name;
    }

    void Read(DBusMessage* message) {
        std::string text = "former";
        int32_t code = 7;
        GetMessageValue(message, text, &code);
        Require(dbus_validate_utf8(text.c_str(), nullptr) != FALSE, "what is read is a text");
        GetMessageValue(message, text, nullptr);
        Require(text.empty(), "without a place for the code there is no text");
        (void)zelto::FirstText(message);
    }
};

std::string TextOf(DBusMessage* message) {
    const char* text = nullptr;
    dbus_int32_t code = 0;
    Require(dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &code,
                                  DBUS_TYPE_INVALID) != FALSE,
            "a reply is a text and a code");
    return std::to_string(code) + text;
}

// The code and the text that a call is to be answered with.
std::string ExpectedReply(const TCallbacks& callbacks) {
    const bool isCarried = dbus_validate_utf8(callbacks.answer.c_str(), nullptr) != FALSE;
    if (callbacks.calls.empty() || (party & HANDLER_THROWS) != 0 || !isCarried) {
        return "-1";
    }
    return std::to_string(callbacks.answer.size()) + callbacks.answer.c_str();
}

void RequireServed(DBusMessage* message, const TCallbacks& callbacks) {
    const int type = dbus_message_get_type(message);
    const bool isCall = type == DBUS_MESSAGE_TYPE_METHOD_CALL;
    const bool canReply = (party & (IS_CLOGGED | CANNOT_SEND)) == 0;
    Require(callbacks.events.size() == (type == DBUS_MESSAGE_TYPE_SIGNAL ? 1U : 0U), "a signal is an event");
    Require(callbacks.calls.size() == (isCall && (party & HAS_HANDLER) != 0 ? 1U : 0U),
            "a call reaches its handler once");
    Require(replies.size() == (isCall && canReply ? 1U : 0U), "a call is answered once");
    if (!replies.empty()) {
        DBusMessage* const reply = replies.front().get();
        Require(dbus_message_get_reply_serial(reply) == dbus_message_get_serial(message),
                "the answer belongs to the call");
        Require(TextOf(reply) == ExpectedReply(callbacks), "the answer is the handler's or a failure");
    }
}

void RequireWatched(TFuzzedParty& watching, DBusMessage* message, const TCallbacks& callbacks) {
    Require(replies.empty() && callbacks.calls.empty(), "a monitor serves nothing");
    Require(callbacks.events.size() <= 1, "a message is one event");
    const char* const sender = dbus_message_get_sender(message);
    for (const auto& [name, identity] : callbacks.events) {
        Require(sender == nullptr || std::strcmp(sender, DBUS_SERVICE_DBUS) == 0, "only the bus is believed");
        Require(name == (dbus_message_has_member(message, "NameAcquired") != FALSE
                             ? TZeltoIpc::ON_APP_CONNECTED_EVENT
                             : TZeltoIpc::ON_APP_DISCONNECTED_EVENT),
                "a name comes or goes");
        Require(zelto::BUS_NAME_PREFIX + identity == watching.NameIn(message), "the name is the party's");
    }
}

} // namespace

extern "C" {

dbus_bool_t __wrap_dbus_connection_send(DBusConnection* connection, DBusMessage* message, dbus_uint32_t*) {
    Require(connection == Connection(), "a reply takes the road of its call");
    if ((party & CANNOT_SEND) != 0) {
        return FALSE;
    }
    replies.emplace_back(dbus_message_ref(message));
    return TRUE;
}

long __wrap_dbus_connection_get_outgoing_size(DBusConnection*) {
    return (party & IS_CLOGGED) != 0 ? 2L * 1024 * 1024 : 0;
}

dbus_bool_t __wrap_dbus_connection_has_messages_to_send(DBusConnection*) {
    return FALSE;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::TInput input(data, size);
    TCallbacks callbacks;
    party = input.Byte();
    callbacks.answer = input.Text();
    const zelto::TMessageHandle message = fuzz::TakeMessage(input);
    if (!message) {
        return 0;
    }
    replies.clear();
    TFuzzedParty fuzzed(callbacks, party, dbus_message_get_member(message.get()));
    fuzzed.Take(message.get());
    if ((party & IS_MONITOR) != 0) {
        RequireWatched(fuzzed, message.get(), callbacks);
    } else {
        RequireServed(message.get(), callbacks);
    }
    fuzzed.Read(message.get());
    return 0;
}
}
