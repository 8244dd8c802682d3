// The bus itself, for what the library does not tell: who is on it, what it refuses and why, what it allows.
#ifndef ZELTO_TOOL_BUS_H
#define ZELTO_TOOL_BUS_H

#include <dbus/dbus.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tool {

constexpr const char* NAME_PREFIX = "com.Ulmet.Zelto.";
constexpr const char* PATH_PREFIX = "/com/Ulmet/Zelto/";
constexpr const char* INTERFACE = "com.Ulmet.Zelto.Zelto";

// Whether a bus name is that of a party; then its identity.
bool IsParty(const std::string& busName);
std::string IdentityOf(const std::string& busName);

struct TMessageDeleter {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using TMessage = std::unique_ptr<DBusMessage, TMessageDeleter>;

// Why the bus, or somebody on it, did not do what was asked, with the exit code that stands for it.
class TBusFailure : public std::runtime_error {
public:
    TBusFailure(const std::string& text, int code) : std::runtime_error(text), exitCode(code) {}
    int ExitCode() const { return exitCode; }

private:
    int exitCode;
};

// What a message of a party says, read as the library reads it: the last text and the last number among its
// first three arguments.
struct TPartyText {
    std::string text;
    int32_t code = -1;
};
TPartyText ReadPartyText(DBusMessage* message);

// The first argument of that type; empty or 0 when there is none.
std::string FirstText(DBusMessage* message);
uint32_t FirstNumber(DBusMessage* message);

// A connection of our own. It owns no name. What the bus or a party refuses is thrown as TBusFailure.
class TBus {
public:
    static constexpr int PATIENCE_MS = 5000; // with the bus itself

    // The address that DBUS_SYSTEM_BUS_ADDRESS names, or that of the system bus.
    static std::string Address();

    TBus();

    TMessage Call(DBusMessage* call, int timeoutMs = PATIENCE_MS);
    // A method of the bus with texts as arguments.
    TMessage Ask(const char* method, const std::vector<std::string>& texts);

    std::vector<std::string> Names();
    // The unique name; empty when nobody owns the name.
    std::string OwnerOf(const std::string& busName);
    void AddMatch(const std::string& rule);
    // Waits until a call that was sent is answered. False when it is not in time; throws when the bus is
    // gone.
    bool Await(DBusPendingCall* call, int timeoutMs);
    // The next message that came by itself; null when none came in time. Throws when the bus is gone.
    TMessage Next(int timeoutMs);

    // Turns the connection into one that only listens.
    void BecomeMonitor(const std::vector<std::string>& rules);

    DBusConnection* Connection() { return connection.get(); }

private:
    struct TCloser {
        void operator()(DBusConnection* open) const {
            dbus_connection_close(open);
            dbus_connection_unref(open);
        }
    };

    void SayHello();

    std::unique_ptr<DBusConnection, TCloser> connection;
};

// A call of a method of the bus's object.
TMessage NewBusCall(const char* interface, const char* method);
void Append(DBusMessage* message, const std::string& text);
void Append(DBusMessage* message, const std::vector<std::string>& texts);
void Append(DBusMessage* message, uint32_t number);

} // namespace tool

#endif
