// How the command makes a request and finds out why one failed.
#ifndef ZELTO_TOOL_REQUESTS_H
#define ZELTO_TOOL_REQUESTS_H

#include "Globals.h"

#include "zelto/TZeltoJsonObject.h"

#include <string>

namespace tool {

struct TCall {
    std::string method;   // such as "GET_PARAM"
    std::string body;     // as it goes to the manager
    std::string server{}; // the identity to call; empty for the manager's
};

struct TAnswer {
    int exitCode;       // EXIT_DONE, or what the failure means
    std::string reason; // why it failed, for a message; empty when it is done
    bool isAnswered;    // there was an answer: `code` and `text` are from it
    int code;
    std::string text;
};

// Calls a method and waits for its answer, at most for the time-out. Does not throw. On a terminal a long
// wait is told on standard error.
//
// Calls are made without a name on the bus unless --as gives one, so they work where the bus grants none, and
// runs of the command never get in each other's way.
TAnswer Call(const TGlobals& globals, const TCall& call);

// The identity of the manager.
std::string ManagerIdentity();

// Takes the identity of --as, if there is one, and the identity `otherwise` if not and that is not empty.
// Returns EXIT_DONE, or says why it cannot be had and returns the exit code: EXIT_DENIED, EXIT_RUN_TIME.
int TakeIdentity(const TGlobals& globals, const std::string& otherwise);

} // namespace tool

#endif
