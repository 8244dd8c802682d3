// The options that hold for every verb.
#ifndef ZELTO_TOOL_GLOBALS_H
#define ZELTO_TOOL_GLOBALS_H

#include <string>

namespace tool {

enum TFormat {
    FORMAT_TEXT,
    FORMAT_DOCUMENT, // one JSON document
    FORMAT_LINES,    // a JSON object on each line
};

struct TGlobals {
    TFormat format = FORMAT_TEXT;
    bool isQuiet = false;     // neither results nor messages
    bool isVerbose = false;   // the library's log on standard error
    int timeoutSeconds = 60;  // for each answer
    std::string identity{};   // to be on the bus under; empty for none
    std::string busAddress{}; // empty for the system bus
};

} // namespace tool

#endif
