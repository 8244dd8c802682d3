// doctor: the index map, as the manager serves it and as its file has it.

#include "Bodies.h"
#include "Doctor.h"
#include "ExitCodes.h"
#include "Requests.h"

#include "zelto/ZeltoPlatformNames.h"

#include <map>
#include <stdexcept>

namespace tool {

namespace {

// The pairs (number for applications, number of the platform) of each table.
using TTables = std::map<std::string, std::map<int, int>>;

constexpr unsigned int NO_ELEMENT = static_cast<unsigned int>(-1); // the property itself

int NumberAt(const TZeltoJsonObject& body, const std::string& key) {
    return body.GetJsonValue(body.GetJsonObject(key, NO_ELEMENT), 0);
}

int ReadIndex(const std::string& table, const std::string& text) {
    try {
        return std::stoi(text); // as the library reads it
    } catch (const std::logic_error&) {
        throw std::invalid_argument(table + ": \"" + text + "\" is no number");
    }
}

// An element is {"number for applications": "number of the platform"}.
void ReadPair(const std::string& table, const TZeltoJsonObject& element, std::map<int, int>& pairs) {
    std::vector<std::string> keys = element.GetProperties();
    if (keys.size() != 1) {
        throw std::invalid_argument(table + ": an element is no single pair of numbers");
    }
    int number = ReadIndex(table, keys[0]);
    pairs[number] = ReadIndex(table, GetText(element, keys[0]));
}

// Throws std::logic_error where the library would refuse the file.
TTables ReadFile(const TZeltoJsonObject& file) {
    TObjects models = GetList(file, "DATA_MODELS");
    if (models.size() > ZELTO_INDEX_MAP_MODELS) {
        throw std::length_error("more than " + std::to_string(ZELTO_INDEX_MAP_MODELS) + " tables");
    }
    TTables tables;
    for (const TZeltoJsonObject& model : models) {
        std::string name = GetText(model, "NAME");
        TObjects elements = GetList(model, "INDEX_MAP");
        if (elements.size() > ZELTO_INDEX_MAP_PAIRS) {
            throw std::length_error(name + ": more than " + std::to_string(ZELTO_INDEX_MAP_PAIRS) + " pairs");
        }
        for (const TZeltoJsonObject& element : elements) {
            ReadPair(name, element, tables[name]);
        }
    }
    return tables;
}

TTables ReadAnswer(const std::string& text) {
    TTables tables;
    for (const TZeltoJsonObject& model : GetList(Decode(text), "DATA_MODELS")) {
        std::map<int, int>& pairs = tables[GetText(model, "NAME")];
        for (const TZeltoJsonObject& pair : GetList(model, "INDEX_MAP")) {
            pairs[NumberAt(pair, "APP_INDEX")] = NumberAt(pair, "PLATFORM_INDEX");
        }
    }
    return tables;
}

TFinding CheckFile(const std::string& path, const TTables& served, bool isServed) {
    TZeltoJsonObject file;
    if (!file.LoadFile(path)) {
        return {"index-map", TFinding::BAD, path + " cannot be read or is no JSON document",
                "the manager keeps its built-in tables until the file is mended and it is started anew",
                EXIT_USAGE};
    }
    std::string fault = IndexMapFault(file);
    if (!fault.empty()) {
        return {"index-map", TFinding::BAD, path + " is refused: " + fault,
                "the manager keeps its built-in tables until the file is mended and it is started anew",
                EXIT_USAGE};
    }
    if (isServed && ReadFile(file) != served) {
        return {"index-map", TFinding::WARNING, path + " is valid but is not what the manager serves",
                "start the manager anew, with this file"};
    }
    return {"index-map", TFinding::FINE,
            path + " is valid" + (isServed ? " and is what the manager serves" : "")};
}

} // namespace

std::string IndexMapFault(const TZeltoJsonObject& file) {
    try {
        (void)ReadFile(file); // whether it can be read is all that counts
        return "";
    } catch (const std::logic_error& fault) {
        return fault.what();
    }
}

TFinding CheckIndexMap(const TGlobals& globals, const std::string& path) {
    TAnswer answer = Call(globals, {"GET_INDEX_MAP", ""});
    bool isServed = answer.exitCode == EXIT_DONE;
    TTables served = ReadAnswer(answer.text);
    if (!path.empty()) {
        return CheckFile(path, served, isServed);
    }
    if (!isServed) {
        return {"index-map", TFinding::UNKNOWN, "the manager does not tell its tables",
                "--index-map FILE checks its file"};
    }
    size_t pairs = 0;
    for (const auto& [name, table] : served) {
        pairs += table.size();
    }
    return {"index-map", TFinding::FINE,
            "tables that the manager serves: " + std::to_string(served.size()) +
                ", pairs in them: " + std::to_string(pairs),
            "--index-map FILE checks its file"};
}

} // namespace tool
