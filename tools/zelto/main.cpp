// zelto: reads, writes and watches the data model of a gateway from the command line.

#include "ExitCodes.h"
#include "Verbs.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

struct TGlobalOptions {
    std::string bus;
    bool verbose = false;
};

constexpr int LONGEST_TIMEOUT = 86400;

void AddGlobalOptions(CLI::App& app, TGlobalOptions& options, tool::TContext& context) {
    app.set_version_flag("--version", "zelto " ZELTO_VERSION);
    app.add_option("-t,--timeout", context.timeoutSeconds, "Seconds to wait for the manager's answer")
        ->check(CLI::Range(1, LONGEST_TIMEOUT))
        ->capture_default_str();
    app.add_option("--bus", options.bus, "Address of the bus (default: the system bus)");
    app.add_flag("-v,--verbose", options.verbose, "Show the library's log on standard error");
    app.require_subcommand(1);
    app.fallthrough(); // the options may stand behind the verb too
}

void Apply(const TGlobalOptions& options) {
    if (!options.bus.empty()) {
        (void)setenv("DBUS_SYSTEM_BUS_ADDRESS", options.bus.c_str(), 1);
    }
    // Without -v the command says itself what went wrong.
    (void)setenv("QV_LOGGING_LEVEL", options.verbose ? "7" : "0", 1);
}

int Run(int argc, char** argv) {
    tool::TContext context;
    TGlobalOptions options;
    CLI::App app("Reads, writes and watches the data model of a gateway.", "zelto");
    AddGlobalOptions(app, options, context);
    tool::AddParamVerbs(app, context);
    tool::AddObjectVerbs(app, context);
    tool::AddEventVerbs(app, context);
    tool::AddRemoteVerbs(app, context);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? tool::EXIT_DONE : tool::EXIT_USAGE;
    }
    Apply(options);
    return context.run();
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "zelto: %s\n", error.what());
        return tool::EXIT_RUN_TIME;
    }
}
