#include "ScriptedHandlers.h"

#include "FuzzInput.h"

#include "platform/FunctionMap.h"

#include <iterator>

namespace fuzz {

namespace {

enum TOutcome : unsigned { WRITES_SHORT = 3, WRITES_LONG, WRITES_UNTERMINATED, FAILS, THROWS };

constexpr int32_t COUNTS[] = {0, 1, 2, 3, 63, 64, -1, INT32_MAX};

unsigned Outcome() {
    return Script().behaviour & 7U;
}

// Only for outcomes that no handler tells apart.
int32_t Finish() {
    if (Outcome() == THROWS) {
        throw THandlerFailure();
    }
    return Outcome() == FAILS ? Script().behaviour >> 3U : 0;
}

template <std::size_t Size>
void WriteValue(char (&field)[Size]) {
    const std::string& value = Script().value;
    std::memset(field, Outcome() == WRITES_UNTERMINATED ? 'x' : 0, Size);
    std::memcpy(field, value.data(), std::min(value.size(), Size - 1));
}

void RequireIndices(int32_t count, const int32_t* indices) {
    Require(count >= 0 && (count == 0) == (indices == nullptr), "instance numbers come with their count");
    for (int32_t i = 0; i < count; ++i) {
        Require(indices[i] >= 0, "an instance number has no sign");
    }
}

tZeltoPlatformRequest& Checked(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    Require(std::strcmp(request.name, "scripted") == 0, "the record carries the handler's name");
    Require(IsTerminated(request.paramName), "the name is terminated");
    RequireIndices(request.indexCount, request.indices);
    return request;
}

int32_t Get(void* record) {
    tZeltoPlatformRequest& request = Checked(record);
    Require(request.longValue == nullptr && request.value[0] == '\0', "a get has no value yet");
    WriteValue(request.value);
    if (Outcome() == WRITES_LONG) {
        request.longValue = ::strdup(Script().value.c_str());
    }
    return Finish();
}

int32_t Set(void* record) {
    const tZeltoPlatformRequest& request = Checked(record);
    Require(request.longValue != nullptr, "a set has its whole value");
    Require(IsTerminated(request.value), "the value is terminated");
    const bool fits = std::strlen(request.longValue) < sizeof(request.value);
    Require(std::strcmp(request.value, fits ? request.longValue : "") == 0, "the value is whole or left out");
    return Finish();
}

int32_t Add(void* record) {
    tZeltoPlatformRequest& request = Checked(record);
    WriteValue(request.value);
    return Finish();
}

int32_t Delete(void* record) {
    (void)Checked(record);
    return Finish();
}

int32_t GetIds(void* record) {
    tZeltoPlatformRequest& request = Checked(record);
    WriteValue(request.value);
    const int32_t count = COUNTS[Script().behaviour >> 3U & 7U];
    std::memcpy(request.value, &count, sizeof(count));
    return Finish();
}

int32_t WorkObject(void* record) {
    auto& request = *static_cast<tZeltoPlatformObjectRequest*>(record);
    Require(IsTerminated(request.paramName), "the root is terminated");
    RequireIndices(request.indexCount, request.indices);
    for (int32_t i = 0; i < request.paramCount; ++i) {
        tZeltoPlatformObjectParam& param = request.params[i];
        Require(IsTerminated(param.paramName) && IsTerminated(param.value), "an element is terminated");
        RequireIndices(param.indexCount, param.indices);
        WriteValue(param.value);
    }
    return Finish();
}

constexpr tZeltoPltHandlerSlot ALL[] = {
    {PLT_REQUEST_GET_PARAM, Get},         {PLT_REQUEST_SET_PARAM, Set},  {PLT_REQUEST_GET_OBJECT, WorkObject},
    {PLT_REQUEST_SET_OBJECT, WorkObject}, {PLT_REQUEST_ADD_OBJECT, Add}, {PLT_REQUEST_DELETE_OBJECT, Delete},
    {PLT_REQUEST_GET_OBJECT_IDS, GetIds},
};
static_assert(std::size(ALL) == ZELTO_PLT_REQUEST_TYPES, "one handler for each slot");

tZeltoPltFunctionTable Entry(const char* name, std::size_t served, bool paramChangeEvent) {
    tZeltoPltFunctionTable entry{};
    entry.name = name;
    entry.handlerName = "scripted";
    entry.paramChangeEvent = paramChangeEvent;
    std::copy(ALL, ALL + served, entry.handlers);
    return entry;
}

} // namespace

TScript& Script() {
    static TScript script;
    return script;
}

void InstallHandlers() {
    const tZeltoPltFunctionTable entries[] = {
        Entry("Device.WiFi.SSID.", std::size(ALL), false),
        Entry("Device.WiFi.SSID.{i}.", std::size(ALL), false),
        Entry("Device.WiFi.SSID.{i}.SSID", std::size(ALL), true),
        Entry("Device.Ethernet.Interface.", std::size(ALL), true),
        Entry("Device.Ethernet.Interface.{i}.", std::size(ALL), false),
        Entry("Device.Ethernet.Interface.{i}.Enable", 1, false),
        Entry("*", 2, true),
    };
    zelto::AddFunctionTable(entries, static_cast<int32_t>(std::size(entries)));
}

} // namespace fuzz
