// The runs of the chaos program. Each makes a world of its own.
#ifndef ZELTO_TESTS_CHAOS_RUNS_H
#define ZELTO_TESTS_CHAOS_RUNS_H

#include "chaos/Findings.h"

#include <cstdint>

namespace chaos {

// Kills, stops and continues the bus, the manager and the applications at random; the seed decides what and
// when.
TFindings RunChaos(const TWorldOptions& options, int seconds, uint64_t seed);

// Kills the bus under load and starts it anew, so many times.
TFindings RunRestarts(const TWorldOptions& options, unsigned times);

// Lets one application make so many calls and looks at both processes on the way.
TFindings RunCalls(const TWorldOptions& options, uint32_t calls);

// Sanitizers keep what was freed, so the resident set says nothing with them.
#ifdef ZELTO_SANITIZED
constexpr bool MEMORY_COUNTS = false;
#else
constexpr bool MEMORY_COUNTS = true;
#endif

// How long everybody may take to be whole again. Generous: the recovery times are measured, not asserted.
constexpr std::chrono::seconds WHOLE_TIME{30};
// What the allocator and the loader may still take after the warm-up.
constexpr std::size_t ALLOWED_KIB = 1024;

} // namespace chaos

#endif
