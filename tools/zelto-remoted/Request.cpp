#include "Request.h"

#include "zelto/TZeltoJsonObject.h"

#include <cstdio>

namespace remoted {

namespace {

constexpr std::size_t LONGEST_LOGGED_NAME = 256;
constexpr unsigned int NO_ELEMENT = static_cast<unsigned int>(-1); // the property itself

constexpr const char* TYPE_NAMES[] = {"GET_PARAM", "SET_PARAM", "GET_FILE"};

bool ReadText(const TZeltoJsonObject& json, const char* key, std::string& text) {
    if (json.GetPropertyType(key) != JSON_TYPE_STRING) {
        return false;
    }
    text = json.GetJsonValue<std::string>(json.GetJsonObject(key, NO_ELEMENT), "");
    return true;
}

bool ReadType(const TZeltoJsonObject& json, TRequest::TType& type) {
    std::string name;
    if (!ReadText(json, "REQUEST_TYPE", name)) {
        return false;
    }
    for (TRequest::TType candidate : {TRequest::GET_PARAM, TRequest::SET_PARAM, TRequest::GET_FILE}) {
        if (name == TYPE_NAMES[candidate]) {
            type = candidate;
            return true;
        }
    }
    return false;
}

// A missing "COMMIT" is false.
bool ReadCommit(const TZeltoJsonObject& json, bool& commit) {
    if (!json.HasProperty("COMMIT")) {
        return true;
    }
    commit = json.GetJsonValue<bool>(json.GetJsonObject("COMMIT", NO_ELEMENT), false);
    return json.GetPropertyType("COMMIT") == JSON_TYPE_BOOLEAN;
}

std::string Escape(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        auto byte = static_cast<unsigned char>(c);
        if (c == '\\') {
            escaped += "\\\\";
        } else if (byte < 0x20 || byte == 0x7f) {
            char octal[5];
            (void)std::snprintf(octal, sizeof(octal), "\\%03o", unsigned{byte});
            escaped += octal;
        } else {
            escaped += c;
        }
    }
    return escaped;
}

} // namespace

std::string DecodeRequest(const std::string& text, TRequest& request) {
    TZeltoJsonObject json;
    if (!json.DecodeFromString(text)) {
        return "the request is no JSON text";
    }
    if (!ReadType(json, request.type)) {
        return "REQUEST_TYPE is missing or not known";
    }
    const char* nameKey = request.type == TRequest::GET_FILE ? "FILE_NAME" : "NAME";
    if (!ReadText(json, nameKey, request.name) || request.name.empty()) {
        return std::string(nameKey) + " is missing";
    }
    if (request.type != TRequest::SET_PARAM) {
        return "";
    }
    if (!ReadText(json, "VALUE", request.value)) {
        return "VALUE is missing or no text";
    }
    return ReadCommit(json, request.commit) ? "" : "COMMIT is no boolean";
}

std::string Describe(const TRequest& request) {
    std::string name = Escape(request.name.substr(0, LONGEST_LOGGED_NAME));
    return std::string(TYPE_NAMES[request.type]) + " " + name +
           (request.name.size() > LONGEST_LOGGED_NAME ? "..." : "");
}

} // namespace remoted
