#include "CommandLine.h"

#include "../Identity.h"
#include "ExitCodes.h"
#include "LibraryLog.h"
#include "Output.h"
#include "Requests.h"
#include "Verbs.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <sstream>

namespace tool {

namespace {

constexpr int LONGEST_TIMEOUT = 86400;

// CLI11 takes some arguments apart: it reads "[a,b]" as two and "++" as none. Here an argument stands for
// itself, so one that begins like those is masked while CLI11 looks at it.
constexpr char MASK = '\x01';
constexpr char MASKED_BEGINNINGS[] = {'[', '{', '+', MASK};

bool IsMaskedBeginning(char c) {
    return std::find(std::begin(MASKED_BEGINNINGS), std::end(MASKED_BEGINNINGS), c) !=
           std::end(MASKED_BEGINNINGS);
}

std::string Mask(const std::string& argument) {
    return IsMaskedBeginning(argument[0]) ? MASK + argument : argument;
}

// What stands behind the "=" of an option has not been masked.
std::string Unmask(const std::string& argument) {
    return argument[0] == MASK && IsMaskedBeginning(argument[1]) ? argument.substr(1) : argument;
}

void UnmaskValues(CLI::App& app) {
    for (CLI::Option* const option : app.get_options()) {
        option->transform(Unmask);
    }
    for (CLI::App* const verb : app.get_subcommands([](CLI::App* /*any*/) { return true; })) {
        UnmaskValues(*verb);
    }
}

// It takes them from the end.
std::vector<std::string> ForParser(const std::vector<std::string>& arguments) {
    std::vector<std::string> reversed;
    std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed), Mask);
    return reversed;
}

// What was not expected tells more than what is missing in its place.
std::string Explain(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> extras = app.remaining(true);
    const auto kind = static_cast<CLI::ExitCodes>(error.get_exit_code());
    if (extras.empty() || (kind != CLI::ExitCodes::RequiredError && kind != CLI::ExitCodes::ExtrasError)) {
        return error.what();
    }
    std::string text = extras.size() == 1 ? "The following argument was not expected:"
                                          : "The following arguments were not expected:";
    for (const std::string& extra : extras) {
        text += " " + Unmask(extra);
    }
    return text;
}

struct TFormatFlags {
    bool isDocument = false;
    bool isLines = false;
};

std::string CheckAddress(const std::string& address) {
    return address.empty() ? "the address is empty" : "";
}

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
    app.add_option("--bus", globals.busAddress, "Address of the bus (default: the system bus)")
        ->check(CheckAddress);
    app.add_flag("-v,--verbose", globals.isVerbose, "Show the library's log on standard error");
    app.require_subcommand(1);
    app.fallthrough(); // the options may stand behind the verb too
}

void AddVerbs(TVerb app, TContext& context) {
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

int PrintHelp(const CLI::App& app, const CLI::Success& helpOrVersion) {
    std::ostringstream text;
    (void)app.exit(helpOrVersion, text); // always a success
    const std::string written = text.str();
    return WriteRaw(written.data(), written.size()) ? EXIT_DONE : EXIT_RUN_TIME;
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
    AddVerbs(TVerb(app), context);
    UnmaskValues(app);
    try {
        app.parse(ForParser(arguments));
    } catch (const CLI::Success& helpOrVersion) {
        return PrintHelp(app, helpOrVersion);
    } catch (const CLI::ParseError& error) {
        PrintError(Explain(app, error) + " (--help tells more)");
        return EXIT_USAGE;
    }
    Apply(flags, context.globals);
    return RunVerb(context);
}

} // namespace tool
