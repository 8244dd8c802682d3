#include "hostile/Attacks.h"

#include <array>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace hostile {

namespace {

constexpr unsigned BATCH = 32; // messages of a turn
constexpr std::size_t LARGE = 1U << 20U;
constexpr std::size_t HUGE_SIZE = 16U << 20U;
constexpr useconds_t LARGE_TEXT_INTERVAL_US = 50000;
constexpr int DESCRIPTORS = 16; // of one message
// No call has it: libdbus takes an answer with the right serial from anybody, and only the bus can keep it
// away.
constexpr dbus_uint32_t FORGED_SERIAL = 0x70000000;

// What peers may send instead of a request or an event.
const std::array<const char*, 8> BODIES = {"",
                                           "{}",
                                           R"({"NAME": 7})",
                                           "null",
                                           "[[[[[[[[[[",
                                           R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": {"a": []}})",
                                           "{",
                                           R"({"NAME": "Device.WiFi.SSID.99999999999.SSID"})"};
const std::array<const char*, 6> CALLS = {"GET_PARAM",  "NO_SUCH_METHOD", "Disconnected",
                                          "GET_OBJECT", "Introspect",     "NameOwnerChanged"};
const std::array<const char*, 6> EVENTS = {"DATA_MODEL_CHANGED", "CLIENT_CONNECTED", "NO_SUCH_EVENT",
                                           "Disconnected",       "NameLost",         "APP_DISCONNECTED"};

using TNeighbourRef = std::shared_ptr<TNeighbour>;

template <typename TTexts>
const auto& Pick(const TTexts& texts, unsigned number) {
    return texts[number % texts.size()];
}

void AppendText(const TMessage& message, const char* text) {
    (void)dbus_message_append_args(message.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
}

TMessage MakeCall(const std::string& destination, const char* member) {
    return TMessage(dbus_message_new_method_call(destination.c_str(), MANAGER_PATH, INTERFACE, member));
}

TMessage MakeSignal(const std::string& destination, const char* member, const char* interface = INTERFACE) {
    TMessage signal(dbus_message_new_signal(MANAGER_PATH, interface, member));
    if (!destination.empty()) {
        (void)dbus_message_set_destination(signal.get(), destination.c_str());
    }
    return signal;
}

// Sends a batch of what the function makes.
TAttack Flood(const TNeighbourRef& neighbour, const std::function<TMessage(unsigned)>& make) {
    return [neighbour, make](unsigned turn) {
        for (unsigned i = 0; i < BATCH; ++i) {
            neighbour->Send(make(turn * BATCH + i));
        }
        neighbour->Flush();
    };
}

TMessage OddCall(const std::string& destination, unsigned number) {
    TMessage call = MakeCall(destination, Pick(CALLS, number));
    AppendText(call, Pick(BODIES, number / 2));
    return call;
}

// One after the other: everybody by their unique names, and the victim by its own.
std::vector<std::string> Everybody(TNeighbour& neighbour, const std::string& victim) {
    std::vector<std::string> all = neighbour.Others();
    all.push_back(victim);
    return all;
}

TAttack CallManager(const std::string& victim) {
    return Flood(std::make_shared<TNeighbour>(),
                 [victim](unsigned number) { return OddCall(victim, number); });
}

TAttack CallWithoutReply(const std::string& victim) {
    return Flood(std::make_shared<TNeighbour>(), [victim](unsigned number) {
        TMessage call = OddCall(victim, number);
        dbus_message_set_no_reply(call.get(), TRUE);
        return call;
    });
}

TAttack CallEverybody(const std::string& victim) {
    const auto neighbour = std::make_shared<TNeighbour>();
    return Flood(neighbour, [all = Everybody(*neighbour, victim)](unsigned number) {
        return OddCall(Pick(all, number), number);
    });
}

TAttack SignalAll(const std::string& /*victim*/) {
    return Flood(std::make_shared<TNeighbour>(), [](unsigned number) {
        TMessage signal = MakeSignal("", Pick(EVENTS, number));
        AppendText(signal, Pick(BODIES, number / 2));
        return signal;
    });
}

TAttack SignalEverybody(const std::string& victim) {
    const auto neighbour = std::make_shared<TNeighbour>();
    return Flood(neighbour, [all = Everybody(*neighbour, victim)](unsigned number) {
        const char* const interface = number % 3 == 0 ? "org.freedesktop.DBus" : INTERFACE;
        TMessage signal = MakeSignal(Pick(all, number), Pick(EVENTS, number), interface);
        AppendText(signal, Pick(BODIES, number / 2));
        return signal;
    });
}

void AppendNested(DBusMessageIter* outer, int depth) {
    DBusMessageIter inner;
    if (depth == 0) {
        const double value = 1.5;
        (void)dbus_message_iter_append_basic(outer, DBUS_TYPE_DOUBLE, &value);
    } else if (dbus_message_iter_open_container(outer, DBUS_TYPE_VARIANT, depth == 1 ? "d" : "v", &inner) !=
               FALSE) {
        AppendNested(&inner, depth - 1);
        (void)dbus_message_iter_close_container(outer, &inner);
    }
}

void AppendOddTypes(const TMessage& message, unsigned number) {
    constexpr int DEEPEST = 40;
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message.get(), &arguments);
    const dbus_int32_t code = -7;
    const char* const path = "/a/b";
    switch (number % 5) {
    case 0:
        break; // nothing at all
    case 1:
        (void)dbus_message_iter_append_basic(&arguments, DBUS_TYPE_INT32, &code);
        break;
    case 2:
        (void)dbus_message_iter_append_basic(&arguments, DBUS_TYPE_OBJECT_PATH, &path);
        break;
    case 3:
        AppendNested(&arguments, DEEPEST);
        break;
    default:
        for (int i = 0; i < 200; ++i) {
            (void)dbus_message_iter_append_basic(&arguments, DBUS_TYPE_INT32, &code);
        }
    }
}

TAttack SendWrongTypes(const std::string& victim) {
    const auto neighbour = std::make_shared<TNeighbour>();
    return Flood(neighbour, [all = Everybody(*neighbour, victim)](unsigned number) {
        const std::string& chosen = Pick(all, number);
        TMessage message = number % 2 == 0 ? MakeCall(chosen, Pick(CALLS, number))
                                           : MakeSignal(chosen, Pick(EVENTS, number));
        AppendOddTypes(message, number / 2);
        return message;
    });
}

// Not as many as it can: those fill the bus's own queues, and from then on the bus refuses everybody's calls.
TAttack SendLargeTexts(const std::string& victim) {
    const auto neighbour = std::make_shared<TNeighbour>();
    return [neighbour, victim, large = std::string(LARGE, 'x'),
            huge = std::string(HUGE_SIZE, 'y')](unsigned turn) {
        const char* const text = turn % 16 == 0 ? huge.c_str() : large.c_str();
        const TMessage message = turn % 2 == 0 ? MakeCall(victim, "GET_PARAM") : MakeSignal("", EVENTS[0]);
        AppendText(message, text);
        neighbour->Send(message);
        neighbour->Flush();
        usleep(LARGE_TEXT_INTERVAL_US);
    };
}

TAttack SendDescriptors(const std::string& victim) {
    const auto neighbour = std::make_shared<TNeighbour>();
    const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    return Flood(neighbour, [all = Everybody(*neighbour, victim), file](unsigned number) {
        TMessage call = MakeCall(Pick(all, number), "GET_PARAM");
        AppendText(call, "{}");
        for (int i = 0; i < DESCRIPTORS; ++i) {
            (void)dbus_message_append_args(call.get(), DBUS_TYPE_UNIX_FD, &file, DBUS_TYPE_INVALID);
        }
        return call;
    });
}

TAttack SendReplies(const std::string& /*victim*/) {
    const auto neighbour = std::make_shared<TNeighbour>();
    return Flood(neighbour, [others = neighbour->Others()](unsigned number) {
        const bool isError = number % 2 == 0;
        TMessage reply(dbus_message_new(isError ? DBUS_MESSAGE_TYPE_ERROR : DBUS_MESSAGE_TYPE_METHOD_RETURN));
        (void)dbus_message_set_destination(reply.get(), Pick(others, number).c_str());
        (void)dbus_message_set_reply_serial(reply.get(), FORGED_SERIAL + number);
        if (isError) {
            (void)dbus_message_set_error_name(reply.get(), "com.example.Error.Hostile");
        }
        AppendText(reply, "a forged answer");
        return reply;
    });
}

// One connection asks for everything and reads nothing; another one has the manager send events.
TAttack SubscribeWithoutReading(const std::string& victim) {
    const auto subscriber = std::make_shared<TNeighbour>();
    dbus_bus_add_match(subscriber->Get(), "interface='com.Ulmet.Zelto.Zelto'", nullptr);
    subscriber->Flush();
    const auto writer = std::make_shared<TNeighbour>();
    return [subscriber, writer, victim](unsigned turn) {
        for (unsigned i = 0; i < BATCH; ++i) {
            const TMessage call = MakeCall(victim, "SET_PARAM");
            const std::string value = std::to_string(turn * BATCH + i);
            AppendText(call, (R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": ")" + value + R"("})").c_str());
            writer->Send(call);
        }
        writer->Flush();
    };
}

TAttack OpenAndDrop(const std::string& victim) {
    return [victim](unsigned turn) {
        TNeighbour neighbour;
        const std::string name = BUS_PREFIX + ("CHURN_" + std::to_string(turn % 100));
        (void)dbus_bus_request_name(neighbour.Get(), name.c_str(), 0, nullptr);
        neighbour.Send(OddCall(victim, turn));
        if (turn % 2 == 0) {
            neighbour.Flush(); // else it goes with the message unsent
        }
    };
}

// Takes the manager's name, keeps it for a moment, answers nothing and gives it back.
TAttack StealName(const std::string& victim) {
    const auto neighbour = std::make_shared<TNeighbour>();
    return [neighbour, victim](unsigned /*turn*/) {
        constexpr useconds_t KEEP_US = 20000;
        constexpr useconds_t LEAVE_US = 80000;
        (void)dbus_bus_request_name(neighbour->Get(), victim.c_str(), DBUS_NAME_FLAG_REPLACE_EXISTING,
                                    nullptr);
        usleep(KEEP_US);
        (void)dbus_bus_release_name(neighbour->Get(), victim.c_str(), nullptr);
        usleep(LEAVE_US);
        neighbour->Flush();
    };
}

} // namespace

TNeighbour::TNeighbour() : connection(dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr)) {
    if (connection == nullptr) {
        throw std::runtime_error("no bus");
    }
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
}

TNeighbour::~TNeighbour() {
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
}

void TNeighbour::Send(const TMessage& message) {
    (void)dbus_connection_send(connection, message.get(), nullptr);
}

void TNeighbour::Flush() {
    dbus_connection_flush(connection);
    (void)dbus_connection_read_write(connection, 0);
    while (DBusMessage* const dropped = dbus_connection_pop_message(connection)) {
        dbus_message_unref(dropped);
    }
    if (dbus_connection_get_is_connected(connection) == FALSE) {
        throw TThrownOut("thrown out");
    }
}

std::vector<std::string> TNeighbour::Others() {
    const TMessage call(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "ListNames"));
    const TMessage answer(dbus_connection_send_with_reply_and_block(connection, call.get(), -1, nullptr));
    char** names = nullptr;
    int count = 0;
    if (!answer || dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &names,
                                         &count, DBUS_TYPE_INVALID) == FALSE) {
        throw std::runtime_error("no list of names");
    }
    std::vector<std::string> others;
    for (int i = 0; i < count; ++i) {
        if (names[i][0] == ':' && std::string(names[i]) != dbus_bus_get_unique_name(connection)) {
            others.emplace_back(names[i]);
        }
    }
    dbus_free_string_array(names);
    return others;
}

const std::map<std::string, TPreparation>& Attacks() {
    static const std::map<std::string, TPreparation> attacks = {
        {"calls", CallManager},
        {"calls_without_reply", CallWithoutReply},
        {"calls_to_unique_names", CallEverybody},
        {"signals", SignalAll},
        {"signals_to_unique_names", SignalEverybody},
        {"wrong_types", SendWrongTypes},
        {"large_texts", SendLargeTexts},
        {"descriptors", SendDescriptors},
        {"unasked_replies", SendReplies},
        {"subscriber_that_never_reads", SubscribeWithoutReading},
        {"connections_opened_and_dropped", OpenAndDrop},
        {"thief_of_the_name", StealName},
    };
    return attacks;
}

} // namespace hostile
