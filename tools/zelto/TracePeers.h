// The processes behind the connections that the trace sees.
#ifndef ZELTO_TOOL_TRACE_PEERS_H
#define ZELTO_TOOL_TRACE_PEERS_H

#include "Bus.h"
#include "TraceEntry.h"

#include <string>
#include <unordered_map>

namespace tool {

// A command may be gone as soon as it has its answer, so who it is must be asked when it comes to the bus and
// not when it is to be shown. A monitor cannot ask; this has a connection of its own.
class TTracePeers {
public:
    // Asks for everybody who is there.
    TTracePeers();
    ~TTracePeers();
    TTracePeers(const TTracePeers&) = delete;
    TTracePeers& operator=(const TTracePeers&) = delete;

    // Asks for the process of a connection and does not wait.
    void Come(const std::string& uniqueName);
    void Go(const std::string& uniqueName);
    // Takes in what has been answered.
    void Collect();
    // Asks and waits when it is not known yet.
    TPeer Of(const std::string& uniqueName);

    // Becomes readable when Collect has something to do.
    int Descriptor();

private:
    struct TEntry {
        TPeer peer;
        DBusPendingCall* question = nullptr; // null once it is answered
    };

    void TakeAnswer(TEntry& entry) const;
    std::string NameOf(uint32_t process) const;

    TBus bus;
    std::unordered_map<std::string, TEntry> entries;
};

} // namespace tool

#endif
