// Connects to the bus, tells its resident set in KiB and leaves. Built twice: with the library, and on
// libdbus alone.
#include <chrono>
#include <cstdio>
#include <cstdlib>

#ifdef ZELTO_BENCH_LIBRARY
#include "zelto/ZeltoAppLib.h"
#else
#include "RawDBus.h"
#endif

namespace {

long ResidentKilobytes() {
    std::FILE* const status = std::fopen("/proc/self/status", "r");
    char line[256];
    long kilobytes = -1;
    while (status != nullptr && kilobytes < 0 && std::fgets(line, sizeof(line), status) != nullptr) {
        std::sscanf(line, "VmRSS: %ld", &kilobytes);
    }
    return kilobytes;
}

} // namespace

int main() {
#ifdef ZELTO_BENCH_LIBRARY
    zeltoAppLibInitWithString("STARTUP");
#else
    bench::Connect();
#endif
    std::printf("%ld\n", ResidentKilobytes());
    std::fflush(stdout);
    std::_Exit(0);
}
