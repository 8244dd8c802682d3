#include "platform/FunctionMap.h"

#include "utils/FixedText.h"
#include "utils/Log.h"
#include "utils/ShortList.h"
#include "zelto/ZeltoPlatformOps.h"

#include <atomic>
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

// The entry found last: a table is read instance by instance, under the same key. Entries are never removed.
using TNamedEntry = decltype(zeltoPlatFunctionMap)::value_type;
std::atomic<const TNamedEntry*> lastFound{nullptr};

const TNamedEntry* FindNamed(const char* key) {
    const auto found = zeltoPlatFunctionMap.find(std::string_view(key));
    if (found == zeltoPlatFunctionMap.end()) {
        return nullptr;
    }
    lastFound.store(&*found, std::memory_order_release);
    return &*found;
}

const TNamedEntry* FindDefault(const char* key) {
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Name: %s is not in the table.\"", key);
    // Looked up once: the first lookup that needs it decides for the life of the process.
    static const auto defaultEntry = zeltoPlatFunctionMap.find(DEFAULT_ENTRY);
    return defaultEntry != zeltoPlatFunctionMap.end() ? &*defaultEntry : nullptr;
}

// The entry found under a key, or else the default one, if it serves the request.
const tZeltoPltFunctionTable* ServingOf(tZeltoPltRequestType type, const char* key,
                                        const TNamedEntry* found) {
    const TNamedEntry* const serving = found != nullptr ? found : FindDefault(key);
    if (serving == nullptr) {
        return nullptr;
    }
    const tZeltoPltFunctionTable& entry = serving->second;
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Request Name is %s and we will use a handler with %s name.\"",
                  key, serving->first.c_str());
    if (!IsRequestType(type) || entry.handlers[type].handler == nullptr) {
        return nullptr;
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Descriptor found for Request name %s\"", key);
    return &entry;
}

void LogRequest(tZeltoPltRequestType type, const char* key) {
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Request type: %d and paramName: %s\"", type, key);
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

const tZeltoPltFunctionTable* FindServing(tZeltoPltRequestType type, const char* key) {
    LogRequest(type, key);
    return ServingOf(type, key, FindNamed(key));
}

const tZeltoPltFunctionTable* FindServing(tZeltoPltRequestType type, const TNameSegments& name) {
    const TNamedEntry* const last = lastFound.load(std::memory_order_acquire);
    if (last != nullptr && name.HasKey(last->first)) {
        LogRequest(type, last->first.c_str());
        return ServingOf(type, last->first.c_str(), last);
    }
    TShortList<char, 2 * ZELTO_TEXT_SIZE> key;
    name.AppendKey(key);
    key.push_back('\0');
    return FindServing(type, key.data());
}

const char* HandlerName(const tZeltoPltFunctionTable& entry) {
    return entry.handlerName != nullptr ? entry.handlerName : "";
}

} // namespace zelto

bool zeltoGetPlatformRequestDescr(tZeltoPltRequestType type, const char* paramName,
                                  tZeltoPlatformRequestDescr* descr) {
    if (paramName == nullptr || descr == nullptr) {
        qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Request type: %d and paramName: %s\"", type,
                      paramName != nullptr ? paramName : NULL_TEXT);
        return false;
    }
    const tZeltoPltFunctionTable* const entry = zelto::FindServing(type, paramName);
    if (entry == nullptr) {
        return false;
    }
    descr->handler = entry->handlers[type].handler;
    descr->userData = entry->userData;
    zelto::CopyTerminated(descr->name, zelto::HandlerName(*entry));
    descr->paramChangeEvent = entry->paramChangeEvent;
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
