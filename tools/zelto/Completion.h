// What may stand at the end of a line: verbs, options, identities on the bus and paths.
#ifndef ZELTO_TOOL_COMPLETION_H
#define ZELTO_TOOL_COMPLETION_H

#include "Globals.h"

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace tool {

// The words that begin as the last of `words` does and may stand there, sorted. `seen` are paths that were
// used before. The manager and the bus are asked where they know more; they have a second.
std::vector<std::string> Complete(CLI::App& app, const TGlobals& globals,
                                  const std::vector<std::string>& words,
                                  const std::vector<std::string>& seen);

} // namespace tool

#endif
