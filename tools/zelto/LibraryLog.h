// The log of the library. The command takes it over from the logging library, by having a function of the
// same name: it is shown when the user asks for it, and tells the user why a request failed.
#ifndef ZELTO_TOOL_LIBRARY_LOG_H
#define ZELTO_TOOL_LIBRARY_LOG_H

#include <string>

namespace tool {

// For -v: every line goes to standard error.
void ShowLog(bool isShown);

// The last error that was logged since ForgetLoggedError, without the quotes round it; empty when there is
// none.
std::string LastLoggedError();
void ForgetLoggedError();

} // namespace tool

#endif
