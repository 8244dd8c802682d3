// The verbs and options that a line may hold: handles of what CLI11 keeps, without its headers, which take
// long to compile and are for Parser.cpp and those who go through the line as a whole.
#ifndef ZELTO_TOOL_PARSER_H
#define ZELTO_TOOL_PARSER_H

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace tool {

// What is wrong with a value, or "".
using TCheck = std::string (*)(const std::string& value);

class TOption {
public:
    explicit TOption(CLI::Option& parserOption) : option(&parserOption) {}

    TOption& Require();
    TOption& TakeOne(); // of an argument that fills a list
    TOption& Need(const TOption& other);
    TOption& Exclude(const TOption& other);
    TOption& Check(TCheck check);
    TOption& CheckRange(int least, int most);
    TOption& CheckNotNegative();
    TOption& ShowDefault();

    // Whether the line has it, once the line has been read.
    bool IsGiven() const;

private:
    CLI::Option* option;
};

// What is filled has to outlive the reading of the line.
class TVerb {
public:
    explicit TVerb(CLI::App& parserVerb) : verb(&parserVerb) {}

    TVerb AddVerb(const std::string& name, const std::string& description);
    TOption AddFlag(const std::string& names, bool& isGiven, const std::string& description);
    TOption AddOption(const std::string& names, std::string& value, const std::string& description);
    TOption AddOption(const std::string& names, int& value, const std::string& description);
    TOption AddOption(const std::string& names, double& value, const std::string& description);
    TOption AddOption(const std::string& names, std::vector<std::string>& values,
                      const std::string& description);

    void RequireVerb(); // one of its own
    void Hide();        // from the help
    void OnChosen(std::function<void()> callback);

    CLI::App& App() const { return *verb; }

private:
    CLI::App* verb;
};

} // namespace tool

#endif
