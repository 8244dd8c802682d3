// The verbs of the command, a file for each group. A verb declares itself on the command line; when it is
// chosen it leaves in the context what is to be run once the whole line has been read.
#ifndef ZELTO_TOOL_VERBS_H
#define ZELTO_TOOL_VERBS_H

#include <CLI/CLI.hpp>

#include <functional>

namespace tool {

struct TContext {
    int timeoutSeconds = 60;
    std::function<int()> run; // returns the exit code
};

void AddParamVerbs(CLI::App& app, TContext& context);
void AddObjectVerbs(CLI::App& app, TContext& context);
void AddEventVerbs(CLI::App& app, TContext& context);
void AddRemoteVerbs(CLI::App& app, TContext& context);

} // namespace tool

#endif
