// map.

#include "Bodies.h"
#include "ExitCodes.h"
#include "IndexMap.h"
#include "Output.h"
#include "Verbs.h"

#include <algorithm>
#include <memory>

namespace tool {

namespace {

TZeltoJsonObject PairRecord(const std::string& table, const std::pair<int, int>& pair) {
    TZeltoJsonObject record;
    SetText(record, "NAME", table);
    SetInteger(record, "APP_INDEX", pair.first);
    SetInteger(record, "PLATFORM_INDEX", pair.second);
    return record;
}

int PrintMap(const TGlobals& globals, TIndexMap& indexMap) {
    std::sort(indexMap.begin(), indexMap.end(),
              [](const TNumberings& a, const TNumberings& b) { return a.table < b.table; });
    TOutput output(globals, "INDEX_MAP");
    for (const auto& [table, pairs] : indexMap) {
        for (const auto& pair : pairs) {
            (void)output.Add(table + std::to_string(pair.first) + "=" + table + std::to_string(pair.second),
                             PairRecord(table, pair));
        }
    }
    return output.Finish(EXIT_DONE);
}

int PrintName(const TGlobals& globals, const TIndexMap& indexMap, const std::string& path) {
    const bool isMarked = !path.empty() && path[0] == '@';
    const std::string platform = isMarked ? path.substr(1) : ToPlatformName(indexMap, path);
    const std::string application = isMarked ? ToApplicationName(indexMap, platform) : path;
    TZeltoJsonObject record;
    SetText(record, "APP_NAME", application);
    SetText(record, "PLATFORM_NAME", platform);
    TOutput output(globals, "");
    (void)output.Add(application + "=" + platform, record);
    return output.Finish(EXIT_DONE);
}

int RunMap(const TGlobals& globals, const std::string* path) {
    TIndexMap indexMap;
    const int code = ReadIndexMap(globals, "map", indexMap);
    if (code != EXIT_DONE) {
        return code;
    }
    return path == nullptr ? PrintMap(globals, indexMap) : PrintName(globals, indexMap, *path);
}

} // namespace

void AddMapVerb(TVerb app, TContext& context) {
    auto path = std::make_shared<std::string>();
    TVerb map = app.AddVerb("map", "Print the names that applications and the platform number "
                                   "differently: APPLICATION=PLATFORM");
    const TOption option = map.AddOption("PATH", *path, "Name to print in both numberings");
    map.OnChosen([&context, path, option] {
        const bool hasPath = option.IsGiven();
        context.run = [&context, path, hasPath] {
            return RunMap(context.globals, hasPath ? path.get() : nullptr);
        };
    });
}

} // namespace tool
