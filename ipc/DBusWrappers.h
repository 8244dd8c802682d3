// Ownership of libdbus objects inside the transport.
#ifndef ZELTO_IPC_DBUS_WRAPPERS_H
#define ZELTO_IPC_DBUS_WRAPPERS_H

#include <dbus/dbus.h>

#include <memory>

namespace zelto {

struct TMessageRelease {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using TMessageHandle = std::unique_ptr<DBusMessage, TMessageRelease>;

// A pending call that nobody waits for any more is cancelled, so that its late answer is dropped.
struct TPendingCallRelease {
    void operator()(DBusPendingCall* pending) const {
        dbus_pending_call_cancel(pending);
        dbus_pending_call_unref(pending);
    }
};
using TPendingCallHandle = std::unique_ptr<DBusPendingCall, TPendingCallRelease>;

// A private connection holds two references: the one from opening it and the extra one.
struct TConnectionRelease {
    void operator()(DBusConnection* connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
        dbus_connection_unref(connection);
    }
};
using TConnectionHandle = std::unique_ptr<DBusConnection, TConnectionRelease>;

// Reads on in a message of which only a part has been read, as far as the rest has arrived. libdbus reads 2
// KiB at a time; to wait for each piece costs as much as to read it.
void ReadArrived(DBusConnection* connection);

} // namespace zelto

#endif
