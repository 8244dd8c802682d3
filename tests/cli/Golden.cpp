#include "cli/Golden.h"

#include "e2e/Programs.h"

namespace cli {

namespace {

constexpr std::chrono::seconds LONGEST_RUN(30);

// A shell does not know how to run a program for another architecture.
const std::string DEFINITION =
    std::string("zelto() { ") + EMULATOR + " '" + ZELTO_COMMAND_PATH + "' \"$@\"; }\n";

support::TRunResult Finish(support::TChildProcess& child, const std::string& input) {
    child.WriteInput(input);
    child.CloseInput();
    const auto exitCode = child.WaitForExit(LONGEST_RUN);
    return {exitCode.value_or(-1), child.Output(), child.Errors()};
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const TGolden& golden) {
    return stream << golden.title;
}

std::string TitleOf(const testing::TestParamInfo<TGolden>& info) {
    return info.param.title;
}

support::TRunResult RunZelto(const TLine& arguments, bool isOnTerminal, const std::string& input) {
    TLine command = {ZELTO_COMMAND_PATH};
    command.insert(command.end(), arguments.begin(), arguments.end());
    support::TChildProcess::TOptions options;
    options.isOnTerminals = isOnTerminal;
    support::TChildProcess child(command, options);
    return Finish(child, input);
}

void ExpectGolden(const TGolden& golden) {
    BothWays([&golden](bool isOnTerminal) {
        e2e::TGateway gateway;
        const auto result = RunZelto(golden.arguments, isOnTerminal);
        EXPECT_EQ(result.exitCode, golden.exitCode);
        EXPECT_EQ(result.output, golden.output);
        EXPECT_EQ(result.errors, golden.errors);
    });
}

support::TRunResult RunShell(const std::string& line, bool isOnTerminal) {
    support::TChildProcess::TOptions options;
    options.isOnTerminals = isOnTerminal;
    support::TChildProcess child({"/bin/sh", "-c", DEFINITION + line}, options);
    return Finish(child, "");
}

void BothWays(const std::function<void(bool isOnTerminal)>& test) {
    for (const bool isOnTerminal : {false, true}) {
        SCOPED_TRACE(isOnTerminal ? "with a terminal" : "without a terminal");
        test(isOnTerminal);
    }
}

} // namespace cli
