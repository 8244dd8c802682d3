// The zelto command held to every byte that it writes, without and with a terminal.
#ifndef ZELTO_TESTS_CLI_GOLDEN_H
#define ZELTO_TESTS_CLI_GOLDEN_H

#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace cli {

using TLine = std::vector<std::string>;

struct TGolden {
    const char* title;
    TLine arguments;
    int exitCode;
    std::string output;
    std::string errors;
};

std::ostream& operator<<(std::ostream& stream, const TGolden& golden);

// Names the cases of a suite by their titles.
std::string TitleOf(const testing::TestParamInfo<TGolden>& info);

// Runs the command to its end; `input` is all of its standard input.
support::TRunResult RunZelto(const TLine& arguments, bool isOnTerminal = false,
                             const std::string& input = "");

// Runs the command on a fresh gateway, once without and once with a terminal.
void ExpectGolden(const TGolden& golden);

// Runs a line of the shell in which "zelto" is the command.
support::TRunResult RunShell(const std::string& line, bool isOnTerminal = false);

// Calls `test` once without and once with a terminal.
void BothWays(const std::function<void(bool isOnTerminal)>& test);

} // namespace cli

#endif
