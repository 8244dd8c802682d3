// "PATH=VALUE", as set and setobj take it from the command line and set from a file.
#ifndef ZELTO_TOOL_ASSIGNMENTS_H
#define ZELTO_TOOL_ASSIGNMENTS_H

#include "Bodies.h"

#include <string>
#include <vector>

namespace tool {

// Appends what the arguments of a verb say. A value that begins with "@" is the content of a file, and "-"
// that of standard input. Returns EXIT_DONE, or says what is wrong and returns the exit code.
int ReadArguments(const std::string& verb, const std::vector<std::string>& arguments, TParams& params);

// Appends what the lines of a file say, in the form in which get prints them: the values are escaped, and
// none stands for a file. "-" is standard input; empty lines do not count.
int ReadLines(const std::string& verb, const std::string& path, TParams& params);

} // namespace tool

#endif
