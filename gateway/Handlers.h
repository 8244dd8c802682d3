// The handlers that the library calls: one for each kind of request, whatever the branch of the model.
#ifndef GATEWAY_HANDLERS_H
#define GATEWAY_HANDLERS_H

#include "zelto/ZeltoPlatformLib.h"

#include <vector>

namespace gateway {

// One entry for each row of the model. The rows live as long as the process, so the texts do too.
std::vector<tZeltoPltFunctionTable> MakeFunctionTable();

} // namespace gateway

#endif
