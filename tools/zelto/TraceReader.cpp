#include "TraceReader.h"

#include "Times.h"

#include "zelto/TZeltoIpc.h"

#include <array>

namespace tool {

namespace {

std::string OrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

bool IsUnique(const std::string& busName) {
    return !busName.empty() && busName[0] == ':';
}

// The name, and who had it before and has it now; empty when the message says something else.
std::array<std::string, 3> OwnerChange(DBusMessage* message) {
    std::array<const char*, 3> texts = {"", "", ""};
    (void)dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &texts[0], DBUS_TYPE_STRING, &texts[1],
                                DBUS_TYPE_STRING, &texts[2], DBUS_TYPE_INVALID);
    return {texts[0], texts[1], texts[2]};
}

} // namespace

std::vector<std::string> TTraceReader::Rules() {
    const std::string ownerChanges = "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged'";
    return {std::string("interface='") + INTERFACE + "'", "type='method_return'", "type='error'",
            ownerChanges};
}

std::optional<TTraceEntry> TTraceReader::Read(DBusMessage* message) {
    switch (dbus_message_get_type(message)) {
    case DBUS_MESSAGE_TYPE_METHOD_CALL:
        return ReadCall(message);
    case DBUS_MESSAGE_TYPE_SIGNAL:
        return ReadSignal(message);
    default:
        return ReadReply(message);
    }
}

TTraceEntry TTraceReader::NewEntry(TTraceEntry::TKind kind, DBusMessage* message) {
    TTraceEntry entry;
    entry.kind = kind;
    entry.time = UtcTime();
    entry.sender = peers.Of(OrEmpty(dbus_message_get_sender(message)));
    entry.verb = OrEmpty(dbus_message_get_member(message));
    return entry;
}

std::optional<TTraceEntry> TTraceReader::ReadCall(DBusMessage* message) {
    if (!dbus_message_has_interface(message, INTERFACE)) {
        return std::nullopt;
    }
    TClock::time_point start = TClock::now();
    TTraceEntry entry = NewEntry(TTraceEntry::CALL, message);
    std::string destination = OrEmpty(dbus_message_get_destination(message));
    entry.target = IsParty(destination) ? IdentityOf(destination) : destination;
    entry.request = ReadPartyText(message).text;
    if (!dbus_message_get_no_reply(message)) {
        openCalls[{entry.sender.uniqueName, dbus_message_get_serial(message)}] = {entry, start};
    }
    return entry;
}

std::optional<TTraceEntry> TTraceReader::ReadReply(DBusMessage* message) {
    auto found = openCalls.find(
        {OrEmpty(dbus_message_get_destination(message)), dbus_message_get_reply_serial(message)});
    if (found == openCalls.end()) {
        return std::nullopt;
    }
    std::chrono::duration<double, std::milli> duration = TClock::now() - found->second.start;
    TTraceEntry entry = NewEntry(TTraceEntry::REPLY, message);
    const TTraceEntry& call = found->second.entry;
    entry.receiver = call.sender;
    entry.target = call.target;
    entry.verb = call.verb;
    entry.request = call.request;
    TPartyText said = ReadPartyText(message);
    entry.answer = said.text;
    entry.code = said.code;
    entry.error = OrEmpty(dbus_message_get_error_name(message));
    entry.milliseconds = duration.count();
    entry.isSlow = entry.milliseconds >= slowMilliseconds;
    openCalls.erase(found);
    return entry;
}

std::optional<TTraceEntry> TTraceReader::ReadSignal(DBusMessage* message) {
    if (dbus_message_is_signal(message, DBUS_INTERFACE_DBUS, "NameOwnerChanged") &&
        dbus_message_has_sender(message, DBUS_SERVICE_DBUS)) {
        return ReadOwnerChange(message);
    }
    if (!dbus_message_has_interface(message, INTERFACE)) {
        return std::nullopt;
    }
    TTraceEntry entry = NewEntry(TTraceEntry::EVENT, message);
    entry.request = ReadPartyText(message).text;
    return entry;
}

// A party that comes or goes is shown as the event that a party in monitor mode makes of it.
std::optional<TTraceEntry> TTraceReader::ReadOwnerChange(DBusMessage* message) {
    auto [name, before, now] = OwnerChange(message);
    if (IsUnique(name)) {
        now.empty() ? Forget(name) : peers.Come(name);
        return std::nullopt;
    }
    if (!IsParty(name)) {
        return std::nullopt;
    }
    TTraceEntry entry;
    entry.kind = TTraceEntry::EVENT;
    entry.time = UtcTime();
    entry.sender = peers.Of(now.empty() ? before : now);
    entry.verb = now.empty() ? TZeltoIpc::ON_APP_DISCONNECTED_EVENT : TZeltoIpc::ON_APP_CONNECTED_EVENT;
    entry.request = IdentityOf(name);
    return entry;
}

void TTraceReader::Forget(const std::string& uniqueName) {
    peers.Go(uniqueName);
    auto begin = openCalls.lower_bound({uniqueName, 0});
    auto end = openCalls.upper_bound({uniqueName, UINT32_MAX});
    openCalls.erase(begin, end);
}

} // namespace tool
