// Whether the bus answers. Opening a connection to one that hangs would never return, so this is asked first.
#ifndef ZELTO_IPC_BUS_PROBE_H
#define ZELTO_IPC_BUS_PROBE_H

#include <dbus/dbus.h>

namespace zelto {

// Remembers where the bus is: where the system bus is configured to be, else where the connection leads.
void RememberBusAddress(DBusConnection* connection);

enum class TBusState { ANSWERING, SILENT, ABSENT };
// Waits a second for an answer, and 25 s as long as nobody has been connected: a bus that is just being
// started may be slow. ANSWERING too when it cannot be asked: opening the connection shows then what is
// wrong.
TBusState ProbeBus();

} // namespace zelto

#endif
