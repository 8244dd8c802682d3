// What the platform side's sources share with its start-up.
#ifndef ZELTO_PLATFORM_PLATFORM_LIB_H
#define ZELTO_PLATFORM_PLATFORM_LIB_H

#include "zelto/TZeltoDataMapper.h"
#include "zelto/TZeltoIpc.h"

namespace zelto {

// Fetched once when the library is loaded.
extern TZeltoDataMapper* const platformMapper;
extern TZeltoIpc* const platformIpc;

// The one object that serves all request methods.
IZeltoIpcMethodHandler* PlatformMethodHandler();

} // namespace zelto

#endif
