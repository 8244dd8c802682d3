// The two connections of a party, made together and given up together. Every operation holds a reference to
// the link it works on, so that a link can be replaced while it is in use; the last one closes it.
#ifndef ZELTO_IPC_BUS_LINK_H
#define ZELTO_IPC_BUS_LINK_H

#include "ipc/ClientChannel.h"
#include "ipc/DBusWrappers.h"

#include <atomic>
#include <memory>
#include <string>

namespace zelto {

struct TBusLink {
    TBusLink(TConnectionHandle serverConnection, TConnectionHandle clientConnection)
        : server(std::move(serverConnection)), client(std::move(clientConnection)) {}

    TConnectionHandle server;
    TClientChannel client;
    std::atomic<bool> isMonitor{false};
};

// What a party's link has to look like.
struct TLinkPlan {
    std::string busName; // requested unless empty
    bool monitor = false;
    DBusHandleMessageFunction filter = nullptr;
    void* filterData = nullptr;
};

// Waits, at most until the deadline, for the queued messages to leave; what is left leaves with later turns.
// Once the run of a dispatch thread is stopped there may be none: then it waits as long as the bus goes on
// reading. False when something is left.
bool FlushBounded(DBusConnection* connection, TClock::time_point deadline);
// Waits, at most until the deadline, until the bus has read so much that a question can leave at once.
bool MayAskBus(DBusConnection* connection, TClock::time_point deadline);

// A private connection to the bus, with the extra reference and exit-on-disconnect off. Throws
// std::runtime_error.
TConnectionHandle OpenConnection(DBusBusType busType);
// Both connections, with the filter and the match rule. Throws std::runtime_error; nothing is left open then.
std::shared_ptr<TBusLink> OpenLink(const TLinkPlan& plan);
// The same, with the name and in monitor mode as planned.
std::shared_ptr<TBusLink> OpenWholeLink(const TLinkPlan& plan);

// These wait for the bus on the server connection: only while no thread dispatches it, and once MayAskBus has
// said so, since libdbus waits without a limit until the question has left. Throw std::runtime_error.
void RequestBusName(DBusConnection* connection, const std::string& busName);
void RequestMonitoring(TBusLink& link);

} // namespace zelto

#endif
