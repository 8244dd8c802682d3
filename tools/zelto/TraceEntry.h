// One line of the trace: a call, a reply or an event, and how it is written.
#ifndef ZELTO_TOOL_TRACE_ENTRY_H
#define ZELTO_TOOL_TRACE_ENTRY_H

#include "zelto/TZeltoJsonObject.h"

#include <cstdint>
#include <string>

namespace tool {

// A connection to the bus and the process that holds it; the process is 0 when it went away unseen.
struct TPeer {
    std::string uniqueName;
    uint32_t process = 0;
    std::string processName;
};

struct TTraceEntry {
    enum TKind { CALL, REPLY, EVENT };

    TKind kind = CALL;
    std::string time;
    TPeer sender;
    std::string target;  // of a call: the identity or the name that it is sent to
    TPeer receiver;      // of a reply: who made the call
    std::string verb;    // the method or the event
    std::string request; // its text; of an event, the data
    // Of a reply.
    std::string answer;
    int32_t code = 0;
    std::string error; // the name of the error when the bus or the party gave one instead of an answer
    double milliseconds = 0;
    bool isSlow = false;
};

std::string LineOf(const TTraceEntry& entry);
TZeltoJsonObject RecordOf(const TTraceEntry& entry);

// Whether the verb or one of the paths is as the pattern says, in which "*" stands for any text.
bool Matches(const TTraceEntry& entry, const std::string& pattern);

} // namespace tool

#endif
