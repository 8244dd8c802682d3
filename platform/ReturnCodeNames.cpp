#include "platform/ReturnCodeNames.h"

#include "zelto/ZeltoTypes.h"

#include <iterator>

namespace zelto {

namespace {

constexpr const char* NAMES[] = {
    "PLT_SUCCESS",
    "PLT_FAILURE",
    "PLT_INTERNAL_ERROR",
    "PLT_INVALID_ARGUMENT",
    "PLT_INVALID_PARAM_NAME",
    "PLT_INVALID_PARAM_VALUE",
    "PLT_NONWRITABLE",
    "PLT_NOT_FOUND",
    "PLT_NOT_SUPPORTED",
    "PLT_RESOURCES_EXCEEDED",
    "PLT_RETRY_REQUEST",
    "PLT_TIMEOUT",
};

static_assert(std::size(NAMES) == PLT_TIMEOUT + 1, "one name for each code");

} // namespace

const char* ReturnCodeName(int32_t code) {
    return code >= PLT_SUCCESS && code <= PLT_TIMEOUT ? NAMES[code] : "PLT_UNKNOWN";
}

} // namespace zelto
