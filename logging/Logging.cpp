// A replacement of the platform's logging library for development hosts.

#include "utils/Log.h"
#include "zelto/Export.h"

extern "C" ZELTO_API void qvLogging_log(int, const char*, ...) {}
