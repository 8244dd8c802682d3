// Who is on the bus.
#ifndef ZELTO_TOOL_PARTIES_H
#define ZELTO_TOOL_PARTIES_H

#include "Bus.h"

#include "zelto/TZeltoJsonObject.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

struct TParty {
    std::string identity;
    std::string uniqueName;
    uint32_t process = 0;
    std::string processName;
    std::string user; // its name, or its number when it has none
};

// The name that the kernel has for a process, at most 15 characters; empty when it is gone.
std::string ProcessName(uint32_t process);

// The name of a user, or the number when there is none.
std::string UserName(uint32_t user);

// One party; throws TBusFailure with EXIT_NO_OWNER when it is not, or no longer, on the bus.
TParty FindParty(TBus& bus, const std::string& identity);
// All of them, by identity.
std::vector<TParty> FindParties(TBus& bus);

// As one line, and with keys.
std::string LineOf(const TParty& party);
TZeltoJsonObject RecordOf(const TParty& party);

} // namespace tool

#endif
