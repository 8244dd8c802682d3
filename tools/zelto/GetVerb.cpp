// get.

#include "ExitCodes.h"
#include "FileContent.h"
#include "Output.h"
#include "ParamRequests.h"
#include "Verbs.h"

#include <algorithm>
#include <memory>

namespace tool {

namespace {

struct TGetOptions {
    TNames paths;
    bool valuesOnly = false;
    bool isLong = false;
    std::string outputFile;
};

int RunGetParams(const TGlobals& globals, const TGetOptions& options) {
    TObjects entries;
    const int code = ReadParams(globals, "get", options.paths, entries);
    return code == EXIT_DONE || !entries.empty() ? PrintParams(globals, entries, options.valuesOnly, code)
                                                 : code;
}

// What JSON tells of a value that went into a file.
TZeltoJsonObject WrittenEntry(const std::string& name, const std::string& value) {
    TZeltoJsonObject entry = NameEntry(name);
    SetInteger(entry, "SIZE", static_cast<int>(value.size()));
    return entry;
}

int WriteValue(const TGlobals& globals, const TGetOptions& options, const std::string& value) {
    if (!options.outputFile.empty()) {
        if (!WriteFile(options.outputFile, value)) {
            return EXIT_RUN_TIME;
        }
        TOutput output(globals, "");
        (void)output.Add(WrittenEntry(options.paths[0], value));
        return output.Finish(EXIT_DONE);
    }
    if (globals.format == FORMAT_TEXT) {
        return globals.isQuiet || WriteRaw(value.data(), value.size()) ? EXIT_DONE : EXIT_RUN_TIME;
    }
    TOutput output(globals, "");
    (void)output.Add(ParamEntry({options.paths[0], value}));
    return output.Finish(EXIT_DONE);
}

int RunGetLong(const TGlobals& globals, const TGetOptions& options) {
    if (options.paths.size() != 1) {
        PrintError("get: --long reads one parameter");
        return EXIT_USAGE;
    }
    const std::string& path = options.paths[0];
    TZeltoJsonObject answer;
    const int code =
        Ask(globals, {"get " + path, "GET_LONG_PARAM", NameEntry(path).EncodeToString(), "VALUE"}, answer);
    return code == EXIT_DONE ? WriteValue(globals, options, GetText(answer, "VALUE")) : code;
}

} // namespace

void AddGetVerb(TVerb app, TContext& context) {
    auto options = std::make_shared<TGetOptions>();
    TVerb get = app.AddVerb("get", "Read parameters; \"*\" stands for every instance");
    get.AddOption("PATH", options->paths, "Name of a parameter").Require();
    const TOption values =
        get.AddFlag("-V,--values", options->valuesOnly, "Print the values without the names");
    const TOption isLong =
        get.AddFlag("--long", options->isLong, "Read one value of any length and print its bytes as they are")
            .Exclude(values);
    get.AddOption("-o,--output", options->outputFile, "File to write the value to")
        .Need(isLong)
        .Check(CheckFileName);
    get.OnChosen([&context, options] {
        context.run = [&context, options] {
            return options->isLong ? RunGetLong(context.globals, *options)
                                   : RunGetParams(context.globals, *options);
        };
    });
}

} // namespace tool
