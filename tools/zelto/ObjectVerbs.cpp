// add, del and map.

#include "ExitCodes.h"
#include "Output.h"
#include "Requests.h"
#include "Verbs.h"

#include <map>
#include <memory>

namespace tool {

namespace {

std::string WithFinalDot(const std::string& path) {
    return path.empty() || path.back() != '.' ? path + "." : path;
}

int PrintResult(const std::string& line) {
    if (PrintLine(line)) {
        return EXIT_DONE;
    }
    PrintError("cannot write to standard output");
    return EXIT_RUN_TIME;
}

int RunAdd(const TContext& context, const std::string& path) {
    std::string table = WithFinalDot(path);
    int id = 0;
    int code = RunRequest(context.timeoutSeconds, "add " + table, {},
                          [&table, &id](TZeltoApplication& app) { return app.AddObject(table, id); });
    return code == EXIT_DONE ? PrintResult(Escape(table) + std::to_string(id) + ".") : code;
}

int RunDel(const TContext& context, const std::string& path) {
    std::string instance = WithFinalDot(path);
    return RunRequest(context.timeoutSeconds, "del " + instance, {},
                      [&instance](TZeltoApplication& app) { return app.RemoveObject(instance); });
}

int RunMap(const TContext& context) {
    std::unordered_map<std::string, std::vector<std::pair<int, int>>> indexMap;
    int code = RunRequest(context.timeoutSeconds, "map", {},
                          [&indexMap](TZeltoApplication& app) { return app.GetIndexMap(indexMap); });
    if (code != EXIT_DONE) {
        return code;
    }
    std::map<std::string, std::vector<std::pair<int, int>>> sorted(indexMap.begin(), indexMap.end());
    for (const auto& [table, pairs] : sorted) {
        for (const auto& [application, platform] : pairs) {
            std::string line = table + std::to_string(application) + "=" + table + std::to_string(platform);
            if (PrintResult(Escape(line)) != EXIT_DONE) {
                return EXIT_RUN_TIME;
            }
        }
    }
    return EXIT_DONE;
}

void AddPathVerb(CLI::App& app, TContext& context, const char* name, const char* description,
                 const char* argument, int (*run)(const TContext&, const std::string&)) {
    auto path = std::make_shared<std::string>();
    CLI::App* verb = app.add_subcommand(name, description);
    verb->add_option(argument, *path, "Name of an object")->required();
    verb->callback(
        [&context, run, path] { context.run = [&context, run, path] { return run(context, *path); }; });
}

} // namespace

void AddObjectVerbs(CLI::App& app, TContext& context) {
    AddPathVerb(app, context, "add", "Add an instance to a table and print its name", "OBJECT", RunAdd);
    AddPathVerb(app, context, "del", "Delete an instance of a table", "OBJECT.N", RunDel);
    CLI::App* map = app.add_subcommand("map", "Print the names that applications and the platform number "
                                              "differently: APPLICATION=PLATFORM");
    map->callback([&context] { context.run = [&context] { return RunMap(context); }; });
}

} // namespace tool
