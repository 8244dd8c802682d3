// What the command asks the bus itself.
#ifndef ZELTO_TOOL_BUS_QUERIES_H
#define ZELTO_TOOL_BUS_QUERIES_H

#include <string>

namespace tool {

enum TPresence {
    PRESENCE_ON_BUS,
    PRESENCE_ABSENT,
    PRESENCE_UNKNOWN, // the bus cannot be asked
};

// Whether somebody is on the bus under the identity.
TPresence FindPresence(const std::string& identity);

} // namespace tool

#endif
