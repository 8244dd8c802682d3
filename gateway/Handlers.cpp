#include "Handlers.h"

#include "Model.h"

#include "zelto/ZeltoPlatformNames.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>

namespace gateway {

namespace {

// The library calls handlers from several threads and through C function pointers: one lock for the whole
// model, and no exception gets out.
template <typename TBody>
int32_t Guarded(const char* name, TBody body) {
    static std::mutex modelLock;
    std::lock_guard<std::mutex> guard(modelLock);
    try {
        return body();
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "zelto-gateway: %s: %s\n", name, error.what());
        return PLT_INTERNAL_ERROR;
    }
}

TIndices ToIndices(const int32_t* indices, int32_t count) {
    return indices == nullptr ? TIndices() : TIndices(indices, indices + count);
}

bool StoreText(char (&field)[ZELTO_TEXT_SIZE], const std::string& text) {
    if (text.size() >= sizeof(field)) {
        return false;
    }
    std::memcpy(field, text.c_str(), text.size() + 1);
    return true;
}

int32_t StoreValue(tZeltoPlatformRequest& request, const std::string& value) {
    if (StoreText(request.value, value)) {
        return PLT_SUCCESS;
    }
    request.longValue = strdup(value.c_str()); // the library frees it
    return request.longValue == nullptr ? PLT_RESOURCES_EXCEEDED : PLT_SUCCESS;
}

int32_t CheckWrite(const TParameter* parameter, const TIndices& indices, const std::string& value) {
    if (parameter == nullptr) {
        return PLT_INVALID_PARAM_NAME;
    }
    return parameter->write == nullptr ? int32_t{PLT_NONWRITABLE} : parameter->check(indices, value);
}

int32_t OnGetParam(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    return Guarded(request.paramName, [&request] {
        const TParameter* parameter = FindParameter(request.name);
        if (parameter == nullptr) {
            return int32_t{PLT_INVALID_PARAM_NAME};
        }
        std::string value;
        int32_t code = parameter->read(ToIndices(request.indices, request.indexCount), value);
        return code == PLT_SUCCESS ? StoreValue(request, value) : code;
    });
}

int32_t OnSetParam(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    return Guarded(request.paramName, [&request] {
        const TParameter* parameter = FindParameter(request.name);
        TIndices indices = ToIndices(request.indices, request.indexCount);
        int32_t code = CheckWrite(parameter, indices, request.longValue);
        return code == PLT_SUCCESS ? parameter->write(indices, request.longValue) : code;
    });
}

// The row of an element, which must lie under the root of its request.
const TParameter* FindElement(const tZeltoPlatformObjectRequest& request,
                              const tZeltoPlatformObjectParam& element) {
    if (std::strncmp(element.paramName, request.paramName, std::strlen(request.paramName)) != 0) {
        return nullptr;
    }
    std::string key = element.paramName;
    convertObjectToJsonName(key);
    return FindParameter(key);
}

int32_t ReadElement(const tZeltoPlatformObjectRequest& request, tZeltoPlatformObjectParam& element) {
    const TParameter* parameter = FindElement(request, element);
    if (parameter == nullptr) {
        return PLT_INVALID_PARAM_NAME;
    }
    std::string value;
    int32_t code = parameter->read(ToIndices(element.indices, element.indexCount), value);
    if (code != PLT_SUCCESS) {
        return code;
    }
    // An element has no field for a long value: better refused than cut.
    return StoreText(element.value, value) ? PLT_SUCCESS : PLT_RESOURCES_EXCEEDED;
}

int32_t OnGetObject(void* record) {
    auto& request = *static_cast<tZeltoPlatformObjectRequest*>(record);
    return Guarded(request.paramName, [&request] {
        int32_t code = PLT_SUCCESS;
        for (int32_t i = 0; i < request.paramCount && code == PLT_SUCCESS; ++i) {
            code = ReadElement(request, request.params[i]);
        }
        return code;
    });
}

int32_t CheckElement(const tZeltoPlatformObjectRequest& request, const tZeltoPlatformObjectParam& element) {
    return CheckWrite(FindElement(request, element), ToIndices(element.indices, element.indexCount),
                      element.value);
}

int32_t WriteElement(const tZeltoPlatformObjectRequest& request, const tZeltoPlatformObjectParam& element) {
    return FindElement(request, element)
        ->write(ToIndices(element.indices, element.indexCount), element.value);
}

// Nothing is written unless everything would be accepted.
int32_t OnSetObject(void* record) {
    auto& request = *static_cast<tZeltoPlatformObjectRequest*>(record);
    return Guarded(request.paramName, [&request] {
        int32_t code = PLT_SUCCESS;
        for (auto step : {CheckElement, WriteElement}) {
            for (int32_t i = 0; i < request.paramCount && code == PLT_SUCCESS; ++i) {
                code = step(request, request.params[i]);
            }
        }
        return code;
    });
}

int32_t OnAddObject(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    return Guarded(request.paramName, [&request] {
        const TObject* object = FindObject(request.name);
        if (object == nullptr || object->add == nullptr) {
            return int32_t{PLT_NOT_SUPPORTED};
        }
        int32_t id = 0;
        int32_t code = object->add(ToIndices(request.indices, request.indexCount), id);
        std::memcpy(request.value, &id, sizeof(id));
        return code;
    });
}

int32_t OnDeleteObject(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    return Guarded(request.paramName, [&request] {
        const TObject* object = FindObject(request.name);
        if (object == nullptr || object->remove == nullptr) {
            return int32_t{PLT_NOT_SUPPORTED};
        }
        return object->remove(ToIndices(request.indices, request.indexCount));
    });
}

int32_t OnGetObjectIds(void* record) {
    auto& request = *static_cast<tZeltoPlatformRequest*>(record);
    return Guarded(request.paramName, [&request] {
        const TObject* object = FindObject(request.name);
        if (object == nullptr || object->listIds == nullptr) {
            return int32_t{PLT_NOT_SUPPORTED};
        }
        TIndices ids;
        int32_t code = object->listIds(ToIndices(request.indices, request.indexCount), ids);
        if (code != PLT_SUCCESS) {
            return code;
        }
        ids.resize(std::min<size_t>(ids.size(), ZELTO_MAX_OBJECT_IDS));
        ids.insert(ids.begin(), static_cast<int32_t>(ids.size()));
        std::memcpy(request.value, ids.data(), ids.size() * sizeof(int32_t));
        return code;
    });
}

tZeltoPltFunctionTable EmptyEntry(const char* key) {
    tZeltoPltFunctionTable entry = {};
    entry.name = key;
    entry.handlerName = key; // by which a handler finds the row
    for (int type = 0; type < ZELTO_PLT_REQUEST_TYPES; ++type) {
        entry.handlers[type].type = static_cast<tZeltoPltRequestType>(type);
    }
    return entry;
}

tZeltoPltFunctionTable ParameterEntry(const TParameter& parameter) {
    tZeltoPltFunctionTable entry = EmptyEntry(parameter.key);
    entry.paramChangeEvent = parameter.write != nullptr;
    entry.handlers[PLT_REQUEST_GET_PARAM].handler = OnGetParam;
    // Also for what is not writable, so that the log tells the reason.
    entry.handlers[PLT_REQUEST_SET_PARAM].handler = OnSetParam;
    return entry;
}

tZeltoPltFunctionTable ObjectEntry(const TObject& object) {
    tZeltoPltFunctionTable entry = EmptyEntry(object.key);
    entry.handlers[PLT_REQUEST_GET_OBJECT].handler = OnGetObject;
    entry.handlers[PLT_REQUEST_SET_OBJECT].handler = OnSetObject;
    entry.handlers[PLT_REQUEST_ADD_OBJECT].handler = OnAddObject;
    entry.handlers[PLT_REQUEST_DELETE_OBJECT].handler = OnDeleteObject;
    entry.handlers[PLT_REQUEST_GET_OBJECT_IDS].handler = OnGetObjectIds;
    return entry;
}

} // namespace

std::vector<tZeltoPltFunctionTable> MakeFunctionTable() {
    std::vector<tZeltoPltFunctionTable> table;
    for (const TBranch* branch : AllBranches()) {
        std::transform(branch->parameters.begin(), branch->parameters.end(), std::back_inserter(table),
                       ParameterEntry);
        std::transform(branch->objects.begin(), branch->objects.end(), std::back_inserter(table),
                       ObjectEntry);
    }
    return table;
}

} // namespace gateway
