#include "CommandLine.h"

#include "ExitCodes.h"
#include "LibraryLog.h"
#include "Output.h"
#include "Requests.h"
#include "Verbs.h"

#include <algorithm>
#include <cstdlib>
#include <exception>

namespace tool {

namespace {

constexpr int LONGEST_TIMEOUT = 86400;

struct TFormatFlags {
    bool isDocument = false;
    bool isLines = false;
};

void AddGlobalOptions(CLI::App& app, TGlobals& globals, TFormatFlags& flags) {
    app.set_version_flag("--version", "zelto " ZELTO_VERSION);
    CLI::Option* const document = app.add_flag("-j,--json", flags.isDocument, "Print one JSON document");
    app.add_flag("-J,--json-lines", flags.isLines, "Print a JSON object on each line")->excludes(document);
    app.add_flag("-q,--quiet", globals.isQuiet, "Print nothing: the exit code tells");
    app.add_option("-t,--timeout", globals.timeoutSeconds, "Seconds to wait for each answer")
        ->check(CLI::Range(1, LONGEST_TIMEOUT))
        ->capture_default_str();
    app.add_option("--as", globals.identity, "Identity to be on the bus under (default: none)")
        ->check(CheckIdentity);
    app.add_option("--bus", globals.busAddress, "Address of the bus (default: the system bus)");
    app.add_flag("-v,--verbose", globals.isVerbose, "Show the library's log on standard error");
    app.require_subcommand(1);
    app.fallthrough(); // the options may stand behind the verb too
}

void AddVerbs(CLI::App& app, TContext& context) {
    AddGetVerb(app, context);
    AddSetVerb(app, context);
    AddObjectVerbs(app, context);
    AddMapVerb(app, context);
    AddWatchVerb(app, context);
    AddRawVerbs(app, context);
    AddRemoteVerbs(app, context);
    AddPartyVerbs(app, context);
    AddTraceVerb(app, context);
    AddDoctorVerb(app, context);
    AddShellVerbs(app, context);
}

void Apply(const TFormatFlags& flags, TGlobals& globals) {
    if (flags.isDocument || flags.isLines) {
        globals.format = flags.isDocument ? FORMAT_DOCUMENT : FORMAT_LINES;
    }
    if (!globals.busAddress.empty()) {
        (void)setenv("DBUS_SYSTEM_BUS_ADDRESS", globals.busAddress.c_str(), 1);
    }
    SilenceMessages(globals.isQuiet);
    ShowLog(globals.isVerbose);
}

int RunVerb(const TContext& context) {
    try {
        const int code = context.takesIdentity ? TakeIdentity(context.globals, "") : EXIT_DONE;
        return code == EXIT_DONE ? context.run() : code;
    } catch (const std::exception& error) {
        PrintError(error.what());
        return EXIT_RUN_TIME;
    }
}

} // namespace

int RunLine(const std::vector<std::string>& arguments, const TGlobals& defaults) {
    TContext context{defaults, nullptr};
    SilenceMessages(false); // a wrong line is always told
    TFormatFlags flags;
    CLI::App app("Reads, writes and watches the data model of a gateway.", "zelto");
    AddGlobalOptions(app, context.globals, flags);
    AddVerbs(app, context);
    try {
        app.parse(
            std::vector<std::string>(arguments.rbegin(), arguments.rend())); // it takes them from the end
    } catch (const CLI::Success& helpOrVersion) {
        return app.exit(helpOrVersion);
    } catch (const CLI::ParseError& error) {
        PrintError(std::string(error.what()) + " (--help tells more)");
        return EXIT_USAGE;
    }
    Apply(flags, context.globals);
    return RunVerb(context);
}

} // namespace tool
