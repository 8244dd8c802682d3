// Feeds answers to every request of the application side, in C++ and in C, and holds what comes out against
// what jansson reads.
//
// Input: request, status, text of the answer. A status other than 0 gives -1 and leaves the outputs alone;
// texts in records are cut to 255 bytes and terminated.
#include "ExpectedAnswer.h"
#include "FuzzInput.h"
#include "ScriptedIpc.h"

#include "app/NameMatch.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoJsonObject.h"
#include "zelto/ZeltoAppLib.h"

#include <iterator>

namespace {

using fuzz::Require;
using fuzz::TExpectedAnswer;
using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

constexpr const char* NAME = "Device.WiFi.SSID.1.SSID";

TZeltoApplication& Application() {
    return TZeltoApplication::GetInstance();
}

// Whether the request succeeded, as it must have exactly when the status was 0.
bool Succeeded(int code) {
    Require(code == (fuzz::Ipc().code == 0 ? 0 : -1), "the status becomes 0 or -1");
    (void)fuzz::RequireObject(fuzz::Ipc().request, "a request is a JSON object");
    return code == 0;
}

void RequireParams(const TParams& params, const TExpectedAnswer& expected) {
    Require(params.size() == expected.params.size(), "every entry becomes a parameter");
    for (std::size_t i = 0; i < params.size(); ++i) {
        Require(params[i].name == expected.params[i].first, "a name is read as it stands");
        Require(params[i].value == expected.params[i].second, "a value is read as it stands");
    }
}

void RequireField(const char (&field)[ZELTO_TEXT_SIZE], const std::string& text) {
    Require(fuzz::IsTerminated(field), "a field is terminated");
    Require(text.compare(0, ZELTO_TEXT_SIZE - 1, field) == 0, "a field has what fits of the text");
}

void RequireRecords(const tZeltoParamArray& array, const TExpectedAnswer& expected) {
    Require(array.count == expected.params.size(), "every entry becomes a record");
    for (std::size_t i = 0; i < expected.params.size(); ++i) {
        RequireField(array.params[i].name, expected.params[i].first);
        RequireField(array.params[i].value, expected.params[i].second);
    }
}

void GetParams(const TExpectedAnswer& expected) {
    TParams params{{"kept", "kept"}};
    const bool done = Succeeded(Application().GetParam(NAME, params));
    RequireParams(params,
                  done ? expected : TExpectedAnswer(R"({"PARAMS": [{"NAME": "kept", "VALUE": "kept"}]})"));
}

void GetValue(const TExpectedAnswer& expected) {
    std::string value = "kept";
    const bool done = Succeeded(Application().GetParam(NAME, value));
    Require(value == (done && !expected.params.empty() ? expected.params.front().second : "kept"),
            "the first value is the answer");
}

void GetDocument(const TExpectedAnswer& expected) {
    TZeltoJsonObject document;
    const bool done = Succeeded(Application().GetParam(NAME, document));
    Require(document.GetJsonArraySize("PARAMS") == (done ? expected.params.size() : 0),
            "every entry is handed on");
    TParams params;
    Application().PopulateParamArray(document, params);
    RequireParams(params, done ? expected : TExpectedAnswer(""));
}

void GetRecord(const TExpectedAnswer& expected) {
    tZeltoParamRequest request{};
    const bool done = Succeeded(zeltoAppLibGetParam(&request));
    Require(request.isArray == (done && expected.params.size() != 1), "several answers are an array");
    if (request.isArray) {
        RequireRecords(request.paramArray, expected);
    } else {
        RequireField(request.param.value, done ? expected.params.front().second : "");
    }
    zeltoAppLibReleaseParamRequest(&request);
}

void GetArray(const TExpectedAnswer& expected) {
    TParams params{{NAME, ""}};
    if (Succeeded(Application().GetParamArray(params))) {
        RequireParams(params, expected);
    }
    tZeltoParamArray array{};
    zeltoAppLibAllocateParamArray(&array, 1);
    if (Succeeded(zeltoAppLibGetParamArray(&array))) {
        RequireRecords(array, expected);
    } else {
        Require(array.count == 1, "a failure leaves the array alone");
    }
    zeltoAppLibReleaseParamArray(&array);
}

// Each parameter goes to the first name that it matches, and to no other.
void GetSorted(const TExpectedAnswer& expected) {
    const std::vector<std::string> names = {"Device.WiFi.SSID.*.SSID", "", NAME, "A.*.B.*"};
    std::vector<std::vector<std::pair<std::string, std::string>>> results;
    if (!Succeeded(Application().GetParamArray(names, results))) {
        Require(results.empty(), "a failure leaves the results alone");
        return;
    }
    std::vector<std::vector<std::pair<std::string, std::string>>> sorted(names.size());
    for (const auto& param : expected.params) {
        const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
            return zelto::NamesMatch(name, param.first);
        });
        if (found != names.end()) {
            sorted[static_cast<std::size_t>(found - names.begin())].push_back(param);
        }
    }
    Require(results == sorted, "the results are sorted by requested name");
}

void Add(const TExpectedAnswer& expected) {
    int id = -7;
    const bool done = Succeeded(Application().AddObject("Device.WiFi.SSID.", id));
    Require(id == (done ? expected.id : -7), "the instance is the answer");
    int again = -7;
    (void)Succeeded(zeltoAppLibAddObjectInstance("Device.WiFi.SSID.", &again));
    Require(again == id, "both interfaces read the same instance");
}

void GetIds(const TExpectedAnswer& expected) {
    std::vector<int> ids{-7};
    const bool done = Succeeded(Application().GetObjectIds("Device.WiFi.SSID.", ids));
    Require(ids == (done ? expected.ids : std::vector<int>{-7}), "the instances are the answer");
    tZeltoObjectIdsRequest request{};
    if (Succeeded(zeltoAppLibGetObjectIds(&request))) {
        Require(std::equal(request.ids, request.ids + request.count, ids.begin(), ids.end()),
                "both interfaces read the same instances");
    }
    zeltoAppLibReleaseObjectIdsRequest(&request);
}

void GetObject(const TExpectedAnswer& expected) {
    TParams params{{NAME, ""}};
    if (Succeeded(Application().GetObject("Device.WiFi.SSID.1.", params))) {
        RequireParams(params, expected);
    }
    tZeltoObjectRequest request{};
    zeltoAppLibAllocateObjectRequest(&request, 1);
    if (Succeeded(zeltoAppLibGetObject(&request))) {
        RequireRecords(request.paramArray, expected);
    }
    zeltoAppLibReleaseObjectRequest(&request);
}

void GetIndexMap(const TExpectedAnswer& expected) {
    fuzz::Ipc().request = "{}";
    decltype(expected.indexMap) indexMap;
    const int code = Application().GetIndexMap(indexMap);
    Require(fuzz::Ipc().request.empty(), "the index map is asked for without a body");
    Require(indexMap == (code == 0 ? expected.indexMap : TExpectedAnswer("").indexMap),
            "the index map is the answer");
    tZeltoIndexMapRequest request{};
    Require(zeltoAppLibGetIndexMapping(&request) == code, "both interfaces end alike");
    Require(request.count == indexMap.size(), "both interfaces read the same tables");
    for (uint32_t i = 0; i < request.count; ++i) {
        Require(fuzz::IsTerminated(request.maps[i].name), "the name of a table is terminated");
    }
    zeltoAppLibReleaseIndexMapRequest(&request);
}

void GetLong(const TExpectedAnswer& expected) {
    tZeltoLongParamRequest request{};
    if (Succeeded(zeltoAppLibGetLongParam(&request))) {
        Require(request.size == expected.value.size() + 1 && expected.value == request.value,
                "the whole value is the answer");
    } else {
        Require(request.value == nullptr && request.size == 0, "a failure leaves the record alone");
    }
    zeltoAppLibReleaseLongParamRequest(&request);
}

// Their answers are not read.
void Change(const TExpectedAnswer&) {
    const TParams params{{NAME, "a"}, {"b", ""}};
    (void)Succeeded(Application().SetParam(NAME, "a", true));
    (void)Succeeded(Application().SetParamArray(params, false));
    (void)Succeeded(Application().SetObject("Device.WiFi.SSID.1.", params, true));
    (void)Succeeded(Application().RemoveObject("Device.WiFi.SSID.1."));
}

void AskActive(const TExpectedAnswer&) {
    const bool answers = fuzz::Ipc().code == 0;
    bool isActive = !answers;
    Require(Application().IsAppActive(ZELTO_KESTA, isActive) == (answers ? 0 : -1) && isActive == answers,
            "whoever answers 0 is active");
}

constexpr void (*REQUESTS[])(const TExpectedAnswer&) = {
    GetParams, GetValue,  GetDocument, GetRecord, GetArray, GetSorted, Add,
    GetIds,    GetObject, GetIndexMap, GetLong,   Change,   AskActive,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::TInput input(data, size);
    const std::size_t request = input.Byte() % std::size(REQUESTS);
    fuzz::Ipc().code = static_cast<std::int8_t>(input.Byte());
    fuzz::Ipc().answer = input.Rest();
    REQUESTS[request](TExpectedAnswer(fuzz::Ipc().answer));
    return 0;
}
