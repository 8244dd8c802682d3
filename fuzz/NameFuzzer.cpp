// Feeds names to everything that takes names apart: translation, keys, instance numbers, expansion, both
// pattern matchers, and the checks that keep bad names from libdbus.
//
// Input: what to do, behaviour of the handlers, length and bytes of a pattern, a name.
#include "FuzzInput.h"
#include "ScriptedHandlers.h"

#include "app/NameMatch.h"
#include "ipc/DBusNames.h"
#include "platform/Wildcards.h"
#include "zelto/ZeltoAppPatterns.h"
#include "zelto/ZeltoPlatformNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <dbus/dbus.h>

#include <iterator>
#include <stdexcept>
#include <vector>

namespace {

using fuzz::Require;

std::ptrdiff_t Separators(const std::string& name) {
    return std::count(name.begin(), name.end(), '.');
}

// The built-in maps pair each number with one other, so the way back leads to the beginning.
void Translate(const std::string&, const std::string& name) {
    std::string translated = name;
    referRequestIndexMap(translated);
    Require(Separators(translated) == Separators(name), "translation keeps the path");
    referResponseIndexMap(translated);
    Require(translated == name, "translation can be undone");
    std::string stripped = name;
    const bool isMarked = !name.empty() && name.front() == '@';
    Require(stripIndexMapNegator(stripped) == (isMarked ? 0 : 1) && stripped == name.substr(isMarked ? 1 : 0),
            "the mark is taken off, once");
}

void MakeKey(const std::string&, const std::string& name) {
    std::string key = name;
    const bool isChanged = convertObjectToJsonName(key);
    Require(isChanged == (key != name), "a change is told");
    Require(Separators(key) == Separators(name), "a key keeps the path");
    std::string again = key;
    Require(!convertObjectToJsonName(again) && again == key, "a key is its own key");
    tZeltoPlatformRequestDescr descr{};
    const bool isFound = zeltoGetPlatformRequestDescr(PLT_REQUEST_GET_PARAM, key.c_str(), &descr);
    Require(isFound && descr.handler != nullptr, "every name has the default handler at least");
}

void TakeIndices(const std::string&, const std::string& name) {
    std::vector<int> indices{-7};
    try {
        getIndices(name.c_str(), indices);
        Require(std::all_of(indices.begin(), indices.end(), [](int index) { return index >= 0; }),
                "a number has no sign");
        Require(static_cast<std::ptrdiff_t>(indices.size()) <= Separators(name.c_str()) + 1,
                "a segment has one number");
    } catch (const std::out_of_range& error) {
        Require(std::strlen(error.what()) < 100, "a refusal is short, however long the number");
    }
}

void Expand(const std::string&, const std::string& name) {
    const std::size_t star = name.find('*');
    Require(zelto::IsWildcard(name) == (star != std::string::npos), "a wildcard is known by its star");
    if (star == std::string::npos) {
        return;
    }
    try {
        const zelto::TInstanceNames names(name);
        std::string one;
        for (std::size_t i = 0; i < names.Count(); ++i) {
            names.Write(i, one);
            Require(one.size() >= name.size(), "a number takes the place of the star");
            Require(one.compare(0, star, name, 0, star) == 0, "an expanded name begins as the wildcard does");
            const std::size_t rest = name.size() - star - 1;
            Require(one.compare(one.size() - rest, rest, name, star + 1, rest) == 0,
                    "an expanded name ends as the wildcard does");
        }
    } catch (const fuzz::THandlerFailure&) {
    }
}

// The first match, looked for without haste.
void SortAnswers(const std::string& pattern, const std::string& name) {
    Require(zelto::NamesMatch(pattern, name) == zelto::NamesMatch(name, pattern),
            "matching has no direction");
    Require(zelto::NamesMatch(name, name), "a name matches itself");
    const std::vector<std::string> names = {"Device.1.*", pattern, "*", name};
    std::size_t first = 0;
    while (first < names.size() && !zelto::NamesMatch(names[first], name)) {
        ++first;
    }
    Require(zelto::TRequestedNames(names).FirstMatch(name) == first, "the first match is found");
}

void MatchPattern(const std::string& pattern, const std::string& name) {
    int index = -7;
    bool matches = false;
    try {
        matches = patternMatch(pattern, name, nullptr);
        Require(patternMatch(pattern, name, &index) == matches, "a match needs no number to be asked for");
    } catch (const std::logic_error&) {
        Require(index == -7, "a failure leaves the number alone");
    }
    Require(matches || index == -7, "a name that does not match has no number");
    std::vector<int> indices;
    try {
        getWildcardIndices(pattern, {name, name}, indices);
        Require(indices == (matches ? std::vector<int>{index, index} : std::vector<int>{}),
                "each match gives its number");
    } catch (const std::logic_error&) {
        Require(indices.empty(), "what fails gives no number");
    }
}

bool Passes(void (*require)(const char*, const std::string&), const std::string& name) {
    try {
        require("method", name);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

// What passes ours passes libdbus's checks, which would end the process.
void GuardLibdbus(const std::string&, const std::string& name) {
    if (zelto::IsIdentity(name)) {
        Require(dbus_validate_bus_name((zelto::BUS_NAME_PREFIX + name).c_str(), nullptr) != FALSE &&
                    dbus_validate_path((zelto::OBJECT_PATH_PREFIX + name).c_str(), nullptr) != FALSE,
                "an identity makes a bus name and a path");
    }
    if (Passes(zelto::RequireMember, name)) {
        Require(dbus_validate_member(name.c_str(), nullptr) != FALSE, "a member is valid");
    }
    const bool isCarried = zelto::TextFault("result", "name", name).empty();
    Require(isCarried == (dbus_validate_utf8(name.c_str(), nullptr) != FALSE), "UTF-8 is carried");
    Require((compareParamName(name.c_str(), "Device.") == 1) == (std::strcmp(name.c_str(), "Device.") == 0),
            "names are compared as texts");
}

constexpr void (*USES[])(const std::string& pattern, const std::string& name) = {
    Translate, MakeKey, TakeIndices, Expand, SortAnswers, MatchPattern, GuardLibdbus,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isInstalled = (fuzz::InstallHandlers(), true);
    (void)isInstalled;
    fuzz::TInput input(data, size);
    const std::size_t use = input.Byte() % std::size(USES);
    fuzz::Script().behaviour = input.Byte();
    const std::string pattern = input.Text();
    USES[use](pattern, input.Rest());
    return 0;
}
