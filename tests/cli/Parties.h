// Parties and views of the bus for tests of the verbs that are about who is on it.
#ifndef ZELTO_TESTS_CLI_PARTIES_H
#define ZELTO_TESTS_CLI_PARTIES_H

#include "support/RawPeer.h"

#include <string>
#include <vector>

namespace cli {

// The name that the kernel has for a process.
std::string ProgramOf(pid_t process);

// The line that `apps` and `wait` print for a party, as the bus knows it.
std::string LineOfParty(support::TRawPeer& peer, const std::string& identity);

// An application on the bus of the test program that answers every call with one code.
class TApplication {
public:
    static constexpr int SILENT = 1000; // no code: it never answers

    explicit TApplication(const std::string& identity, int code = 0);

    support::TRawPeer& Peer() { return peer; }
    std::vector<support::TRawMessage> Calls() const;
    bool WaitForCall(const std::string& member) const;

private:
    support::TRawPeer peer;
};

// Sees what a program asks of the bus. Made before the program is.
class TBusView {
public:
    explicit TBusView(const std::string& address);

    // Waits until somebody has called a method of the bus itself.
    bool WaitForCall(const std::string& member);

    // Waits until somebody has asked to be told about a text, such as a name, and has the bus's answer.
    bool WaitForMatch(const std::string& text);

private:
    support::TRawPeer monitor;
};

} // namespace cli

#endif
