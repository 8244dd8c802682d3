#include "BodyText.h"

#include "Bodies.h"

namespace tool {

namespace {

constexpr size_t LONGEST_VALUE = 256;
constexpr unsigned int NO_ELEMENT = static_cast<unsigned int>(-1); // the property itself

// Not in the middle of a character.
std::string Cut(const std::string& value) {
    if (value.size() <= LONGEST_VALUE) {
        return value;
    }
    size_t end = LONGEST_VALUE;
    while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xC0) == 0x80) {
        --end;
    }
    return value.substr(0, end) + "...(" + std::to_string(value.size()) + " bytes)";
}

void AddWord(std::string& line, const std::string& word) {
    line += line.empty() || word.empty() ? word : " " + word;
}

// A name, a value, or both.
std::string DescribePair(const TZeltoJsonObject& body, const char* nameKey, const char* valueKey) {
    std::string name = GetText(body, nameKey);
    if (!body.HasProperty(valueKey)) {
        return name;
    }
    std::string value = Cut(GetText(body, valueKey));
    return body.HasProperty(nameKey) ? name + "=" + value : value;
}

std::string DescribeNumbers(const TZeltoJsonObject& body, const char* key) {
    std::string line;
    for (int number : GetIntegers(body, key)) {
        AddWord(line, std::to_string(number));
    }
    return line;
}

std::string DescribeKnown(const TZeltoJsonObject& body) {
    std::string line = GetText(body, "ROOT");
    AddWord(line, GetText(body, "OBJ"));
    AddWord(line, DescribePair(body, "NAME", "VALUE"));
    AddWord(line, DescribePair(body, "DATA_MODEL_NAME", "DATA_MODEL_VALUE"));
    for (const TZeltoJsonObject& param : GetList(body, "PARAMS")) {
        AddWord(line, DescribePair(param, "NAME", "VALUE"));
    }
    AddWord(line, GetText(body, "MAC_ADDRESS"));
    AddWord(line, GetText(body, "HOST_NAME"));
    if (body.HasProperty("ID")) {
        AddWord(line, std::to_string(body.GetJsonValue(body.GetJsonObject("ID", NO_ELEMENT), 0)));
    }
    AddWord(line, DescribeNumbers(body, "IDS"));
    if (body.GetJsonValue(body.GetJsonObject("COMMIT", NO_ELEMENT), false)) {
        AddWord(line, "(commit)");
    }
    return line;
}

} // namespace

std::string DescribeBody(const std::string& body) {
    TZeltoJsonObject decoded;
    if (!decoded.DecodeFromString(body)) {
        return Cut(body);
    }
    if (decoded.IsEmpty()) {
        return "";
    }
    std::string known = DescribeKnown(decoded);
    return known.empty() ? Cut(body) : known;
}

std::vector<std::string> PathsOf(const std::string& body) {
    TZeltoJsonObject decoded = Decode(body);
    std::vector<std::string> paths;
    for (const char* key : {"NAME", "ROOT", "OBJ", "DATA_MODEL_NAME"}) {
        std::string path = GetText(decoded, key);
        if (!path.empty()) {
            paths.push_back(path);
        }
    }
    for (const char* key : {"PARAMS", "DATA_MODELS"}) {
        for (const TZeltoJsonObject& element : GetList(decoded, key)) {
            paths.push_back(GetText(element, "NAME"));
        }
    }
    return paths;
}

} // namespace tool
