#include "ScriptedPlatform.h"

#include "support/LogSpy.h"
#include "utils/FixedText.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <sys/stat.h>

namespace scripted {

namespace {

// Handlers run on dispatch threads when requests come from a bus.
std::mutex lock;
std::array<TParamScript, ZELTO_PLT_REQUEST_TYPES> paramScripts;
std::array<TObjectScript, ZELTO_PLT_REQUEST_TYPES> objectScripts;
std::vector<TCall> calls;

std::vector<int> CopyIndices(const int32_t* indices, int32_t count) {
    return indices != nullptr ? std::vector<int>(indices, indices + count) : std::vector<int>();
}

TCall CopyCall(tZeltoPltRequestType type, const tZeltoPlatformRequest& request) {
    TCall call;
    call.type = type;
    call.handlerName = request.name;
    call.paramName = request.paramName;
    call.indices = CopyIndices(request.indices, request.indexCount);
    call.hasIndices = request.indices != nullptr;
    call.value = zelto::ReadField(request.value);
    call.hasLongValue = request.longValue != nullptr;
    call.longValue = request.longValue != nullptr ? request.longValue : "";
    call.commit = request.commit;
    return call;
}

TCall CopyObjectCall(tZeltoPltRequestType type, const tZeltoPlatformObjectRequest& request) {
    TCall call;
    call.type = type;
    call.handlerName = request.name;
    call.paramName = request.paramName;
    call.indices = CopyIndices(request.indices, request.indexCount);
    call.hasIndices = request.indices != nullptr;
    for (int32_t i = 0; i < request.paramCount; ++i) {
        const tZeltoPlatformObjectParam& param = request.params[i];
        call.elements.push_back({param.paramName, param.value, CopyIndices(param.indices, param.indexCount)});
    }
    return call;
}

template <int Type>
int32_t HandleParam(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    TParamScript script;
    {
        const std::lock_guard<std::mutex> guard(lock);
        calls.push_back(CopyCall(static_cast<tZeltoPltRequestType>(Type), request));
        script = paramScripts[Type];
    }
    return script ? script(request) : PLT_SUCCESS;
}

template <int Type>
int32_t HandleObject(void* record) {
    auto& request = *static_cast<tZeltoPlatformObjectRequest*>(record);
    TObjectScript script;
    {
        const std::lock_guard<std::mutex> guard(lock);
        calls.push_back(CopyObjectCall(static_cast<tZeltoPltRequestType>(Type), request));
        script = objectScripts[Type];
    }
    return script ? script(request) : PLT_SUCCESS;
}

constexpr tZeltoPltHandler HANDLERS[ZELTO_PLT_REQUEST_TYPES] = {
    HandleParam<0>, HandleParam<1>, HandleObject<2>, HandleObject<3>,
    HandleParam<4>, HandleParam<5>, HandleParam<6>,
};

} // namespace

void Script(tZeltoPltRequestType type, TParamScript script) {
    const std::lock_guard<std::mutex> guard(lock);
    paramScripts.at(static_cast<std::size_t>(type)) = std::move(script);
}

void ScriptObject(tZeltoPltRequestType type, TObjectScript script) {
    const std::lock_guard<std::mutex> guard(lock);
    objectScripts.at(static_cast<std::size_t>(type)) = std::move(script);
}

void Reset() {
    const std::lock_guard<std::mutex> guard(lock);
    paramScripts.fill(nullptr);
    objectScripts.fill(nullptr);
    calls.clear();
}

const std::vector<TCall>& Calls() {
    const std::lock_guard<std::mutex> guard(lock);
    return calls;
}

tZeltoPltHandler HandlerOf(tZeltoPltRequestType type) {
    return HANDLERS[type];
}

tZeltoPltFunctionTable Entry(const char* name, std::initializer_list<tZeltoPltRequestType> served,
                             bool paramChangeEvent, const char* handlerName) {
    tZeltoPltFunctionTable entry{};
    entry.name = name;
    entry.handlerName = handlerName;
    entry.paramChangeEvent = paramChangeEvent;
    std::size_t at = 0;
    for (const tZeltoPltRequestType type : served) {
        entry.handlers[at++] = {type, HANDLERS[type]};
    }
    return entry;
}

tZeltoPltFunctionTable FullEntry(const char* name, bool paramChangeEvent) {
    return Entry(name,
                 {PLT_REQUEST_GET_PARAM, PLT_REQUEST_SET_PARAM, PLT_REQUEST_GET_OBJECT,
                  PLT_REQUEST_SET_OBJECT, PLT_REQUEST_ADD_OBJECT, PLT_REQUEST_DELETE_OBJECT,
                  PLT_REQUEST_GET_OBJECT_IDS},
                 paramChangeEvent);
}

THelperScript::THelperScript(const std::string& body) : searchPath(std::getenv("PATH")) {
    const std::string file = directory.Write("zelto_manager_helper.sh", "#!/bin/sh\n" + body + "\n");
    if (::chmod(file.c_str(), S_IRWXU) != 0 ||
        ::setenv("PATH", (directory.Path() + ":" + searchPath).c_str(), 1) != 0) {
        throw std::runtime_error("cannot make the helper script");
    }
}

THelperScript::~THelperScript() {
    (void)::setenv("PATH", searchPath.c_str(), 1); // fails only without memory
}

void Install(const std::vector<tZeltoPltFunctionTable>& entries, const char* indexMapPath) {
    const tZeltoPlatformLibTable table{entries.data(), static_cast<int32_t>(entries.size()), indexMapPath};
    zeltoPlatformLibInit(&table);
    LogSpy::Clear();
}

void Answer(tZeltoPlatformRequest& request, const std::string& value) {
    zelto::CopyTerminated(request.value, value);
}

void AnswerLong(tZeltoPlatformRequest& request, const std::string& value) {
    request.longValue = ::strdup(value.c_str());
}

void AnswerNumbers(tZeltoPlatformRequest& request, const std::vector<int32_t>& numbers) {
    std::memcpy(request.value, numbers.data(), numbers.size() * sizeof(int32_t));
}

void ReportInstances(const std::vector<int32_t>& ids) {
    Script(PLT_REQUEST_GET_OBJECT_IDS, [ids](tZeltoPlatformRequest& request) {
        std::vector<int32_t> numbers{static_cast<int32_t>(ids.size())};
        numbers.insert(numbers.end(), ids.begin(), ids.end());
        AnswerNumbers(request, numbers);
        return PLT_SUCCESS;
    });
}

} // namespace scripted
