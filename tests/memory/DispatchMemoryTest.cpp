// Requests that reach the dispatcher while memory runs out.

#include "ScriptedIpc.h"
#include "WithoutMemory.h"

#include "platform/FunctionMap.h"
#include "platform/IndexMaps.h"
#include "support/TempDir.h"
#include "zelto/ZeltoPlatformOps.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <numeric>
#include <string_view>
#include <vector>

using memory::TWithoutMemory;

namespace {

// Handlers that allocate nothing but what the library is to release.
int32_t Get(void* record) {
    (void)std::strcpy(static_cast<tZeltoPlatformRequest*>(record)->value, "Device.Ethernet.Interface.5");
    return PLT_SUCCESS;
}

int32_t GetLong(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    request.longValue = static_cast<char*>(std::calloc(1, 2000));
    std::memset(request.longValue, 'v', 1999);
    return PLT_SUCCESS;
}

int32_t Accept(void* /*record*/) {
    return PLT_SUCCESS;
}

int32_t GetIds(void* record) {
    const int32_t numbers[] = {3, 1, 2, 5};
    std::memcpy(static_cast<tZeltoPlatformRequest*>(record)->value, numbers, sizeof(numbers));
    return PLT_SUCCESS;
}

int32_t GetObject(void* record) {
    auto& request = *static_cast<tZeltoPlatformObjectRequest*>(record);
    for (int32_t i = 0; i < request.paramCount; ++i) {
        (void)std::strcpy(request.params[i].value, "a value that is on the heap");
    }
    return PLT_SUCCESS;
}

tZeltoPltFunctionTable Entry(const char* name, tZeltoPltHandler get) {
    tZeltoPltFunctionTable entry{};
    entry.name = name;
    entry.handlerName = "handler";
    entry.paramChangeEvent = true;
    const tZeltoPltHandlerSlot slots[] = {
        {PLT_REQUEST_GET_PARAM, get},        {PLT_REQUEST_SET_PARAM, Accept},
        {PLT_REQUEST_GET_OBJECT, GetObject}, {PLT_REQUEST_SET_OBJECT, Accept},
        {PLT_REQUEST_ADD_OBJECT, GetIds},    {PLT_REQUEST_DELETE_OBJECT, Accept},
        {PLT_REQUEST_GET_OBJECT_IDS, GetIds}};
    std::copy(std::begin(slots), std::end(slots), entry.handlers);
    return entry;
}

memory::TOutcome Ask(const char* method, const char* input) {
    char* answer = nullptr;
    const int status = zeltoPlatformMethodsHandler(method, input, &answer);
    const memory::TSpared own;
    const memory::TOutcome outcome = std::to_string(status) + " " + (answer != nullptr ? answer : "");
    zeltoPlatformDealloc(answer);
    fuzz::Ipc().events.clear();
    return outcome;
}

struct TMethodRequest {
    const char* method;
    const char* input;
};

void PrintTo(const TMethodRequest& request, std::ostream* out) {
    *out << request.method << ' ' << request.input;
}

class DispatchWithoutMemory : public testing::TestWithParam<TMethodRequest> {
protected:
    static void SetUpTestSuite() {
        memory::Install();
        const tZeltoPltFunctionTable entries[] = {Entry("*", Get), Entry("Device.Long", GetLong)};
        zelto::AddFunctionTable(entries, static_cast<int32_t>(std::size(entries)));
    }
};

TEST_P(DispatchWithoutMemory, FailsOrAnswersAsAlways) {
    const TMethodRequest& examined = GetParam();
    const auto ask = [&examined] { return Ask(examined.method, examined.input); };
    const memory::TOutcome expected = ask();
    ASSERT_TRUE(memory::HasSucceeded(expected)) << expected;
    TWithoutMemory(ask, expected).Examine();
}

// With an escape, a text is read by jansson.
INSTANTIATE_TEST_SUITE_P(
    EveryMethod, DispatchWithoutMemory,
    testing::Values(
        TMethodRequest{"GET_PARAM", R"({"NAME": "Device.Ethernet.Interface.1.Enable"})"},
        TMethodRequest{"GET_PARAM", R"({"NAME": "Device.Ethernet.Interface.\u0031.Enable"})"},
        TMethodRequest{"GET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID"})"},
        TMethodRequest{"SET_PARAM", R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "1", "COMMIT": true})"},
        TMethodRequest{"SET_PARAM", R"({"NAME": "Device.WiFi.SSID.*.SSID", "VALUE": "\n", "COMMIT": true})"},
        TMethodRequest{"GET_LONG_PARAM", R"({"NAME": "Device.Long"})"},
        TMethodRequest{"SET_LONG_PARAM", R"({"NAME": "Device.WiFi.SSID.1.SSID", "VALUE": "\t"})"},
        TMethodRequest{"GET_PARAM_ARRAY", R"({"PARAMS": [{"NAME": "Device.A"}, {"NAME": "Device.\u0042"}]})"},
        TMethodRequest{"SET_PARAM_ARRAY", R"({"PARAMS": [{"COMMIT": true, "VALUE": "1", "NAME": "A\n"}]})"},
        TMethodRequest{"GET_OBJECT",
                       R"({"PARAMS": [{"NAME": "Device.WiFi.SSID.*.SSID"}], "ROOT": "Device.WiFi.SSID.1."})"},
        TMethodRequest{"SET_OBJECT", R"({"PARAMS": [{"NAME": "Device.\u0041", "VALUE": "1"}], "ROOT": "D"})"},
        TMethodRequest{"ADD_OBJECT_INSTANCE", R"({"OBJ": "Device.WiFi.SSID."})"},
        TMethodRequest{"DELETE_OBJECT_INSTANCE", R"({"OBJ": "Device.WiFi.SSID\u002e1"})"},
        TMethodRequest{"GET_OBJECT_INSTANCES", R"({"OBJ": "Device.WiFi.SSID"})"},
        TMethodRequest{"GET_INDEX_MAP", ""}));

TEST_F(DispatchWithoutMemory, AsksForNoMoreMemoryThanTheRequestBeforeTheFirstNameIsServed) {
    std::string list = R"({"PARAMS": [{"NAME": "Device.99999999999."})";
    constexpr int ENTRIES = 100000;
    for (int entry = 0; entry < ENTRIES; ++entry) {
        list += R"(, {"NAME": "Device.A"})";
    }
    list += "]}";
    memory::ResetLargest();
    EXPECT_EQ("-1 ", Ask("GET_PARAM_ARRAY", list.c_str()));
    // The list itself takes the size of two views and a flag for each entry, and room for as many again.
    EXPECT_LT(memory::Largest(), ENTRIES * (2 * sizeof(std::string_view) + sizeof(void*)) * 3 / 2);
}

// Nor any elements.
TEST_F(DispatchWithoutMemory, MakesNoRecordsOfAnObjectRequestThatIsTooLong) {
    constexpr int ENTRIES = 700000;
    std::string list = R"({"PARAMS": [{})";
    for (int entry = 1; entry < ENTRIES; ++entry) {
        list += ",{}";
    }
    list += "]}";
    LogSpy::SetRecording(false); // megabytes
    for (const char* const method : {"GET_OBJECT", "SET_OBJECT"}) {
        memory::ResetLargest();
        EXPECT_EQ("-1 ", Ask(method, list.c_str())) << method;
        EXPECT_LT(memory::Largest(), ENTRIES * sizeof(TZeltoPlatLibObject)) << method;
    }
    LogSpy::SetRecording(true);
}

// What was allocated and not yet released when each name of a request was served.
std::vector<long> liveBlocks;

int32_t CountBlocks(void* /*record*/) {
    liveBlocks.push_back(memory::Live());
    return PLT_SUCCESS;
}

int32_t GetMostIds(void* record) {
    int32_t numbers[1 + ZELTO_MAX_OBJECT_IDS] = {ZELTO_MAX_OBJECT_IDS};
    std::iota(std::begin(numbers) + 1, std::end(numbers), 1);
    std::memcpy(static_cast<tZeltoPlatformRequest*>(record)->value, numbers, sizeof(numbers));
    return PLT_SUCCESS;
}

TEST_F(DispatchWithoutMemory, HoldsOneNameOfAWildcardAtATime) {
    constexpr long FEW = 20;
    tZeltoPltFunctionTable entries[] = {Entry("Most.{i}.NameOfAPlaceOnTheHeap", CountBlocks),
                                        Entry("Most.", Get)};
    entries[0].handlers[1].handler = CountBlocks;
    entries[0].paramChangeEvent = false;
    entries[1].handlers[PLT_REQUEST_GET_OBJECT_IDS].handler = GetMostIds;
    zelto::AddFunctionTable(entries, static_cast<int32_t>(std::size(entries)));
    for (const char* const method : {"GET_PARAM", "SET_PARAM"}) {
        liveBlocks.clear();
        liveBlocks.reserve(ZELTO_MAX_OBJECT_IDS);
        LogSpy::SetRecording(false);
        const long before = memory::Live();
        EXPECT_EQ('0', Ask(method, R"({"NAME": "Most.*.NameOfAPlaceOnTheHeap"})").front()) << method;
        LogSpy::SetRecording(true);
        ASSERT_EQ(std::size_t{ZELTO_MAX_OBJECT_IDS}, liveBlocks.size()) << method;
        EXPECT_LT(*std::max_element(liveBlocks.begin(), liveBlocks.end()), before + FEW) << method;
    }
}

TEST_F(DispatchWithoutMemory, LoadsAnIndexMapWholeOrNotAtAll) {
    const support::TTempDir folder;
    const std::string path = folder.Write(
        "map", R"({"DATA_MODELS": [{"NAME": "Device.Ethernet.Interface.", "INDEX_MAP": [{"1": "5"}]}]})");
    const auto load = [&path] {
        const bool isLoaded = zelto::LoadIndexMapFile(path.c_str());
        return memory::TOutcome(isLoaded ? "0 " : "-1");
    };
    TWithoutMemory(load, "0 ").Examine();
}

} // namespace
