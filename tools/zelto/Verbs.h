// The verbs of the command, a file for each group. A verb declares itself on the command line; when it is
// chosen it leaves in the context what is to be run once the whole line has been read.
#ifndef ZELTO_TOOL_VERBS_H
#define ZELTO_TOOL_VERBS_H

#include "Globals.h"
#include "Parser.h"

#include <functional>

namespace tool {

// Outlives the command line that refers to it. The global options are complete when `run` is called.
struct TContext {
    TGlobals globals;
    std::function<int()> run; // returns the exit code
    // Whether the verb is to have the identity of --as when it runs.
    bool takesIdentity = true;
};

void AddGetVerb(TVerb app, TContext& context);
void AddSetVerb(TVerb app, TContext& context);
void AddObjectVerbs(TVerb app, TContext& context);
void AddMapVerb(TVerb app, TContext& context);
void AddWatchVerb(TVerb app, TContext& context);
void AddRawVerbs(TVerb app, TContext& context);
void AddRemoteVerbs(TVerb app, TContext& context);
void AddPartyVerbs(TVerb app, TContext& context);
void AddTraceVerb(TVerb app, TContext& context);
void AddDoctorVerb(TVerb app, TContext& context);
void AddShellVerbs(TVerb app, TContext& context);

} // namespace tool

#endif
