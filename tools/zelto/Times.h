#ifndef ZELTO_TOOL_TIMES_H
#define ZELTO_TOOL_TIMES_H

#include <string>

namespace tool {

// The time in UTC with milliseconds, such as "2026-01-31T23:59:59.999Z".
std::string UtcTime();

} // namespace tool

#endif
