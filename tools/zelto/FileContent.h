// Whole files.
#ifndef ZELTO_TOOL_FILE_CONTENT_H
#define ZELTO_TOOL_FILE_CONTENT_H

#include <string>

namespace tool {

// For the command line: why the text cannot be the name of a file; empty when it can.
std::string CheckFileName(const std::string& path);

// Reads a file, or standard input for "-". Says why when it cannot, and returns false.
bool ReadFile(const std::string& path, std::string& content);

// Writes a file. It has the whole content in the end, or says why not, returns false, and is as it was
// before: only a device or a pipe may have taken a part.
bool WriteFile(const std::string& path, const std::string& content);

} // namespace tool

#endif
