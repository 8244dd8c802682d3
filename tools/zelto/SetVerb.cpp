// set.

#include "Assignments.h"
#include "ExitCodes.h"
#include "FileContent.h"
#include "Output.h"
#include "SetRequests.h"
#include "Verbs.h"

#include <memory>

namespace tool {

namespace {

struct TSetOptions {
    std::vector<std::string> assignments;
    std::string inputFile;
    bool isDryRun = false;
    TSetMode mode;
};

int ReadAssignments(const TSetOptions& options, TParams& params) {
    const int code = ReadArguments("set", options.assignments, params);
    if (code != EXIT_DONE || options.inputFile.empty()) {
        return code;
    }
    return ReadLines("set", options.inputFile, params);
}

int RunSet(const TGlobals& globals, const TSetOptions& options) {
    TParams params;
    const int code = ReadAssignments(options, params);
    if (code != EXIT_DONE) {
        return code;
    }
    if (params.empty()) {
        PrintError("set: there is nothing to set");
        return options.inputFile.empty() ? EXIT_USAGE : EXIT_NOTHING_MATCHED;
    }
    return options.isDryRun ? ShowSet(globals, params) : SetParams(globals, params, options.mode);
}

} // namespace

void AddSetVerb(CLI::App& app, TContext& context) {
    auto options = std::make_shared<TSetOptions>();
    CLI::App* const set =
        app.add_subcommand("set", "Write parameters, in order, up to the first that is refused");
    set->add_option("PATH=VALUE", options->assignments,
                    "Name and value of a parameter; @FILE is the content of a file, - standard input");
    set->add_option("-f,--file", options->inputFile,
                    "File with a line for each parameter, as get prints them")
        ->check(CheckFileName);
    set->add_flag("-c,--commit", options->mode.isCommitted, "Apply the values");
    CLI::Option* const isLong =
        set->add_flag("--long", options->mode.isLong, "Write values of any length, each by itself");
    CLI::Option* const rollback = set->add_flag("--rollback", options->mode.rollsBack,
                                                "Set the old values again when one of the new fails")
                                      ->excludes(isLong);
    set->add_flag("--dry-run", options->isDryRun, "Print what would change and change nothing")
        ->excludes(isLong)
        ->excludes(rollback);
    set->callback([&context, options] {
        context.run = [&context, options] { return RunSet(context.globals, *options); };
    });
}

} // namespace tool
