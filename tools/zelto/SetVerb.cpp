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

void AddSetVerb(TVerb app, TContext& context) {
    auto options = std::make_shared<TSetOptions>();
    TVerb set = app.AddVerb("set", "Write parameters, in order, up to the first that is refused");
    set.AddOption("PATH=VALUE", options->assignments,
                  "Name and value of a parameter; @FILE is the content of a file, - standard input");
    set.AddOption("-f,--file", options->inputFile, "File with a line for each parameter, as get prints them")
        .Check(CheckFileName);
    set.AddFlag("-c,--commit", options->mode.isCommitted, "Apply the values");
    const TOption isLong =
        set.AddFlag("--long", options->mode.isLong, "Write values of any length, each by itself");
    const TOption rollback = set.AddFlag("--rollback", options->mode.rollsBack,
                                         "Set the old values again when one of the new fails")
                                 .Exclude(isLong);
    set.AddFlag("--dry-run", options->isDryRun, "Print what would change and change nothing")
        .Exclude(isLong)
        .Exclude(rollback);
    set.OnChosen([&context, options] {
        context.run = [&context, options] { return RunSet(context.globals, *options); };
    });
}

} // namespace tool
