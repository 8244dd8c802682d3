// The runs without chance: the bus killed many times, and very many calls.

#include "chaos/Runs.h"

#include "support/Eventually.h"

#include <algorithm>
#include <iostream>

namespace chaos {

namespace {

using load::Now;
using load::NS_PER_MS;
using load::TBoard;

constexpr uint32_t CALLS_BETWEEN_RESTARTS = 200; // of each application
constexpr std::chrono::minutes STEP_TIME{10};
constexpr const char* KILL = "kill the bus and start it anew";

void RequireWhole(TWorld& world, TFindings& findings, const std::string& when) {
    const std::string fault = world.WaitUntilWhole(WHOLE_TIME);
    if (!fault.empty()) {
        findings.Violate(fault + " " + when);
    }
}

void WaitForLoad(TWorld& world) {
    std::vector<uint32_t> before(world.PartyCount());
    for (std::size_t party = 1; party < world.PartyCount(); ++party) {
        before[party] = world.Board(party).good;
    }
    (void)support::Eventually([&] {
        bool isLoaded = true;
        for (std::size_t party = 1; party < world.PartyCount(); ++party) {
            isLoaded = isLoaded && world.Board(party).good - before[party] >= CALLS_BETWEEN_RESTARTS;
        }
        return isLoaded;
    }); // the check that follows says who makes no calls
}

void RestartOnce(TWorld& world, TFindings& findings, unsigned number) {
    WaitForLoad(world);
    world.Bus().Kill();
    world.Bus().Restart();
    const int64_t back = Now();
    world.ForEachBoard([&](TBoard& board) {
        board.recovered = 0;
        board.mark = back;
    });
    RequireWhole(world, findings, "after restart " + std::to_string(number));
    findings.recoveries["everybody registered, answered and hearing events"].push_back(
        static_cast<double>(Now() - back) / NS_PER_MS);
    world.ForEachBoard([&](TBoard& board) {
        const int64_t recovered = board.recovered;
        board.mark = 0;
        if (recovered >= back) {
            findings.recoveries["a restart of the bus"].push_back(static_cast<double>(recovered - back) /
                                                                  NS_PER_MS);
        }
    });
}

// Descriptors and threads as they were, and the resident set too but for the allowance.
void RequireFlat(TWorld& world, TFindings& findings, const std::vector<TResources>& before) {
    for (std::size_t party = 0; party < world.PartyCount(); ++party) {
        const TResources& usual = before[party];
        const bool isBack = support::Eventually([&] {
            const TResources now = world.Resources(party);
            return now.descriptors == usual.descriptors && now.threads == usual.threads;
        });
        if (!isBack) {
            findings.Violate(world.PartyName(party) + " has more descriptors or threads than before");
        }
        if (MEMORY_COUNTS && world.Resources(party).residentKib > usual.residentKib + ALLOWED_KIB) {
            findings.Violate(world.PartyName(party) + " has grown by more than " +
                             std::to_string(ALLOWED_KIB) + " KiB");
        }
    }
}

std::vector<TResources> AllResources(TWorld& world) {
    std::vector<TResources> all;
    for (std::size_t party = 0; party < world.PartyCount(); ++party) {
        all.push_back(world.Resources(party));
    }
    return all;
}

void Finish(TWorld& world, TFindings& findings) {
    findings.TakeCounts(world);
    const std::string unended = world.End();
    if (!unended.empty()) {
        findings.Violate(unended);
    }
}

} // namespace

TFindings RunRestarts(const TWorldOptions& options, unsigned times) {
    std::cerr << "chaos: " << times << " restarts of the bus" << std::endl;
    TFindings findings;
    findings.title = std::to_string(times) + " restarts of the bus under load";
    TWorld world(options);
    RequireWhole(world, findings, "at the start");
    RestartOnce(world, findings, 0); // the first one brings in code and memory that the others use again
    findings.recoveries.clear();
    const std::vector<TResources> before = AllResources(world);
    findings.TakeResources(world, "start");
    for (unsigned number = 1; number <= times && findings.violations.empty(); ++number) {
        RestartOnce(world, findings, number);
        ++findings.actions[KILL];
    }
    findings.TakeResources(world, "end");
    RequireFlat(world, findings, before);
    const std::string lost = findings.violations.empty() ? "0" : "see below";
    findings.remarks = {
        "After every restart each party must be registered again under its name, be answered on every thread",
        "and hear events; one that is not is a violation. Registrations lost: " + lost + " of " +
            std::to_string(world.PartyCount() * findings.actions[KILL]) + "."};
    Finish(world, findings);
    return findings;
}

TFindings RunCalls(const TWorldOptions& options, uint32_t calls) {
    std::cerr << "chaos: " << calls << " calls" << std::endl;
    TFindings findings;
    findings.title = std::to_string(calls) + " calls";
    TWorldOptions single = options;
    single.applications = 1;
    single.pauseUs = 0;
    TWorld world(single);
    TBoard& board = world.Board(1);
    RequireWhole(world, findings, "at the start");
    std::vector<TResources> warm;
    for (uint64_t limit = 1000; findings.violations.empty(); limit *= 10) {
        const auto step = static_cast<uint32_t>(std::min<uint64_t>(limit, calls));
        board.callLimit = step;
        if (!support::Eventually([&] { return board.calls >= step; }, STEP_TIME)) {
            findings.Violate("the calls come to a halt at " + std::to_string(board.calls));
        }
        findings.TakeResources(world, std::to_string(step) + " calls");
        if (limit == 10000) {
            warm = AllResources(world);
        }
        if (step == calls) {
            break;
        }
    }
    if (!warm.empty()) {
        RequireFlat(world, findings, warm);
    }
    if (board.Failures() != 0) {
        findings.Violate("not every call was answered");
    }
    Finish(world, findings);
    return findings;
}

} // namespace chaos
