// What another program on the bus can do to ours, made of libdbus alone.
#ifndef ZELTO_TESTS_HOSTILE_ATTACKS_H
#define ZELTO_TESTS_HOSTILE_ATTACKS_H

#include <dbus/dbus.h>

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace hostile {

constexpr const char* BUS_PREFIX = "com.Ulmet.Zelto.";
constexpr const char* MANAGER_NAME = "com.Ulmet.Zelto.ZELTO_DISPATCHER";
constexpr const char* CONTROL_NAME = "com.example.Control";
constexpr const char* MANAGER_PATH = "/com/Ulmet/Zelto/ZELTO_DISPATCHER";
constexpr const char* INTERFACE = "com.Ulmet.Zelto.Zelto";

struct TUnrefMessage {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using TMessage = std::unique_ptr<DBusMessage, TUnrefMessage>;

// The bus has closed the connection.
struct TThrownOut : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A connection that sends as much as it can and drops what it gets.
class TNeighbour {
public:
    TNeighbour();
    ~TNeighbour();
    TNeighbour(const TNeighbour&) = delete;
    TNeighbour& operator=(const TNeighbour&) = delete;

    DBusConnection* Get() const { return connection; }
    void Send(const TMessage& message);
    // Waits until what was sent has left, and drops what has come. Throws TThrownOut.
    void Flush();
    // The unique names of all others.
    std::vector<std::string> Others();

private:
    DBusConnection* connection;
};

// One turn of an attack; it is repeated without an end. The number counts the turns.
using TAttack = std::function<void(unsigned turn)>;

// Prepares an attack on the owner of a name, and on others too if the attack is of that kind.
using TPreparation = std::function<TAttack(const std::string& victim)>;
const std::map<std::string, TPreparation>& Attacks();

} // namespace hostile

#endif
