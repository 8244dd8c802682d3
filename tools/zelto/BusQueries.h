// What the command asks the bus itself.
#ifndef ZELTO_TOOL_BUS_QUERIES_H
#define ZELTO_TOOL_BUS_QUERIES_H

#include <string>

namespace tool {

// Whether somebody is on the bus under the identity. False, too, when the bus cannot be asked.
bool IsOnBus(const std::string& identity);

} // namespace tool

#endif
