// How the command makes a request and finds out why one failed.
#ifndef ZELTO_TOOL_REQUESTS_H
#define ZELTO_TOOL_REQUESTS_H

#include "zelto/TZeltoApplication.h"

#include <functional>
#include <string>
#include <vector>

namespace tool {

// Makes one request of the manager. Returns EXIT_DONE, or says on standard error what went wrong with `what`,
// such as "get Device.X", and returns the exit code. `paths` are the names in the request.
//
// Requests are made without a name on the bus, so they work where the bus grants none, and runs of the
// command never get in each other's way.
int RunRequest(int timeoutSeconds, const std::string& what, const std::vector<std::string>& paths,
               const std::function<int(TZeltoApplication&)>& request);

} // namespace tool

#endif
