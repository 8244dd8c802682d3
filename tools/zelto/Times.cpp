#include "Times.h"

#include <cstdio>
#include <ctime>

namespace tool {

std::string UtcTime() {
    timespec now = {};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    tm parts = {};
    (void)gmtime_r(&now.tv_sec, &parts);
    char text[64];
    const size_t length = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    (void)std::snprintf(text + length, sizeof(text) - length, ".%03ldZ", long{now.tv_nsec / 1000000});
    return text;
}

} // namespace tool
