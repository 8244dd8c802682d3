// The manual page: what its examples print is what the command prints, and it has a section for every verb.

#include "cli/Golden.h"
#include "e2e/Programs.h"

#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <sstream>

namespace {

const std::vector<std::pair<std::string, std::string>> ROFF_ESCAPES = {
    {"\\-", "-"}, {"\\e", "\\"}, {"\\(aq", "'"}, {"\\(dq", "\""}};

struct TStep {
    std::string command;
    std::string output;
};

using TExample = std::vector<TStep>;

std::string ReadPage() {
    std::ifstream file(MAN_PAGE_PATH);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// Throws for an escape that examples may not have.
std::string WithoutEscapes(const std::string& source) {
    std::string text;
    for (size_t position = 0; position < source.size();) {
        if (source[position] != '\\') {
            text += source[position++];
            continue;
        }
        const auto isHere = [&](const auto& escape) {
            return source.compare(position, escape.first.size(), escape.first) == 0;
        };
        const auto found = std::find_if(ROFF_ESCAPES.begin(), ROFF_ESCAPES.end(), isHere);
        if (found == ROFF_ESCAPES.end()) {
            throw std::runtime_error("an escape that an example may not have: " + source);
        }
        text += found->second;
        position += found->first.size();
    }
    return text;
}

TExample ParseExample(const std::string& block) {
    TExample example;
    std::istringstream lines(block);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("$ ", 0) == 0) {
            example.push_back({line.substr(2), ""});
        } else {
            example.at(example.size() - 1).output += line + "\n";
        }
    }
    return example;
}

std::vector<TExample> Examples() {
    const std::string begin = ".EX\n";
    const std::string end = ".EE\n";
    const std::string page = ReadPage();
    std::vector<TExample> examples;
    for (size_t start = page.find(begin); start != std::string::npos; start = page.find(begin, start)) {
        start += begin.size();
        examples.push_back(ParseExample(WithoutEscapes(page.substr(start, page.find(end, start) - start))));
    }
    return examples;
}

std::string Quoted(const std::string& text) {
    return "'" + std::regex_replace(text, std::regex("'"), "'\\''") + "'";
}

// A line of the shell that does the steps one after the other, as if they were typed, and shows what is
// typed.
std::string Script(const TExample& example) {
    std::string script = "exec 2>&1; code=0\n";
    for (const TStep& step : example) {
        script +=
            "printf '$ %s\\n' " + Quoted(step.command) + "\n(exit $code)\n" + step.command + "\ncode=$?\n";
    }
    return script;
}

std::string Transcript(const TExample& example) {
    std::string transcript;
    for (const TStep& step : example) {
        transcript += "$ " + step.command + "\n" + step.output;
    }
    return transcript;
}

std::string WithoutTimes(const std::string& text) {
    return std::regex_replace(text, std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:.]{12}Z"), "TIME");
}

} // namespace

TEST(ManPage, HasExamplesThatPrintWhatItSays) {
    const std::vector<TExample> examples = Examples();
    ASSERT_GE(examples.size(), 7U);
    for (const TExample& example : examples) {
        cli::BothWays([&example](bool isOnTerminal) {
            e2e::TGateway gateway;
            const auto result = cli::RunShell(Script(example), isOnTerminal);
            EXPECT_EQ(WithoutTimes(result.output), WithoutTimes(Transcript(example)));
        });
    }
}

// The verbs that the help lists, each at the beginning of a line.
std::vector<std::string> Verbs() {
    const std::string help = cli::RunZelto({"--help"}).output;
    std::istringstream lines(help.substr(help.find("Subcommands:\n")));
    std::vector<std::string> verbs;
    std::string line;
    (void)std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::smatch match;
        if (std::regex_search(line, match, std::regex("^  ([a-z]+) "))) {
            verbs.push_back(match[1]);
        }
    }
    return verbs;
}

TEST(Help, OfAVerbSaysWhereTheOtherOptionsAre) {
    const auto result = cli::RunZelto({"get", "--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.output.find("\nThe options that zelto --help shows may stand here as well.\n"),
              std::string::npos)
        << result.output;
}

TEST(ManPage, HasASectionForEachVerb) {
    const std::string page = ReadPage();
    const std::vector<std::string> verbs = Verbs();
    ASSERT_GE(verbs.size(), 12U);
    for (const std::string& verb : verbs) {
        EXPECT_THAT(page, testing::HasSubstr("\n.SS " + verb + " "));
    }
}

TEST(ManPage, HasEachGlobalOption) {
    const std::string page = ReadPage();
    for (const char* option :
         {"\\-j", "\\-J", "\\-q", "\\-t", "\\-\\-as", "\\-\\-bus", "\\-v", "\\-\\-version"}) {
        EXPECT_THAT(page, testing::HasSubstr(option)) << option;
    }
}
