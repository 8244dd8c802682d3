// Reads the bodies of requests, answers and events for people.
#ifndef ZELTO_TOOL_BODY_TEXT_H
#define ZELTO_TOOL_BODY_TEXT_H

#include <string>
#include <vector>

namespace tool {

// What a request, an answer or an event is about: "PATH", "PATH=VALUE", several of them with blanks between
// them, or the text as it is when it is of no known kind. Long values are cut.
std::string DescribeBody(const std::string& body);

// The paths that it names.
std::vector<std::string> PathsOf(const std::string& body);

} // namespace tool

#endif
