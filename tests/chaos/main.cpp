// The chaos program: runs parties of the library against everything that can happen to their processes,
// checks all the time that nothing is wrong, and reports. Exit codes: 0 nothing was violated, 1 something
// was, 2 usage.

#include "chaos/Runs.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <fstream>
#include <iostream>
#include <random>

namespace {

struct TOptions {
    int seconds = 0;
    unsigned restarts = 0;
    uint32_t calls = 0;
    uint64_t seed = 0;
    std::string report;
    chaos::TWorldOptions world;
};

void AddOptions(CLI::App& app, TOptions& options) {
    app.add_option("SECONDS", options.seconds, "How long to kill, stop and continue at random")
        ->check(CLI::Range(1, 7 * 86400));
    app.add_option("--restarts", options.restarts, "Restart the bus so many times under load")
        ->check(CLI::Range(1, 100000));
    app.add_option("--calls", options.calls, "Make so many calls and look at the resources on the way")
        ->check(CLI::Range(1000, 1000000000));
    app.add_option("--seed", options.seed, "What decides the choices (default: another one each time)");
    app.add_option("--report", options.report, "File for the report (Markdown); it is printed as well");
    app.add_option("--applications", options.world.applications, "Applications")
        ->check(CLI::Range(1, 50))
        ->capture_default_str();
    app.add_option("--threads", options.world.threads, "Threads of each that make calls")
        ->check(CLI::Range(1, 8))
        ->capture_default_str();
    app.add_option("--pause", options.world.pauseUs, "Microseconds between two calls of a thread")
        ->check(CLI::Range(0, 1000000))
        ->capture_default_str();
    app.add_option("--log", options.world.logFile, "File for the log of all parties")->capture_default_str();
}

// The short form of the command that was given, without paths.
std::string Command(const TOptions& options) {
    std::string command = "tools/chaos";
    command += options.seconds > 0 ? " " + std::to_string(options.seconds) : "";
    command += options.restarts > 0 ? " --restarts " + std::to_string(options.restarts) : "";
    command += options.calls > 0 ? " --calls " + std::to_string(options.calls) : "";
    return command;
}

std::vector<chaos::TFindings> RunAll(const TOptions& options) {
    std::vector<chaos::TFindings> runs;
    if (options.seconds > 0) {
        runs.push_back(chaos::RunChaos(options.world, options.seconds, options.seed));
    }
    if (options.restarts > 0) {
        runs.push_back(chaos::RunRestarts(options.world, options.restarts));
    }
    if (options.calls > 0) {
        runs.push_back(chaos::RunCalls(options.world, options.calls));
    }
    return runs;
}

int Run(int argc, char** argv) {
    TOptions options;
    CLI::App app(
        "Kills, stops and restarts the parties of a bus under load and checks that nothing goes wrong.",
        "chaos");
    AddOptions(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (app.count("--seed") == 0) {
        options.seed = std::random_device()();
    }
    const std::vector<chaos::TFindings> runs = RunAll(options);
    if (runs.empty()) {
        std::cerr << app.help();
        return 2;
    }
    chaos::WriteReport(std::cout, Command(options), runs);
    if (!options.report.empty()) {
        std::ofstream file(options.report);
        chaos::WriteReport(file, Command(options), runs);
    }
    for (const chaos::TFindings& run : runs) {
        if (!run.violations.empty()) {
            return 1;
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "chaos: " << error.what() << std::endl;
        return 1;
    }
}
