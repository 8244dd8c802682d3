// Names of the platform's return codes, for the log.
#ifndef ZELTO_PLATFORM_RETURN_CODE_NAMES_H
#define ZELTO_PLATFORM_RETURN_CODE_NAMES_H

#include <cstdint>

namespace zelto {

// "PLT_SUCCESS" to "PLT_TIMEOUT", and "PLT_UNKNOWN" for every other value.
const char* ReturnCodeName(int32_t code);

} // namespace zelto

#endif
