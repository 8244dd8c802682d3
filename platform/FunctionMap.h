// The manager's handlers by data-model name.
#ifndef ZELTO_PLATFORM_FUNCTION_MAP_H
#define ZELTO_PLATFORM_FUNCTION_MAP_H

#include "platform/NameSegments.h"
#include "zelto/ZeltoPlatformLib.h"

#include <functional>
#include <map>
#include <string>

// Filled while no other request is worked on than that of a handler which starts again, since it is read
// without a lock. Slot k of a stored entry serves request type k.
extern std::map<std::string, tZeltoPltFunctionTable, std::less<>> zeltoPlatFunctionMap;

namespace zelto {

// Adds the manager's entries; an entry replaces an earlier one of the same name whole.
void AddFunctionTable(const tZeltoPltFunctionTable* entries, int32_t count);

// The entry with a handler for `type` under a key, or under that of a name, or else under the default one;
// null when nobody serves it.
const tZeltoPltFunctionTable* FindServing(tZeltoPltRequestType type, const char* key);
const tZeltoPltFunctionTable* FindServing(tZeltoPltRequestType type, const TNameSegments& name);

// What the handlers of an entry find in their records.
const char* HandlerName(const tZeltoPltFunctionTable& entry);

} // namespace zelto

#endif
