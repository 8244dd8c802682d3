#include "Completion.h"

#include "Bodies.h"
#include "Bus.h"
#include "ExitCodes.h"
#include "Requests.h"
#include "Verbs.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <set>

namespace tool {

namespace {

using TWords = std::vector<std::string>;

constexpr int PATIENCE_SECONDS = 1;

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

bool IsOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-';
}

bool TakesValue(const CLI::Option* option) {
    return option != nullptr && option->get_items_expected_max() > 0;
}

// Where the line is: the verb (null before it), what was given to it, and the option that wants a value.
struct TPlace {
    CLI::App* verb = nullptr;
    TWords given{};
    const CLI::Option* option = nullptr;
    std::string bus{}; // the address that --bus gave
};

CLI::App* FindVerb(CLI::App& app, const std::string& name) {
    for (CLI::App* verb : app.get_subcommands([](CLI::App*) { return true; })) {
        if (verb->get_name() == name) {
            return verb;
        }
    }
    return nullptr;
}

const CLI::Option* FindOption(CLI::App& app, const CLI::App* verb, const std::string& name) {
    const CLI::Option* option = verb == nullptr ? nullptr : verb->get_option_no_throw(name);
    return option == nullptr ? app.get_option_no_throw(name) : option;
}

// The last word is the one to complete and has no say in it.
TPlace FindPlace(CLI::App& app, const TWords& words) {
    TPlace place;
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        if (place.option != nullptr) {
            place.bus = place.option->check_lname("bus") ? words[i] : place.bus;
            place.option = nullptr;
        } else if (IsOption(words[i])) {
            const CLI::Option* option = FindOption(app, place.verb, words[i]);
            place.option = TakesValue(option) ? option : nullptr;
        } else if (place.verb == nullptr) {
            place.verb = FindVerb(app, words[i]);
        } else {
            place.given.push_back(words[i]);
        }
    }
    return place;
}

void AddOptions(const CLI::App& app, std::set<std::string>& candidates) {
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            candidates.insert("--" + name);
        }
        for (const std::string& name : option->get_snames()) {
            candidates.insert("-" + name);
        }
    }
}

void AddVerbNames(CLI::App& app, std::set<std::string>& candidates) {
    for (const CLI::App* verb : app.get_subcommands([](CLI::App*) { return true; })) {
        if (!verb->get_group().empty()) { // others are hidden
            candidates.insert(verb->get_name());
        }
    }
}

void AddIdentities(std::set<std::string>& candidates) {
    try {
        TBus bus;
        for (const std::string& name : bus.Names()) {
            if (IsParty(name)) {
                candidates.insert(IdentityOf(name));
            }
        }
    } catch (const TBusFailure&) {
        return; // without a bus nobody is on it
    }
}

TZeltoJsonObject AskManager(TGlobals globals, const std::string& method, const std::string& body) {
    globals.timeoutSeconds = PATIENCE_SECONDS;
    TAnswer answer = Call(globals, {method, body});
    return answer.exitCode == EXIT_DONE ? Decode(answer.text) : TZeltoJsonObject();
}

// The instances of the table that the word ends in, and the tables that the manager tells of.
void AddServedPaths(const TGlobals& globals, const std::string& word, std::set<std::string>& candidates) {
    for (const TZeltoJsonObject& model : GetList(AskManager(globals, "GET_INDEX_MAP", ""), "DATA_MODELS")) {
        candidates.insert(GetText(model, "NAME"));
    }
    std::string::size_type dot = word.rfind('.');
    if (dot == std::string::npos || word.find_first_of("*@=") != std::string::npos) {
        return;
    }
    std::string table = word.substr(0, dot + 1);
    TZeltoJsonObject request;
    SetText(request, "OBJ", table);
    for (int id : GetIntegers(AskManager(globals, "GET_OBJECT_INSTANCES", request.EncodeToString()), "IDS")) {
        candidates.insert(table + std::to_string(id) + ".");
    }
}

// The names of a verb's arguments tell what they are.
bool Wants(const CLI::App& verb, const TWords& beginnings) {
    for (const CLI::Option* option : verb.get_options()) {
        std::string name = option->get_positional() ? option->get_name(true) : "";
        for (const std::string& beginning : beginnings) {
            if (!name.empty() && BeginsWith(name, beginning)) {
                return true;
            }
        }
    }
    return false;
}

void AddArguments(const TPlace& place, const TGlobals& globals, const std::string& word, const TWords& seen,
                  std::set<std::string>& candidates) {
    if (Wants(*place.verb, {"ID"})) {
        AddIdentities(candidates);
    }
    if (Wants(*place.verb, {"PATH", "PATTERN", "OBJ", "ROOT", "NAME"})) {
        candidates.insert(seen.begin(), seen.end());
        candidates.insert("Device.");
        AddServedPaths(globals, word, candidates);
    }
    // Such as those of `remote`, behind its host.
    if (!place.given.empty()) {
        AddVerbNames(*place.verb, candidates);
    }
}

} // namespace

std::vector<std::string> Complete(CLI::App& app, const TGlobals& globals,
                                  const std::vector<std::string>& words,
                                  const std::vector<std::string>& seen) {
    std::string word = words.empty() ? "" : words.back();
    TPlace place = FindPlace(app, words);
    if (!place.bus.empty()) {
        (void)setenv("DBUS_SYSTEM_BUS_ADDRESS", place.bus.c_str(), 1); // at worst nobody is found
    }
    std::set<std::string> candidates;
    if (place.option != nullptr) {
        if (place.option->check_lname("as")) {
            AddIdentities(candidates);
        }
    } else if (BeginsWith(word, "-")) {
        AddOptions(place.verb == nullptr ? app : *place.verb, candidates);
        AddOptions(app, candidates);
    } else if (place.verb == nullptr) {
        AddVerbNames(app, candidates);
    } else {
        AddArguments(place, globals, word, seen, candidates);
    }
    std::vector<std::string> matching;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(matching),
                 [&word](const std::string& candidate) { return BeginsWith(candidate, word); });
    return matching;
}

} // namespace tool
