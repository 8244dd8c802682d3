// The names, values and JSON texts of the benchmark. The raw sides exchange the same bytes as the library
// does.
#ifndef ZELTO_BENCH_TEXTS_H
#define ZELTO_BENCH_TEXTS_H

#include <string>

namespace bench {

constexpr int WILDCARD_INSTANCES = 16;
constexpr int OBJECT_PARAMS = 10;
constexpr const char* VALUE = "living-room";
constexpr const char* WILDCARD = "Device.Hosts.Host.*.HostName";
constexpr const char* ROOT = "Device.Hosts.";

inline std::string NameOf(int instance) {
    return "Device.Hosts.Host." + std::to_string(instance) + ".HostName";
}

inline std::string LongNameOf(int size) {
    return "Device.Bench.Long." + std::to_string(size) + ".Value";
}

// {"PARAMS": [...] with the names 1 to `count`, and with values; the rest of the object follows in `tail`.
inline std::string List(int count, bool withValues, const std::string& tail = "}") {
    std::string text = "{\"PARAMS\": [";
    for (int i = 1; i <= count; ++i) {
        text += (i == 1 ? "{\"NAME\": \"" : ", {\"NAME\": \"") + NameOf(i) + '"';
        text += withValues ? std::string(", \"VALUE\": \"") + VALUE + "\"}" : "}";
    }
    return text + "]" + tail;
}

inline std::string NameBody(const std::string& name) {
    return "{\"NAME\": \"" + name + "\"}";
}

} // namespace bench

#endif
