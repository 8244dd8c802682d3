// Who asked for what, and how it went: a line each on standard error.
#ifndef REMOTED_LOG_H
#define REMOTED_LOG_H

#include <string>

namespace remoted {

void Log(const std::string& line);

} // namespace remoted

#endif
