// Events: from the sending until every listener has been called. A party hears its own events, too; raw
// libdbus is measured without that and with it.
//   zelto_bench_events emit ROUNDS COUNT         starts COUNT listeners of each kind; prints one JSON object
//   zelto_bench_events library|raw FD            a listener that writes a byte to FD for each event
#include "RawDBus.h"
#include "Samples.h"
#include "Texts.h"

#include "zelto/ZeltoAppLib.h"
#include "zelto/ZeltoPlatformLib.h"

#include <csignal>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* RAW_MATCH = "type='signal',interface='com.example.Raw'";
// A sender that hears itself is subscribed to this path.
constexpr const char* HEARD_PATH = "/com/example/Heard";
constexpr const char* HEARD_MATCH = "type='signal',interface='com.example.Raw',path='/com/example/Heard'";
constexpr int EVENTS_IN_A_ROUND = 20;

int pipeFd = -1;

void Report() {
    const char byte = '!';
    if (::write(pipeFd, &byte, 1) != 1) {
        std::_Exit(0);
    }
}

void OnChange(const char* /*name*/, const char* /*value*/) {
    Report();
}

DBusHandlerResult OnMessage(DBusConnection* /*connection*/, DBusMessage* message, void* /*unused*/) {
    const char* body = nullptr;
    if (dbus_message_is_signal(message, bench::RAW_INTERFACE, "DATA_MODEL_CHANGED") != FALSE &&
        dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &body, DBUS_TYPE_INVALID) != FALSE) {
        Report();
    }
    return DBUS_HANDLER_RESULT_HANDLED;
}

void Listen(bool isRaw) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!isRaw) {
        zeltoAppLibSubscribe(nullptr, OnChange);
        zeltoAppLibInitWithString(("LISTENER_" + std::to_string(::getpid())).c_str());
        Report();
        for (;;) {
            ::pause();
        }
    }
    DBusConnection* const connection = bench::Connect();
    dbus_connection_add_filter(connection, OnMessage, nullptr, nullptr);
    dbus_bus_add_match(connection, RAW_MATCH, nullptr);
    dbus_connection_flush(connection);
    dbus_bus_get_unix_user(connection, dbus_bus_get_unique_name(connection),
                           nullptr); // the match is in force
    Report();
    while (dbus_connection_read_write_dispatch(connection, -1) != FALSE) {
    }
}

// The listeners of one kind.
class TListeners {
public:
    TListeners(const char* program, const char* kind, int wanted) : count(wanted) {
        if (::pipe(fds) != 0) {
            std::abort();
        }
        for (int i = 0; i < count; ++i) {
            if (::fork() == 0) {
                ::execl(program, program, kind, std::to_string(fds[1]).c_str(), nullptr);
                std::_Exit(1);
            }
        }
        AwaitAll();
    }

    // One byte from each.
    void AwaitAll() const {
        char bytes[64];
        for (int left = count; left > 0;) {
            const ssize_t got = ::read(fds[0], bytes, static_cast<std::size_t>(std::min(left, 64)));
            left -= static_cast<int>(got);
        }
    }

private:
    int fds[2] = {-1, -1};
    int count;
};

DBusHandlerResult Ignore(DBusConnection* /*connection*/, DBusMessage* message, void* /*unused*/) {
    const char* body = nullptr;
    dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &body, DBUS_TYPE_INVALID);
    return DBUS_HANDLER_RESULT_HANDLED;
}

// Takes in the sender's own events on a connection and a thread of their own, as a party does.
void HearOwnEvents() {
    DBusConnection* const connection = bench::Connect();
    dbus_connection_add_filter(connection, Ignore, nullptr, nullptr);
    DBusError error = DBUS_ERROR_INIT;
    dbus_bus_add_match(connection, HEARD_MATCH, &error);
    std::thread([connection] {
        while (dbus_connection_read_write_dispatch(connection, -1) != FALSE) {
        }
    }).detach();
}

int Emit(const char* program, int rounds, int count) {
    dbus_threads_init_default();
    const TListeners rawListeners(program, "raw", count);
    const TListeners libraryListeners(program, "library", count);
    const tZeltoPlatformLibTable table{nullptr, 0, nullptr};
    zeltoPlatformLibInit(&table);
    DBusConnection* const raw = bench::Connect();
    tZeltoPltDataModelEvent event{};
    std::snprintf(event.name, sizeof(event.name), "%s", bench::NameOf(7).c_str());
    std::snprintf(event.value, sizeof(event.value), "%s", bench::VALUE);
    const std::string body =
        "{\"DATA_MODEL_NAME\": \"" + bench::NameOf(7) + "\", \"DATA_MODEL_VALUE\": \"" + bench::VALUE + "\"}";

    HearOwnEvents();
    const auto sendOn = [&](const char* path) {
        DBusMessage* const signal = dbus_message_new_signal(path, bench::RAW_INTERFACE, "DATA_MODEL_CHANGED");
        bench::AppendText(signal, body);
        dbus_connection_send(raw, signal, nullptr);
        dbus_connection_flush(raw);
        dbus_message_unref(signal);
        rawListeners.AwaitAll();
        return true;
    };
    const auto sendRaw = [&] { return sendOn(bench::RAW_PATH); };
    const auto sendHeard = [&] { return sendOn(HEARD_PATH); };
    const auto sendLibrary = [&] {
        zeltoPlatformLibSendEvent(PLT_EVENT_DATA_MODEL_CHANGED, &event);
        libraryListeners.AwaitAll();
        return true;
    };
    bench::TSamples rawTimes;
    bench::TSamples heardTimes;
    bench::TSamples libraryTimes;
    for (int round = 0; round < rounds; ++round) {
        std::fprintf(stderr, "\r  events to %d: round %d of %d", count, round + 1, rounds);
        bench::Measure(EVENTS_IN_A_ROUND, sendRaw, rawTimes);
        bench::Measure(EVENTS_IN_A_ROUND, sendHeard, heardTimes);
        bench::Measure(EVENTS_IN_A_ROUND, sendLibrary, libraryTimes);
    }
    std::printf("\n{\"raw\": %s, \"heard\": %s, \"library\": %s}\n", rawTimes.Json().c_str(),
                heardTimes.Json().c_str(), libraryTimes.Json().c_str());
    std::fflush(stdout);
    std::fputs("\n", stderr);
    std::_Exit(0); // the listeners die with this process
}

} // namespace

int main(int argc, char** argv) {
    const std::string role = argc > 2 ? argv[1] : "";
    if (role == "emit" && argc > 3) {
        return Emit(argv[0], std::atoi(argv[2]), std::atoi(argv[3]));
    }
    pipeFd = argc > 2 ? std::atoi(argv[2]) : -1;
    Listen(role == "raw");
    return 0;
}
