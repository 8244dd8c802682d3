#include "BusQueries.h"

#include <dbus/dbus.h>

#include <memory>

namespace tool {

namespace {

constexpr char NAME_PREFIX[] = "com.Ulmet.Zelto.";

struct TCloseConnection {
    void operator()(DBusConnection* connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};

} // namespace

TPresence FindPresence(const std::string& identity) {
    const std::string name = NAME_PREFIX + identity;
    if (dbus_validate_bus_name(name.c_str(), nullptr) == FALSE) {
        return PRESENCE_ABSENT;
    }
    const std::unique_ptr<DBusConnection, TCloseConnection> connection(
        dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr));
    if (!connection) {
        return PRESENCE_UNKNOWN;
    }
    dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    return dbus_bus_name_has_owner(connection.get(), name.c_str(), nullptr) == FALSE ? PRESENCE_ABSENT
                                                                                     : PRESENCE_ON_BUS;
}

} // namespace tool
