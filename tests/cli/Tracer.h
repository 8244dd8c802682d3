// A `zelto trace` that has begun to listen.
#ifndef ZELTO_TESTS_CLI_TRACER_H
#define ZELTO_TESTS_CLI_TRACER_H

#include "cli/Parties.h"

#include "support/ChildProcess.h"

#include <string>
#include <vector>

namespace cli {

class TTracer {
public:
    // On the bus of the test program.
    explicit TTracer(const std::vector<std::string>& arguments = {}, bool isOnTerminal = false);

    support::TChildProcess& Process() { return process; }
    bool WaitFor(const std::string& text) { return process.WaitForOutput(text); }
    // Waits for a line with the text and gives all lines up to it.
    std::vector<std::string> LinesUntil(const std::string& text);

private:
    TBusView view; // to see that it has begun
    support::TChildProcess process;
};

} // namespace cli

#endif
