// Reads and writes parameters, and says on standard error which of them failed and why.
#ifndef ZELTO_TOOL_PARAM_REQUESTS_H
#define ZELTO_TOOL_PARAM_REQUESTS_H

#include "Bodies.h"
#include "Requests.h"

#include <string>
#include <vector>

namespace tool {

// "set Device.A and 2 more", for messages.
std::string Describe(const std::string& verb, const TNames& names);

struct TQuestion {
    std::string what; // for messages, such as "add Device.X."
    std::string method;
    std::string body;
    std::string key; // that the answer must have; empty for none
};

// Makes a request and decodes its answer. Returns EXIT_DONE, or says what went wrong and returns the exit
// code.
int Ask(const TGlobals& globals, const TQuestion& question, TZeltoJsonObject& answer);

// The exit code for parameters of which each had its own: that one if all are alike, EXIT_PARTLY_DONE if some
// are done. There is at least one code; says of the names without one that they were not tried.
int Conclude(const std::string& verb, const TNames& names, const std::vector<int>& codes);

// Whether a code is about the parameters and not about the way to the manager.
bool IsAboutParameters(int code);

// Whether the name has a "*" and the table before it has no instance.
bool MatchesNothing(const TGlobals& globals, const std::string& name);

// Reads parameters; a "*" stands for every instance. One name is a request for one, several are one request.
// When the manager refuses several, they are read one by one. Appends to `entries` what could be read.
int ReadParams(const TGlobals& globals, const std::string& verb, const TNames& names, TObjects& entries);

// Prints entries of an answer, as `get` does, and returns `code` or what writing gave.
int PrintParams(const TGlobals& globals, const TObjects& entries, bool valuesOnly, int code);

} // namespace tool

#endif
