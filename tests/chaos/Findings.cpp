#include "chaos/Findings.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <thread>

#include <sys/utsname.h>

namespace chaos {

namespace {

using load::TBoard;

// One element of sorted values: the smallest that this part of them does not exceed.
double Percentile(const std::vector<double>& sorted, double part) {
    const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
    return sorted[std::min(sorted.size(), std::max<std::size_t>(rank, 1)) - 1];
}

void WriteRecoveries(std::ostream& out, const std::map<std::string, std::vector<double>>& recoveries) {
    if (recoveries.empty()) {
        return;
    }
    out << "\nFrom the end of the disturbance to the first good call, in milliseconds, of every "
           "application:\n\n"
        << "| after | times | min | median | p90 | p99 | max |\n|---|---:|---:|---:|---:|---:|---:|\n";
    for (const auto& [name, times] : recoveries) {
        std::vector<double> sorted = times;
        std::sort(sorted.begin(), sorted.end());
        out << "| " << name << " | " << sorted.size() << " | " << sorted.front();
        for (const double part : {0.5, 0.9, 0.99}) {
            out << " | " << Percentile(sorted, part);
        }
        out << " | " << sorted.back() << " |\n";
    }
}

void WriteActions(std::ostream& out, const std::map<std::string, unsigned>& actions) {
    if (actions.empty()) {
        return;
    }
    out << "\n| action | times |\n|---|---:|\n";
    for (const auto& [name, times] : actions) {
        out << "| " << name << " | " << times << " |\n";
    }
}

void WriteCalls(std::ostream& out, const TCallCounts& calls) {
    out << "\n| calls and events | number |\n|---|---:|\n"
        << "| answered | " << calls.good << " |\n"
        << "| failed before the time-out | " << calls.refused << " |\n"
        << "| failed at the time-out | " << calls.timedOut << " |\n"
        << "| not sent, as the bus was away | " << calls.notSent << " |\n"
        << "| events heard | " << calls.events << " |\n"
        << "| **wrong** answers and events | " << calls.wrong << " |\n"
        << "| calls that **outlived** their time-out by more than 100 ms | " << calls.late << " |\n"
        << "\nThe longest that a call went on after its time-out: " << calls.longestOverrunMs << " ms.\n";
}

void WriteResources(std::ostream& out, const std::vector<TResourceRow>& rows) {
    if (rows.empty()) {
        return;
    }
    out << "\n| process | when | resident KiB | descriptors | threads |\n|---|---|---:|---:|---:|\n";
    for (const TResourceRow& row : rows) {
        out << "| " << row.process << " | " << row.when << " | " << row.resources.residentKib << " | "
            << row.resources.descriptors << " | " << row.resources.threads << " |\n";
    }
}

void WriteIdle(std::ostream& out, const std::vector<TIdleRow>& rows) {
    if (rows.empty()) {
        return;
    }
    out << "\nProcessor time at rest at the end:\n\n| process | % of a processor |\n|---|---:|\n";
    for (const TIdleRow& row : rows) {
        out << "| " << row.process << " | " << row.percent << " |\n";
    }
}

std::string Machine() {
    utsname system{};
    (void)uname(&system); // leaves the texts empty if it fails
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    std::string model = "unknown processor";
    while (std::getline(info, line)) {
        if (line.rfind("model name", 0) == 0) {
            model = line.substr(line.find(':') + 2);
            break;
        }
    }
    return std::to_string(std::thread::hardware_concurrency()) + " x " + model + ", Linux " + system.release;
}

} // namespace

void TFindings::Violate(const std::string& text) {
    std::cerr << "VIOLATED: " << text << std::endl;
    violations.push_back(text);
}

void TFindings::TakeCounts(TWorld& world) {
    world.ForEachBoard([&](const TBoard& board) {
        calls.good += board.good;
        calls.refused += board.refused;
        calls.timedOut += board.timedOut;
        calls.notSent += board.notSent;
        calls.wrong += board.wrong;
        calls.late += board.late;
        calls.events += board.events;
        const double overrunMs = static_cast<double>(board.longestOverrun) / load::NS_PER_MS;
        calls.longestOverrunMs = std::max(calls.longestOverrunMs, overrunMs);
        if (board.faultCount > 0) {
            Violate(std::to_string(board.faultCount) +
                    " faults of an application, the first: " + board.FirstFault());
        }
    });
}

void TFindings::TakeResources(TWorld& world, const std::string& when) {
    for (std::size_t party = 0; party < world.PartyCount(); ++party) {
        resources.push_back({world.PartyName(party), when, world.Resources(party)});
    }
}

void TFindings::Write(std::ostream& out) const {
    out << "\n## " << title << "\n\n";
    for (const std::string& remark : remarks) {
        out << remark << "\n";
    }
    WriteActions(out, actions);
    WriteCalls(out, calls);
    WriteRecoveries(out, recoveries);
    WriteResources(out, resources);
    WriteIdle(out, idle);
    out << "\n**" << (violations.empty() ? "Nothing was violated." : "Violated:") << "**\n";
    for (const std::string& violation : violations) {
        out << "- " << violation << "\n";
    }
}

void WriteReport(std::ostream& out, const std::string& command, const std::vector<TFindings>& runs) {
    const bool isGood =
        std::all_of(runs.begin(), runs.end(), [](const TFindings& run) { return run.violations.empty(); });
    out << std::fixed << std::setprecision(1) << "# Chaos\n\nWritten by `" << command << "` on " << Machine()
        << ". Result: **" << (isGood ? "passed" : "FAILED") << "**.\n";
    for (const TFindings& run : runs) {
        run.Write(out);
    }
}

} // namespace chaos
