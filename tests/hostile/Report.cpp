// hostile_report [--calls N] [--report FILE] [ATTACK...]: how long the requests of two applications take when
// nobody disturbs, under each attack, and after it. Exit codes: 0 within the bound, 1 not, 2 usage.

#include "hostile/Attacks.h"
#include "hostile/Scene.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace {

using namespace hostile;

constexpr double BOUND = 10; // times the quiet service time
constexpr int TIMEOUT_SECONDS = 5;
constexpr int WATCH_SECONDS = 60;
// Without the shipped policy nobody can do anything about it, and with it nobody can do it.
constexpr const char* NOT_BOUND = "thief_of_the_name";

struct TOptions {
    uint32_t calls = 2000; // of each application in each phase
    int pauseUs = 200;
    std::string report;
    std::vector<std::string> attacks;
};

// One cast in the three phases.
struct TPhases {
    TSpan quiet;
    TSpan during;
    TSpan after;

    double MedianRatio() const { return during.medianUs / quiet.medianUs; }
    double P99Ratio() const { return during.p99Us / quiet.p99Us; }
    double AfterRatio() const { return after.medianUs / quiet.medianUs; }
};

struct TRow {
    std::string attack;
    TPhases library;
    TPhases control;

    bool IsBound() const { return attack != NOT_BOUND; }
    bool IsKept() const {
        return library.MedianRatio() <= BOUND && library.P99Ratio() <= BOUND && library.during.failures == 0;
    }
    // The bus does as much to a server and a client that have no code of ours.
    bool IsBus() const {
        return library.MedianRatio() <= 1.5 * control.MedianRatio() &&
               library.P99Ratio() <= 1.5 * control.P99Ratio();
    }
    bool IsBack() const {
        return library.AfterRatio() <= 2 && library.after.failures == 0 &&
               library.during.wrong + library.after.wrong == 0;
    }
    bool IsGood() const { return IsBack() && (IsKept() || !IsBound()); }
    const char* Verdict() const {
        if (!IsBack()) {
            return "FAIL: does not return";
        }
        if (!IsBound()) {
            return "returns; not bound";
        }
        return IsKept() ? "pass" : IsBus() ? "FAIL, as libdbus alone" : "FAIL";
    }
};

TPhases MeasureCast(TCast cast, const std::string& attack, const TOptions& options) {
    TScene scene(cast, TIMEOUT_SECONDS, options.pauseUs);
    TPhases phases;
    (void)scene.Watch(options.calls / 10, WATCH_SECONDS); // warms up
    phases.quiet = scene.Watch(options.calls, WATCH_SECONDS);
    scene.BeginAttack(attack, TPace::FLAT_OUT);
    phases.during = scene.Watch(options.calls, WATCH_SECONDS);
    scene.EndAttack();
    (void)scene.Watch(options.calls / 10, WATCH_SECONDS); // what was under way still comes
    phases.after = scene.Watch(options.calls, WATCH_SECONDS);
    const std::string dead = scene.FindDead();
    if (!dead.empty()) {
        throw std::runtime_error(dead + " has ended");
    }
    if (!scene.FirstFault().empty()) {
        std::cerr << scene.FirstFault() << std::endl;
    }
    return phases;
}

void WriteTimes(std::ostream& out, const TSpan& span) {
    out << " | " << span.medianUs << " / " << span.p99Us;
}

void WriteRatio(std::ostream& out, const TPhases& phases) {
    out << " | " << std::setprecision(1) << phases.MedianRatio() << " / " << phases.P99Ratio()
        << std::setprecision(0);
}

void WriteRow(std::ostream& out, const TRow& row) {
    out << "| " << row.attack;
    WriteTimes(out, row.library.quiet);
    WriteTimes(out, row.library.during);
    WriteTimes(out, row.library.after);
    WriteRatio(out, row.library);
    WriteRatio(out, row.control);
    out << " | " << row.library.during.failures << " | " << row.Verdict() << " |\n";
}

std::string Report(const std::vector<TRow>& rows, const TOptions& options) {
    std::ostringstream out;
    out << std::fixed << std::setprecision(0)
        << "Service time of two applications of zelto-gateway in microseconds (median / 99th percentile), "
           "over "
        << options.calls
        << " requests\nof each in each phase, and the ratio under attack to quiet; the bound is " << BOUND
        << ". The control is a server and two\nclients of libdbus alone under the same attack: what the bus "
        << "does to everybody.\n\n| attack | quiet | under attack | after | ratio | control's ratio | failed "
           "| |\n"
        << "|---|---|---|---|---|---|---:|---|\n";
    for (const TRow& row : rows) {
        WriteRow(out, row);
    }
    return out.str();
}

int Run(int argc, char** argv) {
    TOptions options;
    CLI::App app("Measures what a hostile neighbour on the bus does to the service times of others.",
                 "hostile");
    std::vector<std::string> known;
    for (const auto& [name, attack] : Attacks()) {
        known.push_back(name);
    }
    app.add_option("ATTACK", options.attacks, "Which attacks (default: all)")->check(CLI::IsMember(known));
    app.add_option("--calls", options.calls, "Requests of each application in each phase")
        ->capture_default_str();
    app.add_option("--pause", options.pauseUs, "Microseconds between two requests")->capture_default_str();
    app.add_option("--report", options.report, "File for the table (Markdown); it is printed as well");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    std::vector<TRow> rows;
    for (const std::string& attack : options.attacks.empty() ? known : options.attacks) {
        std::cerr << attack << std::endl;
        rows.push_back({attack, MeasureCast(TCast::LIBRARY, attack, options),
                        MeasureCast(TCast::CONTROL, attack, options)});
    }
    const std::string table = Report(rows, options);
    std::cout << table;
    if (!options.report.empty()) {
        double load = 0;
        (void)getloadavg(&load, 1); // stays 0 if it is not known
        std::ofstream(options.report) << "# A hostile neighbour\n\nWritten by `bench/hostile`; load average "
                                      << load << " at the end. Ratios on a busy machine say little.\n\n"
                                      << table;
    }
    return std::all_of(rows.begin(), rows.end(), [](const TRow& row) { return row.IsGood(); }) ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "hostile: " << error.what() << std::endl;
        return 1;
    }
}
