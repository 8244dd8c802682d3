// The platform side's half of the recorded conversation: every method with many names and with odd bodies,
// and what the handlers saw, the log said and the application gets for it.

#include "abi/Transcript.h"
#include "unit/platform/Requests.h"
#include "unit/platform/ScriptedPlatform.h"

#include "protocol/RequestNames.h"

#include <gtest/gtest.h>

namespace {

constexpr int NOTICE_LEVEL = 5;

const std::vector<std::string> NAMES = {
    "Device.X",
    "Device.WiFi.SSID.1.SSID",
    "Device.WiFi.SSID.17.SSID",
    "Device.Ethernet.Interface.1.Name",
    "Device.Ethernet.Interface.5.Name",
    "@Device.Ethernet.Interface.1.Name",
    "Device.Ethernet.Interface.*.Name",
    "@Device.Ethernet.Interface.*.Name",
    "Device.Ethernet.Interface.",
    "Device.Ethernet.Interface.2",
    "Device.A.2147483647.X",
    "Device.A.2147483648.X",
    "Device.A.4294967297.X",
    "Device.A.99999999999999999999.X",
    "Device.A.007.B.0.C",
    "Device.Code2.X",
    "Device.Code11.X",
    "Device.Code99.X",
    "Device.Code-1.X",
    "Device.Long.X",
    "Device.Bytes.X",
    "Device.\xc3\x9c.X",
    "Device.NoEntry.X",
    "*",
    ".",
    "",
};

const std::vector<std::string> ODD_BODIES = {
    "",
    "{",
    "[]",
    "null",
    "{}",
    R"({"NAME": 5, "OBJ": 6, "ROOT": 7})",
    R"({"NAME": null, "OBJ": null, "ROOT": null, "PARAMS": null})",
    R"({"NAME": "Device.X", "VALUE": 2147483648, "COMMIT": "true"})",
    R"({"NAME": "Device.X", "VALUE": "v", "COMMIT": 1})",
    R"({"NAME": "Device.X", "VALUE": "Zeichen \u00fc \u0001 \"\\ /", "COMMIT": false})",
    R"({"PARAMS": []})",
    R"({"PARAMS": {}})",
    R"({"PARAMS": [1, null, "x", [], {}]})",
    R"({"PARAMS": [{"NAME": "Device.X", "VALUE": "1", "COMMIT": true}, {"NAME": "Device.Code1.X"}, {"NAME": "Device.Y"}]})",
    R"({"ROOT": "Device.WiFi.SSID.2", "PARAMS": [{"NAME": "Device.WiFi.SSID.*.SSID"}, {"NAME": "Rel"}]})",
};

// A request for a name, with what its method reads.
std::string Body(size_t method, const std::string& name) {
    const std::string own = R"("NAME": ")" + name + R"(", "VALUE": "v", "COMMIT": true)";
    const std::string both = R"("PARAMS": [{)" + own + R"(}, {"NAME": "Device.Last"}])";
    if (method <= zelto::METHOD_SET_LONG_PARAM) {
        return "{" + own + "}";
    }
    if (method <= zelto::METHOD_SET_PARAM_ARRAY) {
        return "{" + both + "}";
    }
    if (method <= zelto::METHOD_SET_OBJECT) {
        return R"({"ROOT": ")" + name + R"(", "COMMIT": true, )" + both + "}";
    }
    return R"({"OBJ": ")" + name + R"("})";
}

std::string Numbers(const std::vector<int>& numbers) {
    std::string text;
    for (const int number : numbers) {
        text += "/" + std::to_string(number);
    }
    return text;
}

std::string Described(const scripted::TCall& call) {
    std::string text = "  handler " + std::to_string(call.type) + " " + call.paramName +
                       Numbers(call.indices) + " '" + call.value + "' '" + call.longValue + "' " +
                       (call.commit ? "commit" : "-");
    for (const scripted::TElement& element : call.elements) {
        text += " [" + element.paramName + Numbers(element.indices) + " '" + element.value + "']";
    }
    return text;
}

// "Device.Code2.X" asks for the return code 2.
int32_t AskedCode(const std::string& name) {
    constexpr const char* MARK = "Code";
    const size_t at = name.find(MARK);
    return at == std::string::npos ? PLT_SUCCESS : std::stoi(name.substr(at + std::string(MARK).size()));
}

int32_t Get(tZeltoPlatformRequest& request) {
    const std::string name = request.paramName;
    if (name == "Device.Long.X") {
        scripted::AnswerLong(request, std::string(300, 'l'));
    } else if (name == "Device.Bytes.X") {
        scripted::Answer(request, "not \xff UTF-8");
    } else {
        scripted::Answer(request, "value of " + name);
    }
    return AskedCode(name);
}

int32_t ListInstances(tZeltoPlatformRequest& request) {
    scripted::AnswerNumbers(request, {3, 1, 5, 2147483647});
    return AskedCode(request.paramName);
}

int32_t GetObject(tZeltoPlatformObjectRequest& request) {
    for (int32_t i = 0; i < request.paramCount; ++i) {
        (void)std::snprintf(request.params[i].value, sizeof(request.params[i].value), "element %d", i);
    }
    return AskedCode(request.paramName);
}

void InstallHandlers() {
    scripted::Script(PLT_REQUEST_GET_PARAM, Get);
    scripted::Script(PLT_REQUEST_SET_PARAM,
                     [](tZeltoPlatformRequest& request) { return AskedCode(request.paramName); });
    scripted::ScriptObject(PLT_REQUEST_GET_OBJECT, GetObject);
    scripted::ScriptObject(PLT_REQUEST_SET_OBJECT,
                           [](tZeltoPlatformObjectRequest& request) { return AskedCode(request.paramName); });
    scripted::Script(PLT_REQUEST_ADD_OBJECT, [](tZeltoPlatformRequest& request) {
        scripted::AnswerNumbers(request, {-2147483647 - 1});
        return AskedCode(request.paramName);
    });
    scripted::Script(PLT_REQUEST_GET_OBJECT_IDS, ListInstances);
    scripted::Install({scripted::FullEntry("*"), scripted::FullEntry("Device.X", true),
                       scripted::Entry("Device.NoEntry.X", {})});
}

void Exchange(contract::TTranscript& transcript, const char* method, const std::string& body) {
    const size_t before = scripted::Calls().size();
    transcript.Add(std::string("request ") + method + " " + body);
    const scripted::TAnswer answer = scripted::Request(method, body);
    const std::vector<scripted::TCall>& calls = scripted::Calls();
    for (size_t i = before; i < calls.size(); ++i) {
        transcript.Add(Described(calls[i]));
    }
    transcript.AddLog(NOTICE_LEVEL);
    transcript.Add("  answer " + std::to_string(answer.status) + " " + answer.text);
}

TEST(Conversation, OfThePlatformSideIsTheRecordedOne) {
    InstallHandlers();
    contract::TTranscript transcript;
    for (size_t method = 0; method < zelto::METHOD_COUNT; ++method) {
        for (const std::string& name : NAMES) {
            Exchange(transcript, zelto::METHOD_NAMES[method], Body(method, name));
        }
        for (const std::string& body : ODD_BODIES) {
            Exchange(transcript, zelto::METHOD_NAMES[method], body);
        }
    }
    Exchange(transcript, "get_param", Body(zelto::METHOD_GET_PARAM, "Device.X"));
    Exchange(transcript, "IS_APP_ACTIVE", "");
    transcript.ExpectRecorded("conversation_platform.txt");
}

} // namespace
