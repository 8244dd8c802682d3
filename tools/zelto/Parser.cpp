#include "Parser.h"

#include <CLI/CLI.hpp>

#include <utility>

namespace tool {

TOption& TOption::Require() {
    option->required();
    return *this;
}

TOption& TOption::TakeOne() {
    option->expected(1);
    return *this;
}

TOption& TOption::Need(const TOption& other) {
    option->needs(other.option);
    return *this;
}

TOption& TOption::Exclude(const TOption& other) {
    option->excludes(other.option);
    return *this;
}

TOption& TOption::Check(TCheck check) {
    option->check(check);
    return *this;
}

TOption& TOption::CheckRange(int least, int most) {
    option->check(CLI::Range(least, most));
    return *this;
}

TOption& TOption::CheckNotNegative() {
    option->check(CLI::NonNegativeNumber);
    return *this;
}

TOption& TOption::ShowDefault() {
    option->capture_default_str();
    return *this;
}

bool TOption::IsGiven() const {
    return option->count() > 0;
}

TVerb TVerb::AddVerb(const std::string& name, const std::string& description) {
    CLI::App* const added = verb->add_subcommand(name, description);
    added->footer("The options that zelto --help shows may stand here as well.");
    return TVerb(*added);
}

TOption TVerb::AddFlag(const std::string& names, bool& isGiven, const std::string& description) {
    return TOption(*verb->add_flag(names, isGiven, description));
}

TOption TVerb::AddOption(const std::string& names, std::string& value, const std::string& description) {
    return TOption(*verb->add_option(names, value, description));
}

TOption TVerb::AddOption(const std::string& names, int& value, const std::string& description) {
    return TOption(*verb->add_option(names, value, description));
}

TOption TVerb::AddOption(const std::string& names, double& value, const std::string& description) {
    return TOption(*verb->add_option(names, value, description));
}

TOption TVerb::AddOption(const std::string& names, std::vector<std::string>& values,
                         const std::string& description) {
    return TOption(*verb->add_option(names, values, description));
}

void TVerb::RequireVerb() {
    verb->require_subcommand(1);
}

void TVerb::Hide() {
    verb->group("");
}

void TVerb::OnChosen(std::function<void()> callback) {
    verb->callback(std::move(callback));
}

} // namespace tool
