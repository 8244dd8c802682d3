// Connects to the bus, tells its resident set and its own (dirty) part of that in KiB and leaves. Built three
// times: with the library, on libdbus alone, and on libdbus with the C++ library loaded but not used.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef ZELTO_BENCH_LIBRARY
#include "zelto/ZeltoAppLib.h"
#else
#include "RawDBus.h"
#endif

namespace {

// The sum of a field over the mappings of this process.
long Kilobytes(const char* field) {
    std::FILE* const maps = std::fopen("/proc/self/smaps_rollup", "r");
    const std::size_t length = std::strlen(field);
    char line[256];
    long kilobytes = -1;
    while (maps != nullptr && kilobytes < 0 && std::fgets(line, sizeof(line), maps) != nullptr) {
        if (std::strncmp(line, field, length) == 0) {
            kilobytes = std::atol(line + length);
        }
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
    std::printf("%ld %ld\n", Kilobytes("Rss:"), Kilobytes("Private_Dirty:"));
    std::fflush(stdout);
    std::_Exit(0);
}
