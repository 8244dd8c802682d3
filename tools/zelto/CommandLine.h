// One line of the command: global options, a verb and its arguments.
#ifndef ZELTO_TOOL_COMMAND_LINE_H
#define ZELTO_TOOL_COMMAND_LINE_H

#include "Globals.h"

#include <string>
#include <vector>

namespace tool {

// Reads the line (without the program's name), runs its verb and returns the exit code; what is wrong is told
// on standard error. `defaults` are the global options that the line begins with. The first line of a process
// decides which bus it is on.
int RunLine(const std::vector<std::string>& arguments, const TGlobals& defaults);

} // namespace tool

#endif
