// The manager's handlers by data-model name.
#ifndef ZELTO_PLATFORM_FUNCTION_MAP_H
#define ZELTO_PLATFORM_FUNCTION_MAP_H

#include "zelto/ZeltoPlatformLib.h"

#include <functional>
#include <map>
#include <string>

// Filled at start, only read afterwards, without a lock. Slot k of a stored entry serves request type k.
extern std::map<std::string, tZeltoPltFunctionTable, std::less<>> zeltoPlatFunctionMap;

namespace zelto {

// Adds the manager's entries; an entry replaces an earlier one of the same name whole.
void AddFunctionTable(const tZeltoPltFunctionTable* entries, int32_t count);

} // namespace zelto

#endif
