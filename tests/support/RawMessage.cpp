#include "support/RawMessage.h"

#include <sstream>
#include <stdexcept>

namespace support {

namespace {

std::string OrEmpty(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

template <typename T>
T ReadFixed(DBusMessageIter& iter) {
    T value{};
    dbus_message_iter_get_basic(&iter, &value);
    return value;
}

TContainer ReadContainer(DBusMessageIter& iter) {
    char* const signature = dbus_message_iter_get_signature(&iter);
    TContainer container{OrEmpty(signature)};
    dbus_free(signature);
    return container;
}

TRawValue ReadValue(DBusMessageIter& iter) {
    switch (dbus_message_iter_get_arg_type(&iter)) {
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE:
        return OrEmpty(ReadFixed<const char*>(iter));
    case DBUS_TYPE_INT32:
        return ReadFixed<int32_t>(iter);
    case DBUS_TYPE_UINT32:
        return ReadFixed<uint32_t>(iter);
    case DBUS_TYPE_BOOLEAN:
        return ReadFixed<dbus_bool_t>(iter) != 0;
    case DBUS_TYPE_DOUBLE:
        return ReadFixed<double>(iter);
    case DBUS_TYPE_BYTE:
        return ReadFixed<uint8_t>(iter);
    case DBUS_TYPE_INT16:
        return ReadFixed<int16_t>(iter);
    case DBUS_TYPE_UINT16:
        return ReadFixed<uint16_t>(iter);
    case DBUS_TYPE_INT64:
        return ReadFixed<int64_t>(iter);
    case DBUS_TYPE_UINT64:
        return ReadFixed<uint64_t>(iter);
    default:
        return ReadContainer(iter);
    }
}

TRawArguments ReadArguments(DBusMessage* message) {
    TRawArguments arguments;
    DBusMessageIter iter;
    if (dbus_message_iter_init(message, &iter) == 0) {
        return arguments;
    }
    do {
        arguments.push_back(ReadValue(iter));
    } while (dbus_message_iter_next(&iter) != 0);
    return arguments;
}

// Appends one value with the D-Bus type of its C++ type.
struct TAppender {
    DBusMessageIter& iter;

    void operator()(const std::string& value) const {
        const char* text = value.c_str();
        Append(DBUS_TYPE_STRING, &text);
    }
    void operator()(bool value) const {
        const dbus_bool_t wide = value ? 1 : 0;
        Append(DBUS_TYPE_BOOLEAN, &wide);
    }
    void operator()(int32_t value) const { Append(DBUS_TYPE_INT32, &value); }
    void operator()(uint32_t value) const { Append(DBUS_TYPE_UINT32, &value); }
    void operator()(double value) const { Append(DBUS_TYPE_DOUBLE, &value); }
    void operator()(uint8_t value) const { Append(DBUS_TYPE_BYTE, &value); }
    void operator()(int16_t value) const { Append(DBUS_TYPE_INT16, &value); }
    void operator()(uint16_t value) const { Append(DBUS_TYPE_UINT16, &value); }
    void operator()(int64_t value) const { Append(DBUS_TYPE_INT64, &value); }
    void operator()(uint64_t value) const { Append(DBUS_TYPE_UINT64, &value); }
    void operator()(const TContainer&) const { throw std::invalid_argument("a container needs a builder"); }

    void Append(int type, const void* value) const {
        if (dbus_message_iter_append_basic(&iter, type, value) == 0) {
            throw std::bad_alloc();
        }
    }
};

struct TWriter {
    std::ostream& out;

    void operator()(const std::string& value) const { out << '"' << value << '"'; }
    void operator()(bool value) const { out << (value ? "true" : "false"); }
    void operator()(uint8_t value) const { out << static_cast<unsigned>(value); }
    void operator()(const TContainer& value) const { out << '<' << value.signature << '>'; }
    template <typename T>
    void operator()(T value) const {
        out << value;
    }
};

void WriteArguments(std::ostream& out, const TRawArguments& arguments) {
    out << '(';
    const char* separator = "";
    for (const TRawValue& value : arguments) {
        out << separator;
        std::visit(TWriter{out}, value);
        separator = ", ";
    }
    out << ')';
}

} // namespace

std::string TRawMessage::Text(size_t index) const {
    const auto* text = index < arguments.size() ? std::get_if<std::string>(&arguments[index]) : nullptr;
    return text == nullptr ? std::string() : *text;
}

int32_t TRawMessage::Int(size_t index) const {
    const auto* number = index < arguments.size() ? std::get_if<int32_t>(&arguments[index]) : nullptr;
    return number == nullptr ? 0 : *number;
}

TRawMessage ReadMessage(DBusMessage* message) {
    TRawMessage read;
    read.type = dbus_message_get_type(message);
    read.sender = OrEmpty(dbus_message_get_sender(message));
    read.destination = OrEmpty(dbus_message_get_destination(message));
    read.path = OrEmpty(dbus_message_get_path(message));
    read.interface = OrEmpty(dbus_message_get_interface(message));
    read.member = OrEmpty(dbus_message_get_member(message));
    read.errorName = OrEmpty(dbus_message_get_error_name(message));
    read.signature = OrEmpty(dbus_message_get_signature(message));
    read.arguments = ReadArguments(message);
    read.serial = dbus_message_get_serial(message);
    read.replySerial = dbus_message_get_reply_serial(message);
    read.noReply = dbus_message_get_no_reply(message) != 0;
    return read;
}

TRawBuilder Appending(const TRawArguments& arguments) {
    return [arguments](DBusMessageIter& iter) {
        for (const TRawValue& value : arguments) {
            std::visit(TAppender{iter}, value);
        }
    };
}

std::ostream& operator<<(std::ostream& out, const TRawMessage& message) {
    static constexpr const char* TYPES[] = {"invalid", "call", "return", "error", "signal"};
    out << TYPES[message.type >= 0 && message.type <= DBUS_MESSAGE_TYPE_SIGNAL ? message.type : 0] << ' '
        << message.sender << " -> " << message.destination;
    if (!message.member.empty()) {
        out << ' ' << message.path << ' ' << message.interface << '.' << message.member;
    }
    if (!message.errorName.empty()) {
        out << ' ' << message.errorName;
    }
    WriteArguments(out, message.arguments);
    return out;
}

std::string Describe(const TRawMessage& message) {
    std::ostringstream out;
    out << message;
    return out.str();
}

} // namespace support
