// D-Bus messages as plain values.
#ifndef ZELTO_TESTS_RAW_MESSAGE_H
#define ZELTO_TESTS_RAW_MESSAGE_H

#include <dbus/dbus.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace support {

// The basic types; object paths and signatures are read as texts. A container is read as TContainer.
struct TContainer {
    std::string signature;
    bool operator==(const TContainer& other) const { return signature == other.signature; }
};

using TRawValue = std::variant<std::string, int32_t, uint32_t, bool, double, uint8_t, int16_t, uint16_t,
                               int64_t, uint64_t, TContainer>;
using TRawArguments = std::vector<TRawValue>;

// For arguments that TRawArguments cannot express: appends to the message by hand.
using TRawBuilder = std::function<void(DBusMessageIter&)>;

struct TRawMessage {
    int type = DBUS_MESSAGE_TYPE_INVALID;
    std::string sender;
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    std::string errorName;
    std::string signature;
    TRawArguments arguments;
    uint32_t serial = 0;
    uint32_t replySerial = 0;
    bool noReply = false;

    bool IsCall() const { return type == DBUS_MESSAGE_TYPE_METHOD_CALL; }
    bool IsReturn() const { return type == DBUS_MESSAGE_TYPE_METHOD_RETURN; }
    bool IsError() const { return type == DBUS_MESSAGE_TYPE_ERROR; }
    bool IsSignal() const { return type == DBUS_MESSAGE_TYPE_SIGNAL; }

    // Empty or 0 when there is no such argument or it has another type.
    std::string Text(size_t index) const;
    int32_t Int(size_t index) const;
};

TRawMessage ReadMessage(DBusMessage* message);

// The builder for a list of values.
TRawBuilder Appending(const TRawArguments& arguments);

// One line, such as: call :1.4 -> com.example /path com.example.Interface.Member("text", 7)
std::string Describe(const TRawMessage& message);
std::ostream& operator<<(std::ostream& out, const TRawMessage& message);

} // namespace support

#endif
