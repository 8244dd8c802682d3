// Requests of an application, in C++ and in C, while memory runs out.

#include "ScriptedIpc.h"
#include "ScriptedPeer.h"
#include "WithoutMemory.h"

#include "ipc/TextLimit.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoJsonObject.h"
#include "zelto/ZeltoAppLib.h"

#include <cstring>
#include <memory>

using memory::TOutcome;
using memory::TSpared;
using memory::TWithoutMemory;

namespace {

using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

constexpr const char* NAME = "Device.WiFi.SSID.1.SSID";
// Longer than what a std::string holds itself, and with an escape, so that jansson reads it.
constexpr const char* PARAMS =
    R"({"STATUS": "OK", "PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "the first of all values\n"},)"
    R"( {"NAME": "Device.WiFi.SSID.2.SSID", "VALUE": "b"}]})";

TZeltoApplication& App() {
    return TZeltoApplication::GetInstance();
}

// A record that is released whatever happens.
template <typename TRecord, void (*Release)(TRecord*)>
struct TOwned : TRecord {
    TOwned() : TRecord{} {}
    ~TOwned() { Release(this); }
    TOwned(const TOwned&) = delete;
    TOwned& operator=(const TOwned&) = delete;
};

void ReleaseParamRemote(tZeltoParamRemoteRequest* request) {
    zeltoAppLibReleaseParamRequest(&request->request);
}

TOutcome Written(int code, const TParams& params) {
    const TSpared own;
    TOutcome outcome = std::to_string(code) + " ";
    for (const TZeltoApplication::TZeltoAppParam& param : params) {
        outcome += param.name + "=" + param.value + ";";
    }
    return outcome;
}

TOutcome Written(int code, const tZeltoParamArray& array) {
    const TSpared own;
    TParams params;
    for (uint32_t i = 0; i < array.count; ++i) {
        params.push_back({array.params[i].name, array.params[i].value});
    }
    return Written(code, params);
}

TOutcome Written(int code, const std::string& text) {
    const TSpared own;
    return std::to_string(code) + " " + text;
}

class ApplicationWithoutMemory : public testing::Test {
protected:
    static void SetUpTestSuite() { memory::Install(); }

    static void Examine(const char* answer, const memory::TRequest& request) {
        fuzz::Ipc().answer = answer;
        const TOutcome expected = request();
        ASSERT_TRUE(memory::HasSucceeded(expected)) << expected;
        ASSERT_GT(expected.size(), 2U) << "nothing was read";
        TWithoutMemory(request, expected).Examine();
    }

    static void ExamineRemote(const char* json, const std::string& blob, const memory::TRequest& request) {
        const uint32_t sizes[] = {static_cast<uint32_t>(std::strlen(json)),
                                  static_cast<uint32_t>(blob.size())};
        const std::string head(reinterpret_cast<const char*>(sizes), sizeof(sizes));
        const std::string framed = head + json + blob;
        Examine("", [&] {
            {
                const TSpared own;
                fuzz::Peer() = fuzz::TPeer{};
                fuzz::Peer().sends = framed;
            }
            return request();
        });
        EXPECT_EQ(fuzz::Peer().opened, fuzz::Peer().closed);
        fuzz::Peer() = fuzz::TPeer{};
    }
};

TEST_F(ApplicationWithoutMemory, GetsParams) {
    Examine(PARAMS, [] {
        TParams params;
        const int code = App().GetParam(NAME, params);
        return Written(code, params);
    });
}

// One that was made without memory is no object, and would stay as it is.
TZeltoJsonObject NewDocument() {
    const memory::TSpared own;
    return {};
}

TEST_F(ApplicationWithoutMemory, GetsADocument) {
    Examine(PARAMS, [] {
        TZeltoJsonObject document = NewDocument();
        const int code = App().GetParam(NAME, document);
        return Written(code, document.GetJsonArraySize("PARAMS") == 2 ? "both" : "");
    });
}

TEST_F(ApplicationWithoutMemory, GetsAnArray) {
    Examine(PARAMS, [] {
        TParams params(20, {NAME, ""});
        const int code = App().GetParamArray(params);
        return Written(code, params);
    });
}

// Far more than any text can hold gets no more room than a text can have.
TEST(LongList, TakesNoMoreMemoryThanTheLongestText) {
    TParams params(500000);
    memory::ResetLargest();
    EXPECT_EQ(0, App().GetParamArray(params));
    EXPECT_LT(memory::Largest(), zelto::MAX_TEXT_LENGTH + 1000);
}

TEST_F(ApplicationWithoutMemory, SortsAnArray) {
    Examine(PARAMS, [] {
        std::vector<std::vector<std::pair<std::string, std::string>>> results;
        const int code = App().GetParamArray({"Device.WiFi.SSID.*.SSID", NAME}, results);
        return Written(code, code == 0 ? results.front().back().first : "");
    });
}

TEST_F(ApplicationWithoutMemory, SetsWhatItIsTold) {
    Examine(PARAMS, [] {
        const TParams params{{NAME, "a value that is on the heap"}, {"b", "c"}};
        int code = App().SetParam(NAME, "a", true);
        code = code == 0 ? App().SetParamArray(params, true) : code;
        code = code == 0 ? App().SetObject("Device.WiFi.SSID.1.", params, true) : code;
        code = code == 0 ? App().RemoveObject("Device.WiFi.SSID.1.") : code;
        return Written(code, "set");
    });
}

TEST_F(ApplicationWithoutMemory, AddsAnInstance) {
    Examine(R"({"ID": 7})", [] {
        int id = 0;
        const int code = App().AddObject("Device.WiFi.SSID.", id);
        return Written(code, std::to_string(id));
    });
}

TEST_F(ApplicationWithoutMemory, GetsInstances) {
    Examine(R"({"COUNT": 2, "IDS": [1, 7]})", [] {
        std::vector<int> ids;
        const int code = App().GetObjectIds("Device.WiFi.SSID.", ids);
        return Written(code, ids.empty() ? "" : std::to_string(ids.back()));
    });
}

TEST_F(ApplicationWithoutMemory, GetsTheIndexMap) {
    Examine(
        R"({"DATA_MODELS": [{"NAME": "Device.A.", "INDEX_MAP": [{"APP_INDEX": 1, "PLATFORM_INDEX": 5}]}]})",
        [] {
            std::unordered_map<std::string, std::vector<std::pair<int, int>>> indexMap;
            const int code = App().GetIndexMap(indexMap);
            return Written(code, indexMap.empty() ? "" : indexMap.begin()->first);
        });
}

TEST_F(ApplicationWithoutMemory, AsksWhoIsActive) {
    Examine("", [] {
        bool isActive = false;
        const int code = App().IsAppActive(ZELTO_SOFTWARE_UPDATER, isActive);
        return Written(code, isActive ? "active" : "");
    });
}

TEST_F(ApplicationWithoutMemory, FillsAParamRecord) {
    Examine(PARAMS, [] {
        TOwned<tZeltoParamRequest, zeltoAppLibReleaseParamRequest> request;
        const int code = zeltoAppLibGetParam(&request);
        return Written(code, request.paramArray);
    });
}

TEST_F(ApplicationWithoutMemory, KeepsAnArrayThatItCannotReplace) {
    Examine(PARAMS, [] {
        TOwned<tZeltoParamArray, zeltoAppLibReleaseParamArray> array;
        zeltoAppLibAllocateParamArray(&array, 3);
        try {
            const int code = zeltoAppLibGetParamArray(&array);
            return Written(code, array);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(3U, array.count);
            throw;
        }
    });
}

TEST_F(ApplicationWithoutMemory, FillsAnObjectRecord) {
    Examine(PARAMS, [] {
        TOwned<tZeltoObjectRequest, zeltoAppLibReleaseObjectRequest> request;
        zeltoAppLibAllocateObjectRequest(&request, 1);
        int code = zeltoAppLibSetObject(&request, true);
        code = code == 0 ? zeltoAppLibGetObject(&request) : code;
        return Written(code, request.paramArray);
    });
}

TEST_F(ApplicationWithoutMemory, FillsAnIdsRecord) {
    Examine(R"({"IDS": [1, 7]})", [] {
        TOwned<tZeltoObjectIdsRequest, zeltoAppLibReleaseObjectIdsRequest> request;
        const int code = zeltoAppLibGetObjectIds(&request);
        return Written(code, request.count == 2 ? "both" : "");
    });
}

TEST_F(ApplicationWithoutMemory, FillsAnIndexMapRecord) {
    Examine(
        R"({"DATA_MODELS": [{"NAME": "Device.A.", "INDEX_MAP": [{"APP_INDEX": 1, "PLATFORM_INDEX": 5}]}]})",
        [] {
            TOwned<tZeltoIndexMapRequest, zeltoAppLibReleaseIndexMapRequest> request;
            const int code = zeltoAppLibGetIndexMapping(&request);
            return Written(code, request.count == 1 ? request.maps[0].name : "");
        });
}

TEST_F(ApplicationWithoutMemory, FillsALongRecord) {
    Examine(R"({"VALUE": "a value that is on the heap"})", [] {
        TOwned<tZeltoLongParamRequest, zeltoAppLibReleaseLongParamRequest> request;
        const int code = zeltoAppLibGetLongParam(&request);
        return Written(code, request.value != nullptr ? request.value : "");
    });
}

TZeltoJsonObject EmptyObject() {
    const TSpared own;
    return TZeltoJsonObject();
}

// A want of memory is not reported as a text that is not UTF-8, and leaves the document as it was.
TEST(ParamArrayToJson, WritesAllOrThrowsBadAllocWithoutMemory) {
    memory::Install();
    const TParams params{{NAME, "the first of all values"}, {"Device.WiFi.SSID.2.SSID", "b"}};
    const auto write = [&params] {
        TZeltoJsonObject json = EmptyObject();
        TOutcome outcome = "0 ";
        try {
            App().ParamArrayToJson(params, json);
        } catch (const std::bad_alloc&) {
            outcome = "without ";
        } catch (const std::exception&) {
            outcome = "0 with another exception ";
        }
        const TSpared own;
        const std::string text = json.EncodeToString();
        return outcome == "without " && text != "{}" ? "0 half " + text : outcome + text;
    };
    TWithoutMemory(write, R"(0 {"PARAMS": [{"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "the first of all )"
                          R"(values"}, {"NAME": "Device.WiFi.SSID.2.SSID", "VALUE": "b"}]})")
        .Examine();
}

TEST_F(ApplicationWithoutMemory, GetsParamsOfAPeer) {
    ExamineRemote(PARAMS, "", [] {
        TOwned<tZeltoParamRemoteRequest, ReleaseParamRemote> request;
        (void)std::strcpy(request.remoteAddress, "127.0.0.1");
        const int code = zeltoAppLibGetParamRemote(&request);
        return Written(code, request.request.paramArray);
    });
}

TEST_F(ApplicationWithoutMemory, GetsAFileOfAPeer) {
    ExamineRemote(R"({"STATUS": "OK"})", "the content of a file", [] {
        TOwned<tZeltoLongParamRemoteRequest, zeltoAppLibReleaseLongParamRemote> request;
        (void)std::strcpy(request.remoteAddress, "127.0.0.1");
        const int code = zeltoAppLibGetFileRemote(&request);
        return Written(code, std::string(request.request.value, request.request.size));
    });
}

} // namespace
