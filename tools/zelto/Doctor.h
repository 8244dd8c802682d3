// What `doctor` looks at, a function for each. They need no more than the one before has found to work.
#ifndef ZELTO_TOOL_DOCTOR_H
#define ZELTO_TOOL_DOCTOR_H

#include "Bus.h"
#include "Globals.h"

#include "zelto/TZeltoJsonObject.h"

#include <string>
#include <vector>

namespace tool {

struct TFinding {
    enum TState { FINE, UNKNOWN, WARNING, BAD };

    std::string check; // what was looked at
    TState state = FINE;
    std::string text;     // what was found
    std::string advice{}; // what to do about it; empty for nothing
    int exitCode = 0;     // of a bad one
};

std::string LineOf(const TFinding& finding);
TZeltoJsonObject RecordOf(const TFinding& finding);

// What the policy lets us do.
TFinding CheckOwning(const TGlobals& globals, TBus& bus);
TFinding CheckMonitoring();
// The manager: who it is and whether it answers.
TFinding CheckManagersOwner(TBus& bus);
TFinding CheckAnswer(const TGlobals& globals);

// What the manager serves, and whether the file agrees with it; the path may be empty.
TFinding CheckIndexMap(const TGlobals& globals, const std::string& path);
// What makes the library refuse the file; empty when nothing does.
std::string IndexMapFault(const TZeltoJsonObject& file);

// How near the bus is to its limits.
TFinding CheckConnections(TBus& bus);
TFinding CheckStatistics(TBus& bus);

} // namespace tool

#endif
