#include "Assignments.h"

#include "ExitCodes.h"
#include "FileContent.h"
#include "Output.h"

#include <algorithm>
#include <sstream>

namespace tool {

namespace {

// False when there is no path or no "=".
bool Split(const std::string& text, TParam& param) {
    const std::string::size_type equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        return false;
    }
    param = {text.substr(0, equals), text.substr(equals + 1)};
    return true;
}

// Replaces a value that says where the value is.
bool Fetch(std::string& value) {
    if (value == "-") {
        return ReadFile("-", value);
    }
    return value.empty() || value[0] != '@' || ReadFile(value.substr(1), value);
}

bool ReadsInput(const std::string& argument) {
    TParam param;
    return Split(argument, param) && param.value == "-";
}

bool ReadLine(const std::string& line, TParam& param) {
    return Split(line, param) && Unescape(param.name, param.name) && Unescape(param.value, param.value);
}

} // namespace

int ReadArguments(const std::string& verb, const std::vector<std::string>& arguments, TParams& params) {
    if (std::count_if(arguments.begin(), arguments.end(), ReadsInput) > 1) {
        PrintError(verb + ": standard input can be the value of one parameter only");
        return EXIT_USAGE;
    }
    for (const std::string& argument : arguments) {
        TParam param;
        if (!Split(argument, param)) {
            PrintError(verb + ": not of the form PATH=VALUE: " + argument);
            return EXIT_USAGE;
        }
        if (!Fetch(param.value)) {
            return EXIT_RUN_TIME;
        }
        params.push_back(param);
    }
    return EXIT_DONE;
}

int ReadLines(const std::string& verb, const std::string& path, TParams& params) {
    std::string content;
    if (!ReadFile(path, content)) {
        return EXIT_RUN_TIME;
    }
    std::istringstream lines(content);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        TParam param;
        if (line.empty()) {
            continue;
        }
        if (!ReadLine(line, param)) {
            PrintError(verb + ": line " + std::to_string(number) + " is not of the form PATH=VALUE: " + line);
            return EXIT_USAGE;
        }
        params.push_back(param);
    }
    return EXIT_DONE;
}

} // namespace tool
