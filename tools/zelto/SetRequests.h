// Writes parameters, and says on standard error which of them failed and why.
#ifndef ZELTO_TOOL_SET_REQUESTS_H
#define ZELTO_TOOL_SET_REQUESTS_H

#include "Bodies.h"
#include "Globals.h"

namespace tool {

struct TSetMode {
    bool isCommitted = false;
    bool isLong = false;    // a request for a long value for each
    bool rollsBack = false; // all or nothing
};

// {"COMMIT": ..., "VALUE": ..., "NAME": ...}. The manager looks at the flag of each parameter.
TZeltoJsonObject SetEntry(const TParam& param, bool isCommitted);

// Writes parameters and prints what was written (in JSON). One is a request for one, several are one request.
// When the manager refuses several they are sent one by one, so that the one which it refuses can be named.
int SetParams(const TGlobals& globals, const TParams& params, const TSetMode& mode);

// Reads the parameters and prints the old and the new value of each.
int ShowSet(const TGlobals& globals, const TParams& params);

} // namespace tool

#endif
