// libdbus without the library: the floor against which it is measured.
#ifndef ZELTO_BENCH_RAW_D_BUS_H
#define ZELTO_BENCH_RAW_D_BUS_H

#include <dbus/dbus.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace bench {

constexpr const char* RAW_NAME = "com.example.Raw";
constexpr const char* RAW_PATH = "/com/example/Raw";
constexpr const char* RAW_INTERFACE = "com.example.Raw";

inline DBusConnection* Connect() {
    DBusConnection* const connection = dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr);
    if (connection == nullptr) {
        std::fprintf(stderr, "no bus\n");
        std::exit(1);
    }
    return connection;
}

inline void AppendText(DBusMessage* message, const std::string& text) {
    const char* const data = text.c_str();
    dbus_message_append_args(message, DBUS_TYPE_STRING, &data, DBUS_TYPE_INVALID);
}

// One call with a ready-made text; false when it fails.
inline bool Call(DBusConnection* connection, const char* member, const std::string& text) {
    DBusMessage* const call = dbus_message_new_method_call(RAW_NAME, RAW_PATH, RAW_INTERFACE, member);
    AppendText(call, text);
    DBusMessage* const answer = dbus_connection_send_with_reply_and_block(connection, call, 60000, nullptr);
    dbus_message_unref(call);
    if (answer == nullptr) {
        return false;
    }
    const char* body = nullptr;
    dbus_int32_t code = -1;
    dbus_message_get_args(answer, nullptr, DBUS_TYPE_STRING, &body, DBUS_TYPE_INT32, &code,
                          DBUS_TYPE_INVALID);
    dbus_message_unref(answer);
    return code == 0;
}

} // namespace bench

#endif
