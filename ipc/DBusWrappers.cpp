#include "ipc/DBusWrappers.h"

#include "ipc/DBusNames.h"
#include "zelto/TZeltoDBus.h"

#include <stdexcept>

#include <sys/ioctl.h>

namespace {

DBusMessage* RequireMessage(DBusMessage* message) {
    if (message == nullptr) {
        throw std::runtime_error("DBusMessage pointer is NULL!");
    }
    return message;
}

} // namespace

void zelto::ReadArrived(DBusConnection* connection) {
    constexpr int PIECE = 2048;
    const auto isPart = [connection] {
        return dbus_connection_get_dispatch_status(connection) == DBUS_DISPATCH_COMPLETE;
    };
    int fd = -1;
    int arrived = 0;
    if (!isPart() || dbus_connection_get_unix_fd(connection, &fd) == FALSE ||
        ioctl(fd, FIONREAD, &arrived) != 0) {
        return;
    }
    for (; arrived > 0 && isPart(); arrived -= PIECE) {
        (void)dbus_connection_read_write(connection, 0);
    }
}

TZeltoDBus::TBusMessage::TBusMessage(DBusMessage* ownedMessage) : message(RequireMessage(ownedMessage)) {}

TZeltoDBus::TBusMessage& TZeltoDBus::TBusMessage::operator=(DBusMessage* ownedMessage) {
    if (message != nullptr) {
        dbus_message_unref(message);
        message = nullptr;
    }
    message = RequireMessage(ownedMessage);
    return *this;
}

TZeltoDBus::TBusMessage::~TBusMessage() {
    if (message != nullptr) {
        dbus_message_unref(message);
    }
}

DBusMessage* TZeltoDBus::TBusMessage::operator()() const {
    return message;
}

int TZeltoDBus::TBusMessage::GetType() const {
    return message == nullptr ? DBUS_MESSAGE_TYPE_INVALID : dbus_message_get_type(message);
}

TZeltoDBus::TBusError::TBusError() : error() {
    dbus_error_init(&error);
}

TZeltoDBus::TBusError::~TBusError() {
    dbus_error_free(&error);
}

void TZeltoDBus::TBusError::Check(const std::string& context) {
    if (dbus_error_is_set(&error) != FALSE) {
        zelto::Fail(context + " - " + error.message);
    }
}

DBusError* TZeltoDBus::TBusError::Get() {
    return &error;
}
