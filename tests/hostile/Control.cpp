// hostile_control serve | hostile_control call BOARD PAUSE_US: a server and a client that are made of libdbus
// alone, with the connections and the match rules that parties have. What an attack does to them is what the
// bus itself lets happen.

#include "hostile/Attacks.h"
#include "load/Board.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

using namespace hostile;

constexpr const char* MATCH_RULE = "interface='com.Ulmet.Zelto.Zelto'";
constexpr int TIMEOUT_MS = 5000;

DBusHandlerResult Answer(DBusConnection* connection, DBusMessage* message, void* /*data*/) {
    if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
        const TMessage reply(dbus_message_new_method_return(message));
        const char* const text = "{}";
        const dbus_int32_t code = 0;
        (void)dbus_message_append_args(reply.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &code,
                                       DBUS_TYPE_INVALID);
        (void)dbus_connection_send(connection, reply.get(), nullptr);
        dbus_connection_flush(connection);
    }
    return DBUS_HANDLER_RESULT_HANDLED;
}

void Dispatch(DBusConnection* connection) {
    while (dbus_connection_read_write_dispatch(connection, -1) != FALSE) {
    }
}

// A connection that hears what parties hear.
void Subscribe(const TNeighbour& party) {
    dbus_connection_add_filter(party.Get(), Answer, nullptr, nullptr);
    dbus_bus_add_match(party.Get(), MATCH_RULE, nullptr);
    dbus_connection_flush(party.Get());
}

int Serve() {
    const TNeighbour server;
    Subscribe(server);
    (void)dbus_bus_request_name(server.Get(), CONTROL_NAME, 0, nullptr);
    (void)std::fputs("ready\n", stderr);
    Dispatch(server.Get());
    return 1;
}

int Call(load::TBoard& board, std::chrono::microseconds pause) {
    const TNeighbour listener;
    Subscribe(listener);
    std::thread([&] { Dispatch(listener.Get()); }).detach(); // ends with the process
    const TNeighbour client;
    board.ready = true;
    while (!board.stopped) {
        const TMessage call(dbus_message_new_method_call(CONTROL_NAME, MANAGER_PATH, INTERFACE, "ECHO"));
        const char* const text = R"({"NAME": "Device.WiFi.SSID.2.SSID"})";
        (void)dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
        const int64_t begin = load::Now();
        DBusMessage* const answer =
            dbus_connection_send_with_reply_and_block(client.Get(), call.get(), TIMEOUT_MS, nullptr);
        ++board.calls;
        if (answer != nullptr) {
            ++board.good;
            board.times.Add(load::Now() - begin);
            dbus_message_unref(answer);
        } else {
            ++board.refused;
        }
        std::this_thread::sleep_for(pause);
    }
    std::_Exit(0); // the listener still waits
}

} // namespace

int main(int argc, char** argv) {
    dbus_threads_init_default();
    if (argc == 2 && std::string(argv[1]) == "serve") {
        return Serve();
    }
    if (argc == 4 && std::string(argv[1]) == "call") {
        const load::TSharedBoard board = load::TSharedBoard::Open(argv[2]);
        return Call(*board, std::chrono::microseconds(std::atoi(argv[3])));
    }
    (void)std::fprintf(stderr, "usage: hostile_control serve | hostile_control call BOARD PAUSE_US\n");
    return 2;
}
