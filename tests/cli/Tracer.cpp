#include "cli/Tracer.h"

#include "support/BusEnvironment.h"

#include <gtest/gtest.h>

#include <sstream>

namespace cli {

namespace {

std::vector<std::string> CommandLine(const std::vector<std::string>& arguments) {
    std::vector<std::string> line = {ZELTO_COMMAND_PATH, "trace"};
    line.insert(line.end(), arguments.begin(), arguments.end());
    return line;
}

support::TChildProcess::TOptions Options(bool isOnTerminal) {
    support::TChildProcess::TOptions options;
    options.isOnTerminals = isOnTerminal;
    return options;
}

} // namespace

// It asks for everybody's names once it listens.
TTracer::TTracer(const std::vector<std::string>& arguments, bool isOnTerminal)
    : view(support::TBusEnvironment::Bus().Address()),
      process(CommandLine(arguments), Options(isOnTerminal)) {
    EXPECT_TRUE(view.WaitForCall("ListNames")) << process.Errors();
}

std::vector<std::string> TTracer::LinesUntil(const std::string& text) {
    EXPECT_TRUE(process.WaitForOutput(text)) << process.Output() << process.Errors();
    std::istringstream stream(process.Output());
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
        if (line.find(text) != std::string::npos) {
            break;
        }
    }
    return lines;
}

} // namespace cli
