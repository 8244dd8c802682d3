#include "platform/FunctionMap.h"

#include "utils/FixedText.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformOps.h"

#include <cstdlib>
#include <cstring>

// Made before and so destroyed after the transport object, whose threads look things up here until it stops.
__attribute__((init_priority(1000))) std::map<std::string, tZeltoPltFunctionTable, std::less<>>
    zeltoPlatFunctionMap;

namespace {

constexpr const char* DEFAULT_ENTRY = "*";
constexpr const char* NULL_TEXT = "(NULL)";

bool IsRequestType(tZeltoPltRequestType type) {
    return type >= 0 && type < ZELTO_PLT_REQUEST_TYPES;
}

void AddEntry(const tZeltoPltFunctionTable& entry) {
    tZeltoPltFunctionTable& stored = zeltoPlatFunctionMap[entry.name];
    tZeltoPltFunctionTable rebuilt = entry;
    for (tZeltoPltHandlerSlot& slot : rebuilt.handlers) {
        slot = tZeltoPltHandlerSlot{};
    }
    for (const tZeltoPltHandlerSlot& pair : entry.handlers) {
        if (pair.handler == nullptr || !IsRequestType(pair.type)) {
            continue;
        }
        if (stored.handlers[pair.type].handler != nullptr) {
            qvLogging_log(zelto::LOG_LEVEL_NOTICE,
                          "\"The handler for %s is redefined! Please check the configuration.\"", entry.name);
        }
        rebuilt.handlers[pair.type] = pair;
    }
    stored = rebuilt;
}

// The entry of a name, or the default one, or null.
const tZeltoPltFunctionTable* FindEntry(const char* name) {
    const auto found = zeltoPlatFunctionMap.find(name);
    if (found != zeltoPlatFunctionMap.end()) {
        return &found->second;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Name: %s is not in the table.\"", name);
    // Looked up once: the first lookup that needs it decides for the life of the process.
    static const auto defaultEntry = zeltoPlatFunctionMap.find(DEFAULT_ENTRY);
    return defaultEntry != zeltoPlatFunctionMap.end() ? &defaultEntry->second : nullptr;
}

} // namespace

namespace zelto {

void AddFunctionTable(const tZeltoPltFunctionTable* entries, int32_t count) {
    if (entries == nullptr) {
        return;
    }
    for (int32_t i = 0; i < count; ++i) {
        if (entries[i].name == nullptr) {
            qvLogging_log(LOG_LEVEL_ERROR, "\"Entry %d of the function table has no name\"", i);
            continue;
        }
        AddEntry(entries[i]);
    }
}

} // namespace zelto

bool zeltoGetPlatformRequestDescr(tZeltoPltRequestType type, const char* paramName,
                                  tZeltoPlatformRequestDescr* descr) {
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Request type: %d and paramName: %s\"", type,
                  paramName != nullptr ? paramName : NULL_TEXT);
    if (paramName == nullptr || descr == nullptr) {
        return false;
    }
    const tZeltoPltFunctionTable* const entry = FindEntry(paramName);
    if (entry == nullptr) {
        return false;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Request Name is %s and we will use a handler with %s name.\"",
                  paramName, entry->name);
    if (!IsRequestType(type) || entry->handlers[type].handler == nullptr) {
        return false;
    }
    descr->handler = entry->handlers[type].handler;
    descr->userData = entry->userData;
    zelto::CopyTerminated(descr->name, entry->handlerName != nullptr ? entry->handlerName : "");
    descr->paramChangeEvent = entry->paramChangeEvent;
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Descriptor found for Request name %s\"", paramName);
    return true;
}

int compareParamName(const char* lhs, const char* rhs) {
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Request Name: %s and Table Name: %s\"",
                  lhs != nullptr ? lhs : NULL_TEXT, rhs != nullptr ? rhs : NULL_TEXT);
    if (lhs == nullptr || rhs == nullptr || std::strcmp(lhs, rhs) != 0) {
        return 0;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Param %s is found in function table\"", lhs);
    return 1;
}

void zeltoPlatformDealloc(void* text) {
    std::free(text);
}
