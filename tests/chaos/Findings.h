// What the runs have found, and the report on it.
#ifndef ZELTO_TESTS_CHAOS_FINDINGS_H
#define ZELTO_TESTS_CHAOS_FINDINGS_H

#include "chaos/World.h"

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace chaos {

struct TResourceRow {
    std::string process;
    std::string when;
    TResources resources;
};

struct TIdleRow {
    std::string process;
    double percent; // of a processor
};

// How the calls of all applications ended.
struct TCallCounts {
    uint64_t good = 0;
    uint64_t refused = 0;
    uint64_t timedOut = 0;
    uint64_t notSent = 0;
    uint64_t wrong = 0;
    uint64_t late = 0;
    uint64_t events = 0;
    double longestOverrunMs = 0;
};

struct TFindings {
    std::string title;
    std::vector<std::string> remarks;
    std::map<std::string, unsigned> actions;
    std::map<std::string, std::vector<double>> recoveries; // in milliseconds, by what had gone before
    std::vector<TResourceRow> resources;
    std::vector<TIdleRow> idle;
    TCallCounts calls;
    std::vector<std::string> violations;

    // On standard error at once as well.
    void Violate(const std::string& text);
    // Takes over the counts and the faults of all boards.
    void TakeCounts(TWorld& world);
    void TakeResources(TWorld& world, const std::string& when);
    void Write(std::ostream& out) const;
};

void WriteReport(std::ostream& out, const std::string& command, const std::vector<TFindings>& runs);

} // namespace chaos

#endif
