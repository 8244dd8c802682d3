// The application side's half of the recorded conversation: every request with many answers, and what went
// over the bus, the log said and the caller got for it.

#include "abi/Transcript.h"
#include "bus/ScriptedManager.h"

#include "zelto/TZeltoJsonObject.h"
#include "zelto/ZeltoAppLib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr int NOTICE_LEVEL = 5;

using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

struct TAnswer {
    std::string text;
    int32_t code;
};

const std::vector<TAnswer> ANSWERS = {
    {R"({"PARAMS": [{"NAME": "Device.X", "VALUE": "1"}], "ID": 7, "COUNT": 2, "IDS": [4, 2], "VALUE": "long", )"
     R"("DATA_MODELS": [{"NAME": "Device.T.", "INDEX_MAP": [{"APP_INDEX": 1, "PLATFORM_INDEX": 5}]}]})",
     0},
    {R"({"PARAMS": [{"NAME": "Device.T.1.X", "VALUE": "1"}, {"NAME": "Device.T.2.X", "VALUE": "\u00fc"}], "IDS": []})",
     0},
    {R"({"ID": 2147483648, "IDS": [2147483648, -2147483649, 4294967297, 9223372036854775807, -1]})", 0},
    {R"({"ID": 1.5, "IDS": [1.5, "2", null, true], "PARAMS": [1, null, {"NAME": 1, "VALUE": null}], "VALUE": 5})",
     0},
    {R"({"DATA_MODELS": [{"NAME": "Device.T.", "INDEX_MAP": [{"APP_INDEX": 4294967297, "PLATFORM_INDEX": "1"}, {}]}, )"
     R"({"NAME": "Device.U.", "INDEX_MAP": null}, {}]})",
     0},
    {R"({"PARAMS": null, "IDS": null, "DATA_MODELS": null, "VALUE": null, "ID": null})", 0},
    {R"({"PARAMS": {}, "IDS": {}, "DATA_MODELS": {}})", 0},
    {"{}", 0},
    {"[]", 0},
    {"{", 0},
    {"", 0},
    {"", -1},
    {R"({"PARAMS": [{"NAME": "Device.X", "VALUE": "1"}]})", 5},
    {R"({"VALUE": "x"})", -2147483647 - 1},
};

std::string Written(const TParams& params) {
    std::string text = std::to_string(params.size());
    for (const TZeltoApplication::TZeltoAppParam& param : params) {
        text += " " + param.name + "=" + param.value;
    }
    return text;
}

std::string Written(const std::vector<int>& numbers) {
    std::string text = std::to_string(numbers.size());
    for (const int number : numbers) {
        text += " " + std::to_string(number);
    }
    return text;
}

std::string Result(int code, const std::string& output) {
    return std::to_string(code) + " " + output;
}

TZeltoApplication& App() {
    return TZeltoApplication::GetInstance();
}

const TParams ASKED = {{"Device.X", "a"}, {"Device.\xc3\x9c", "b \"\\\n"}};

std::string GetIndexMap() {
    std::unordered_map<std::string, std::vector<std::pair<int, int>>> map;
    const int code = App().GetIndexMap(map);
    std::vector<std::string> entries;
    for (const auto& [name, pairs] : map) {
        entries.push_back(name);
        for (const auto& [first, second] : pairs) {
            entries.back() += " " + std::to_string(first) + ":" + std::to_string(second);
        }
    }
    std::sort(entries.begin(), entries.end()); // a hash map has its own order on each machine
    std::string text;
    for (const std::string& entry : entries) {
        text += "[" + entry + "]";
    }
    return Result(code, text);
}

std::string GetByNames() {
    std::vector<std::vector<std::pair<std::string, std::string>>> results;
    const int code = App().GetParamArray({"Device.T.*.X", "Device.X"}, results);
    std::string text;
    for (const auto& result : results) {
        text += "[";
        for (const auto& [name, value] : result) {
            text += name + "=" + value + ";";
        }
        text += "]";
    }
    return Result(code, text);
}

std::string GetInC() {
    tZeltoParamRequest request{};
    std::strcpy(request.param.name, "Device.X");
    const int code = zeltoAppLibGetParam(&request);
    std::string text = std::string(request.param.value) + (request.isArray ? " array" : " one");
    for (uint32_t i = 0; i < request.paramArray.count; ++i) {
        text +=
            std::string(" ") + request.paramArray.params[i].name + "=" + request.paramArray.params[i].value;
    }
    zeltoAppLibReleaseParamRequest(&request);
    return Result(code, text);
}

std::string GetLongInC() {
    tZeltoLongParamRequest request{};
    std::strcpy(request.name, "Device.X");
    const int code = zeltoAppLibGetLongParam(&request);
    const std::string text = request.value == nullptr ? "(null)" : request.value;
    const std::string size = " " + std::to_string(request.size);
    zeltoAppLibReleaseLongParamRequest(&request);
    return Result(code, text + size);
}

std::string GetIdsInC() {
    tZeltoObjectIdsRequest request{};
    std::strcpy(request.name, "Device.T.");
    const int code = zeltoAppLibGetObjectIds(&request);
    const std::string text = Written(std::vector<int>(request.ids, request.ids + request.count));
    zeltoAppLibReleaseObjectIdsRequest(&request);
    return Result(code, text);
}

using TRequest = std::pair<const char*, std::function<std::string()>>;

const std::vector<TRequest> REQUESTS = {
    {"get list",
     [] {
         TParams params = ASKED;
         const int code = App().GetParam("Device.T.*.X", params);
         return Result(code, Written(params));
     }},
    {"get value",
     [] {
         std::string value = "untouched";
         const int code = App().GetParam("Device.X", value);
         return Result(code, value);
     }},
    {"get JSON",
     [] {
         TZeltoJsonObject json;
         const int code = App().GetParam("Device.X", json);
         return Result(code, json.EncodeToString());
     }},
    {"set", [] { return Result(App().SetParam("Device.X", "v\xc3\xbc", true), ""); }},
    {"set other bytes", [] { return Result(App().SetParam("Device.X", "\xff", false), ""); }},
    {"get array",
     [] {
         TParams params = ASKED;
         const int code = App().GetParamArray(params);
         return Result(code, Written(params));
     }},
    {"get by names", GetByNames},
    {"set array", [] { return Result(App().SetParamArray(ASKED, true), ""); }},
    {"set empty array", [] { return Result(App().SetParamArray({}, false), ""); }},
    {"add",
     [] {
         int instance = -77;
         const int code = App().AddObject("Device.T.", instance);
         return Result(code, std::to_string(instance));
     }},
    {"remove", [] { return Result(App().RemoveObject("Device.T.3."), ""); }},
    {"ids",
     [] {
         std::vector<int> ids = {9};
         const int code = App().GetObjectIds("Device.T.", ids);
         return Result(code, Written(ids));
     }},
    {"get object",
     [] {
         TParams params = ASKED;
         const int code = App().GetObject("Device.T.1.", params);
         return Result(code, Written(params));
     }},
    {"set object", [] { return Result(App().SetObject("Device.T.1.", ASKED, false), ""); }},
    {"index map", GetIndexMap},
    {"get in C", GetInC},
    {"get long in C", GetLongInC},
    {"ids in C", GetIdsInC},
};

class Conversation : public support::ManagedApplication {
protected:
    void Exchange(const TRequest& request, const TAnswer& answer) {
        manager.Answer(answer.text, answer.code);
        manager.Peer().ClearReceived();
        const std::string result = request.second();
        transcript.Add(std::string("call ") + request.first);
        for (const support::TRawMessage& call : manager.Peer().Received(&support::TRawMessage::IsCall)) {
            transcript.Add("  sent " + call.path + " " + call.interface + "." + call.member + " " +
                           call.signature + " " + call.Text(0));
        }
        transcript.Add("  answer " + std::to_string(answer.code) + " " + answer.text);
        transcript.AddLog(NOTICE_LEVEL);
        transcript.Add("  result " + result);
    }

    contract::TTranscript transcript;
};

TEST_F(Conversation, OfTheApplicationSideIsTheRecordedOne) {
    for (const TRequest& request : REQUESTS) {
        for (const TAnswer& answer : ANSWERS) {
            Exchange(request, answer);
        }
    }
    transcript.ExpectRecorded("conversation_application.txt");
}

} // namespace
