// Makes the lines of the trace from the messages that a monitor sees.
#ifndef ZELTO_TOOL_TRACE_READER_H
#define ZELTO_TOOL_TRACE_READER_H

#include "Bus.h"
#include "TraceEntry.h"
#include "TracePeers.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

class TTraceReader {
public:
    // What the bus must be asked for. Answers are told by the call that they belong to, so all are needed.
    static std::vector<std::string> Rules();

    // A handler that takes as long as this is slow.
    TTraceReader(TTracePeers& seenPeers, double slowestMilliseconds)
        : peers(seenPeers), slowMilliseconds(slowestMilliseconds) {}

    // Empty for a message that is not between parties.
    std::optional<TTraceEntry> Read(DBusMessage* message);

private:
    using TClock = std::chrono::steady_clock;
    // A call is known by who made it and the number that it gave it.
    using TCallKey = std::pair<std::string, uint32_t>;
    struct TOpenCall {
        TTraceEntry entry;
        TClock::time_point start;
    };

    TTraceEntry NewEntry(TTraceEntry::TKind kind, DBusMessage* message);
    std::optional<TTraceEntry> ReadCall(DBusMessage* message);
    std::optional<TTraceEntry> ReadReply(DBusMessage* message);
    std::optional<TTraceEntry> ReadSignal(DBusMessage* message);
    std::optional<TTraceEntry> ReadOwnerChange(DBusMessage* message);
    void Forget(const std::string& uniqueName);

    TTracePeers& peers;
    const double slowMilliseconds;
    std::map<TCallKey, TOpenCall> openCalls;
};

} // namespace tool

#endif
