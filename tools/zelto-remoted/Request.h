// What a peer asks for.
#ifndef REMOTED_REQUEST_H
#define REMOTED_REQUEST_H

#include <string>

namespace remoted {

struct TRequest {
    enum TType { GET_PARAM, SET_PARAM, GET_FILE };

    TType type = GET_PARAM;
    std::string name; // of the parameter or the file
    std::string value;
    bool commit = false;
};

// Reads a request from its JSON text. Returns "" or why it is none. Stricter than the manager is with local
// requests: a set without "VALUE" must not empty a parameter.
std::string DecodeRequest(const std::string& text, TRequest& request);

// For the log: the type and the name, on one line and not longer than a line should be.
std::string Describe(const TRequest& request);

} // namespace remoted

#endif
