// Times of calls, and what is told about them.
#ifndef ZELTO_BENCH_SAMPLES_H
#define ZELTO_BENCH_SAMPLES_H

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace bench {

using TClock = std::chrono::steady_clock;

// In microseconds.
class TSamples {
public:
    void Add(TClock::duration time) {
        times.push_back(std::chrono::duration<double, std::micro>(time).count());
    }

    double Percentile(double part) const {
        std::vector<double> sorted = times;
        std::sort(sorted.begin(), sorted.end());
        return sorted.empty()
                   ? 0
                   : sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
    }

    std::string Json() const {
        return "{\"p50\": " + std::to_string(Percentile(0.5)) +
               ", \"p99\": " + std::to_string(Percentile(0.99)) +
               ", \"count\": " + std::to_string(times.size()) + "}";
    }

private:
    std::vector<double> times;
};

// Times so many runs; false when one fails.
template <typename TRun>
bool Measure(int count, const TRun& run, TSamples& samples) {
    for (int i = 0; i < count; ++i) {
        const auto begin = TClock::now();
        if (!run()) {
            return false;
        }
        samples.Add(TClock::now() - begin);
    }
    return true;
}

} // namespace bench

#endif
