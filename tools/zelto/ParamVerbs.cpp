// get and set.

#include "ExitCodes.h"
#include "Output.h"
#include "Requests.h"
#include "Verbs.h"

#include <algorithm>
#include <memory>

namespace tool {

namespace {

using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

struct TGetOptions {
    std::vector<std::string> paths;
    bool valuesOnly = false;
};

struct TSetOptions {
    std::vector<std::string> assignments;
    bool commit = false;
};

std::string Join(const std::string& verb, const std::vector<std::string>& paths) {
    std::string joined = verb;
    for (const std::string& path : paths) {
        joined += " " + path;
    }
    return joined;
}

std::vector<std::string> NamesOf(const TParams& params) {
    std::vector<std::string> names;
    for (const auto& param : params) {
        names.push_back(param.name);
    }
    return names;
}

int PrintParams(const TParams& params, bool valuesOnly) {
    bool printed = std::all_of(params.begin(), params.end(), [valuesOnly](const auto& param) {
        return PrintLine(valuesOnly ? Escape(param.value) : Escape(param.name) + "=" + Escape(param.value));
    });
    if (!printed) {
        PrintError("get: cannot write to standard output");
        return EXIT_RUN_TIME;
    }
    return EXIT_DONE;
}

int RunGet(const TContext& context, const TGetOptions& options) {
    TParams params;
    for (const std::string& path : options.paths) {
        params.push_back({path, ""});
    }
    int code = RunRequest(context.timeoutSeconds, Join("get", options.paths), options.paths,
                          [&options, &params](TZeltoApplication& app) {
                              return options.paths.size() == 1 ? app.GetParam(options.paths[0], params)
                                                               : app.GetParamArray(params);
                          });
    return code == EXIT_DONE ? PrintParams(params, options.valuesOnly) : code;
}

// Splits "PATH=VALUE"; false when there is no path or no "=".
bool ParseAssignment(const std::string& text, TZeltoApplication::TZeltoAppParam& param) {
    std::string::size_type equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        return false;
    }
    param.name = text.substr(0, equals);
    param.value = text.substr(equals + 1);
    return true;
}

int RunSet(const TContext& context, const TSetOptions& options) {
    TParams params;
    for (const std::string& assignment : options.assignments) {
        TZeltoApplication::TZeltoAppParam param;
        if (!ParseAssignment(assignment, param)) {
            PrintError("set: not of the form PATH=VALUE: " + assignment);
            return EXIT_USAGE;
        }
        params.push_back(param);
    }
    std::vector<std::string> names = NamesOf(params);
    return RunRequest(
        context.timeoutSeconds, Join("set", names), names, [&options, &params](TZeltoApplication& app) {
            return params.size() == 1 ? app.SetParam(params[0].name, params[0].value, options.commit)
                                      : app.SetParamArray(params, options.commit);
        });
}

} // namespace

void AddParamVerbs(CLI::App& app, TContext& context) {
    auto getOptions = std::make_shared<TGetOptions>();
    CLI::App* get = app.add_subcommand("get", "Read parameters; \"*\" stands for every instance");
    get->add_option("PATH", getOptions->paths, "Name of a parameter")->required();
    get->add_flag("-V,--values", getOptions->valuesOnly, "Print the values without the names");
    get->callback([&context, getOptions] {
        context.run = [&context, getOptions] { return RunGet(context, *getOptions); };
    });

    auto setOptions = std::make_shared<TSetOptions>();
    CLI::App* set = app.add_subcommand("set", "Write parameters, in order, up to the first that is refused");
    set->add_option("PATH=VALUE", setOptions->assignments, "Name of a parameter and its value")->required();
    set->add_flag("-c,--commit", setOptions->commit, "Ask the manager to keep the value");
    set->callback([&context, setOptions] {
        context.run = [&context, setOptions] { return RunSet(context, *setOptions); };
    });
}

} // namespace tool
