#include "RandomMessage.h"

#include <iterator>

namespace fuzz {

namespace {

constexpr const char* MEMBERS[] = {"GET_PARAM", "CLIENT_CONNECTED", "Disconnected", "NameAcquired",
                                   "NameLost"};
constexpr const char* SENDERS[] = {nullptr, "org.freedesktop.DBus", ":1.42"};
constexpr const char* BUS_NAME = "com.Ulmet.Zelto.ZELTO_DISPATCHER";
constexpr const char* PATH = "/com/Ulmet/Zelto/ZELTO_DISPATCHER";
constexpr const char* INTERFACE = "com.Ulmet.Zelto.Zelto";
constexpr unsigned MOST_ARGUMENTS = 5;
constexpr dbus_uint32_t SERIAL = 7;
constexpr unsigned DEEPEST = 8; // libdbus passes on 32 levels at most

// A text of the input, as much of it as is one.
std::string ValidText(TInput& input) {
    std::string text = input.Text();
    text.resize(std::strlen(text.c_str()));
    return dbus_validate_utf8(text.c_str(), nullptr) != FALSE ? text : std::string();
}

std::string TakeMember(TInput& input) {
    const std::size_t known = input.Byte() % (std::size(MEMBERS) + 1);
    if (known < std::size(MEMBERS)) {
        return MEMBERS[known];
    }
    const std::string member = ValidText(input);
    return dbus_validate_member(member.c_str(), nullptr) != FALSE ? member : "Other";
}

DBusMessage* NewMessage(unsigned type, const std::string& member) {
    switch (type % 4) {
    case 0:
        return dbus_message_new_method_call(BUS_NAME, PATH, INTERFACE, member.c_str());
    case 1:
        return dbus_message_new_signal(PATH, INTERFACE, member.c_str());
    case 2:
        return dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN);
    default:
        return dbus_message_new(DBUS_MESSAGE_TYPE_ERROR);
    }
}

void AppendText(DBusMessageIter& arguments, int type, const std::string& text) {
    const char* const value = text.c_str();
    (void)dbus_message_iter_append_basic(&arguments, type, &value);
}

void AppendNumber(DBusMessageIter& arguments, int type, TInput& input) {
    DBusBasicValue value{};
    const std::string bytes = input.Bytes(sizeof(value));
    std::memcpy(&value, bytes.data(), bytes.size());
    if (type == DBUS_TYPE_BOOLEAN) {
        value.bool_val &= 1U;
    }
    (void)dbus_message_iter_append_basic(&arguments, type, &value);
}

void AppendList(DBusMessageIter& arguments, TInput& input) {
    DBusMessageIter list;
    (void)dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING, &list);
    for (unsigned left = input.Byte() % 3; left > 0; --left) {
        AppendText(list, DBUS_TYPE_STRING, ValidText(input));
    }
    (void)dbus_message_iter_close_container(&arguments, &list);
}

void AppendArgument(DBusMessageIter& arguments, TInput& input, unsigned depth);

void AppendVariant(DBusMessageIter& arguments, TInput& input) {
    DBusMessageIter variant;
    (void)dbus_message_iter_open_container(&arguments, DBUS_TYPE_VARIANT, DBUS_TYPE_STRING_AS_STRING,
                                           &variant);
    AppendText(variant, DBUS_TYPE_STRING, ValidText(input));
    (void)dbus_message_iter_close_container(&arguments, &variant);
}

void AppendStruct(DBusMessageIter& arguments, TInput& input, unsigned depth) {
    DBusMessageIter members;
    (void)dbus_message_iter_open_container(&arguments, DBUS_TYPE_STRUCT, nullptr, &members);
    AppendNumber(members, DBUS_TYPE_INT32, input);
    AppendArgument(members, input, depth + 1);
    (void)dbus_message_iter_close_container(&arguments, &members);
}

void AppendArgument(DBusMessageIter& arguments, TInput& input, unsigned depth) {
    constexpr int NUMBERS[] = {DBUS_TYPE_INT32, DBUS_TYPE_BYTE,   DBUS_TYPE_BOOLEAN, DBUS_TYPE_UINT32,
                               DBUS_TYPE_INT64, DBUS_TYPE_DOUBLE, DBUS_TYPE_INT16};
    const unsigned shape = input.IsEmpty() || depth == DEEPEST ? 0 : input.Byte() % 16;
    switch (shape) {
    case 1:
        return AppendText(arguments, DBUS_TYPE_OBJECT_PATH, PATH);
    case 2:
        return AppendText(arguments, DBUS_TYPE_SIGNATURE, "a{sv}");
    case 3:
        return AppendList(arguments, input);
    case 4:
        return AppendVariant(arguments, input);
    case 5:
        return AppendStruct(arguments, input, depth);
    default:
        break;
    }
    if (shape >= 16 - std::size(NUMBERS)) {
        return AppendNumber(arguments, NUMBERS[16 - 1 - shape], input);
    }
    AppendText(arguments, DBUS_TYPE_STRING, ValidText(input));
}

zelto::TMessageHandle PutTogether(TInput& input) {
    const unsigned type = input.Byte();
    zelto::TMessageHandle message(NewMessage(type, TakeMember(input)));
    (void)dbus_message_set_sender(message.get(), SENDERS[input.Byte() % std::size(SENDERS)]);
    dbus_message_set_serial(message.get(), SERIAL);
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message.get(), &arguments);
    for (unsigned left = input.Byte() % (MOST_ARGUMENTS + 1); left > 0; --left) {
        AppendArgument(arguments, input, 0);
    }
    return message;
}

zelto::TMessageHandle Demarshal(const std::string& bytes) {
    // Of a message that is not whole too much would be read.
    if (dbus_message_demarshal_bytes_needed(bytes.data(), static_cast<int>(bytes.size())) !=
        static_cast<int>(bytes.size())) {
        return nullptr;
    }
    return zelto::TMessageHandle(
        dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

} // namespace

zelto::TMessageHandle TakeMessage(TInput& input) {
    const bool isWhole = input.Byte() % 2 == 1;
    return isWhole ? Demarshal(input.Rest()) : PutTogether(input);
}

} // namespace fuzz
