// One exchange on the client connection.
#ifndef ZELTO_IPC_DBUS_CALLS_H
#define ZELTO_IPC_DBUS_CALLS_H

#include "ipc/BusLink.h"
#include "ipc/DBusWrappers.h"
#include "ipc/Timeouts.h"

#include <memory>
#include <string>

namespace zelto {

// Sends a call and waits for its answer. Null when there is none by the deadline, when the bus is lost
// meanwhile, and when the caller is a dispatch thread that is stopped meanwhile. Logs and throws when the
// call cannot be sent.
TMessageHandle Exchange(const std::shared_ptr<TBusLink>& link, DBusMessage* call,
                        TClock::time_point deadline);

// The first STRING argument; "" when there is none.
std::string FirstText(DBusMessage* message);

} // namespace zelto

#endif
