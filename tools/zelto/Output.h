// What the command writes: results on standard output, errors on standard error, a line each.
#ifndef ZELTO_TOOL_OUTPUT_H
#define ZELTO_TOOL_OUTPUT_H

#include <string>

namespace tool {

// The text with control bytes and backslashes as C writes them, so that it takes one line.
std::string Escape(const std::string& text);

// Writes a line and flushes it. Returns false when it cannot be written.
bool PrintLine(const std::string& line);

// Writes "zelto: " and the message.
void PrintError(const std::string& message);

} // namespace tool

#endif
