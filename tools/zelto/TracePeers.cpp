#include "TracePeers.h"

#include "Parties.h"

#include <new>

namespace tool {

namespace {

void Drop(DBusPendingCall* question) {
    if (question != nullptr) {
        dbus_pending_call_cancel(question);
        dbus_pending_call_unref(question);
    }
}

} // namespace

TTracePeers::TTracePeers() {
    for (const std::string& name : bus.Names()) {
        if (name[0] == ':') {
            Come(name);
        }
    }
}

TTracePeers::~TTracePeers() {
    for (auto& [name, entry] : entries) {
        Drop(entry.question);
    }
}

void TTracePeers::Come(const std::string& uniqueName) {
    auto [place, isNew] = entries.emplace(uniqueName, TEntry{{uniqueName, 0, ""}, nullptr});
    if (!isNew) {
        return;
    }
    TMessage call = NewBusCall(DBUS_INTERFACE_DBUS, "GetConnectionUnixProcessID");
    Append(call.get(), uniqueName);
    if (dbus_connection_send_with_reply(bus.Connection(), call.get(), &place->second.question,
                                        DBUS_TIMEOUT_INFINITE) == 0) {
        throw std::bad_alloc();
    }
    (void)dbus_connection_read_write(bus.Connection(), 0); // sends; that the bus has gone shows elsewhere
}

void TTracePeers::Go(const std::string& uniqueName) {
    auto found = entries.find(uniqueName);
    if (found != entries.end()) {
        Drop(found->second.question);
        entries.erase(found);
    }
}

// A party has two connections: if the process has ended by now, the answer about the other one may have been
// in time.
std::string TTracePeers::NameOf(uint32_t process) const {
    std::string name = ProcessName(process);
    for (auto at = entries.begin(); name.empty() && at != entries.end(); ++at) {
        name = at->second.peer.process == process ? at->second.peer.processName : "";
    }
    return name;
}

void TTracePeers::TakeAnswer(TEntry& entry) const {
    if (entry.question == nullptr || dbus_pending_call_get_completed(entry.question) == 0) {
        return;
    }
    TMessage answer(dbus_pending_call_steal_reply(entry.question));
    Drop(entry.question);
    entry.question = nullptr;
    uint32_t process = FirstNumber(answer.get()); // 0 from an error: it has left
    entry.peer.processName = process == 0 ? "" : NameOf(process);
    entry.peer.process = process;
}

void TTracePeers::Collect() {
    (void)dbus_connection_read_write(bus.Connection(), 0); // that the bus has gone shows elsewhere
    while (dbus_connection_dispatch(bus.Connection()) == DBUS_DISPATCH_DATA_REMAINS) {
    }
    for (auto& [name, entry] : entries) {
        TakeAnswer(entry);
    }
}

TPeer TTracePeers::Of(const std::string& uniqueName) {
    if (uniqueName == DBUS_SERVICE_DBUS) {
        return {uniqueName, 0, ""};
    }
    Come(uniqueName);
    TEntry& entry = entries.at(uniqueName);
    // A bus that takes longer still may answer before the next message of this one.
    if (entry.question != nullptr && bus.Await(entry.question, TBus::PATIENCE_MS)) {
        TakeAnswer(entry);
    }
    return entry.peer;
}

int TTracePeers::Descriptor() {
    int descriptor = -1;
    (void)dbus_connection_get_unix_fd(bus.Connection(), &descriptor); // poll passes over -1
    return descriptor;
}

} // namespace tool
