#include "ParamRequests.h"

#include "ExitCodes.h"
#include "Output.h"

#include <algorithm>
#include <iterator>

namespace tool {

namespace {

// Says so when the answer has not what it must have.
int ReadAnswer(const TQuestion& question, const std::string& text, TZeltoJsonObject& answer) {
    answer = Decode(text);
    if (question.key.empty() || answer.HasProperty(question.key)) {
        return EXIT_DONE;
    }
    PrintError(question.what + ": the answer has no " + question.key);
    return EXIT_RUN_TIME;
}

int ReadEntries(const std::string& what, const std::string& text, TObjects& entries) {
    TZeltoJsonObject answer;
    const int code = ReadAnswer({what, "", "", "PARAMS"}, text, answer);
    TObjects read = GetList(answer, "PARAMS");
    std::move(read.begin(), read.end(), std::back_inserter(entries));
    return code;
}

int ReadOne(const TGlobals& globals, const std::string& verb, const std::string& name, TObjects& entries) {
    const TAnswer answer = Call(globals, {"GET_PARAM", NameEntry(name).EncodeToString()});
    if (answer.exitCode == EXIT_DONE) {
        return ReadEntries(verb + " " + name, answer.text, entries);
    }
    if (answer.exitCode == EXIT_REFUSED && MatchesNothing(globals, name)) {
        PrintError(verb + " " + name + ": nothing matches");
        return EXIT_NOTHING_MATCHED;
    }
    PrintError(verb + " " + name + ": " + answer.reason);
    return answer.exitCode;
}

int ReadOneByOne(const TGlobals& globals, const std::string& verb, const TNames& names, TObjects& entries) {
    std::vector<int> codes;
    for (const std::string& name : names) {
        codes.push_back(ReadOne(globals, verb, name, entries));
        if (!IsAboutParameters(codes.back())) {
            break;
        }
    }
    return Conclude(verb, names, codes);
}

} // namespace

bool MatchesNothing(const TGlobals& globals, const std::string& name) {
    const std::string::size_type star = name.find('*');
    if (star == std::string::npos) {
        return false;
    }
    TZeltoJsonObject body;
    SetText(body, "OBJ", name.substr(0, star));
    const TAnswer answer = Call(globals, {"GET_OBJECT_INSTANCES", body.EncodeToString()});
    return answer.exitCode == EXIT_DONE && GetIntegers(Decode(answer.text), "IDS").empty();
}

std::string Describe(const std::string& verb, const TNames& names) {
    std::string text = verb;
    if (!names.empty()) {
        text += " " + names.front();
    }
    if (names.size() > 1) {
        text += " and " + std::to_string(names.size() - 1) + " more";
    }
    return text;
}

int Ask(const TGlobals& globals, const TQuestion& question, TZeltoJsonObject& answer) {
    const TAnswer result = Call(globals, {question.method, question.body});
    if (result.exitCode != EXIT_DONE) {
        PrintError(question.what + ": " + result.reason);
        return result.exitCode;
    }
    return ReadAnswer(question, result.text, answer);
}

int Conclude(const std::string& verb, const TNames& names, const std::vector<int>& codes) {
    for (size_t i = codes.size(); i < names.size(); ++i) {
        PrintError(verb + " " + names[i] + ": not tried");
    }
    const auto done = std::count(codes.begin(), codes.end(), EXIT_DONE);
    if (done != 0) {
        return done == static_cast<std::ptrdiff_t>(names.size()) ? EXIT_DONE : EXIT_PARTLY_DONE;
    }
    const bool isAlike = std::all_of(codes.begin(), codes.end(), [&](int code) { return code == codes[0]; });
    return isAlike || !IsAboutParameters(codes.back()) ? codes.back() : int{EXIT_REFUSED};
}

bool IsAboutParameters(int code) {
    return code == EXIT_DONE || code == EXIT_REFUSED || code == EXIT_NOTHING_MATCHED;
}

int ReadParams(const TGlobals& globals, const std::string& verb, const TNames& names, TObjects& entries) {
    if (names.size() == 1) {
        return ReadOne(globals, verb, names[0], entries);
    }
    TObjects nameEntries;
    std::transform(names.begin(), names.end(), std::back_inserter(nameEntries), NameEntry);
    TZeltoJsonObject body;
    SetList(body, "PARAMS", nameEntries);
    const TAnswer answer = Call(globals, {"GET_PARAM_ARRAY", body.EncodeToString()});
    if (answer.exitCode == EXIT_REFUSED) {
        return ReadOneByOne(globals, verb, names, entries);
    }
    if (answer.exitCode != EXIT_DONE) {
        PrintError(Describe(verb, names) + ": " + answer.reason);
        return answer.exitCode;
    }
    return ReadEntries(Describe(verb, names), answer.text, entries);
}

int PrintParams(const TGlobals& globals, const TObjects& entries, bool valuesOnly, int code) {
    TOutput output(globals, "PARAMS");
    for (const TZeltoJsonObject& entry : entries) {
        const std::string value = GetText(entry, "VALUE");
        (void)output.Add(valuesOnly ? value : GetText(entry, "NAME") + "=" + value, entry);
    }
    return output.Finish(code);
}

} // namespace tool
