// Compiled without access control, since the private members of the exported classes are interface too.

#include "abi/AbiLists.h"

#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoDBus.h"
#include "zelto/TZeltoDataMapper.h"
#include "zelto/TZeltoJsonObject.h"
#include "zelto/ZeltoAppLib.h"
#include "zelto/ZeltoFileUtils.h"
#include "zelto/ZeltoPlatformNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <cstddef>

namespace contract {

namespace {

std::string SizeLine(const char* record, size_t size, size_t alignment) {
    return std::string(record) + " size " + std::to_string(size) + " align " + std::to_string(alignment);
}

std::string FieldLine(const char* record, const char* field, size_t offset, size_t size) {
    return std::string(record) + "." + field + " " + std::to_string(offset) + " " + std::to_string(size);
}

#define RECORD(record) SizeLine(#record, sizeof(record), alignof(record))
#define FIELD(record, field) FieldLine(#record, #field, offsetof(record, field), sizeof(record::field))

TLines EnumerationLines() {
    return {
        RECORD(tZeltoClientId),
        RECORD(tZeltoPltEventType),
        RECORD(tZeltoClientDeviceState),
        RECORD(tZeltoPltReturnCode),
        RECORD(tZeltoPltRequestType),
        RECORD(tZeltoJsonType),
        RECORD(IZeltoCpeClientStateObserver::TZeltoCpeClientState),
        RECORD(IZeltoAppStateObserver::TZeltoAppState),
    };
}

TLines ApplicationRecordLines() {
    return {
        RECORD(tZeltoParam),
        FIELD(tZeltoParam, name),
        FIELD(tZeltoParam, value),
        RECORD(tZeltoParamArray),
        FIELD(tZeltoParamArray, params),
        FIELD(tZeltoParamArray, count),
        RECORD(tZeltoParamRequest),
        FIELD(tZeltoParamRequest, param),
        FIELD(tZeltoParamRequest, paramArray),
        FIELD(tZeltoParamRequest, isArray),
        RECORD(tZeltoParamRemoteRequest),
        FIELD(tZeltoParamRemoteRequest, request),
        FIELD(tZeltoParamRemoteRequest, remoteAddress),
        RECORD(tZeltoLongParamRequest),
        FIELD(tZeltoLongParamRequest, name),
        FIELD(tZeltoLongParamRequest, value),
        FIELD(tZeltoLongParamRequest, size),
        RECORD(tZeltoLongParamRemoteRequest),
        FIELD(tZeltoLongParamRemoteRequest, request),
        FIELD(tZeltoLongParamRemoteRequest, remoteAddress),
        RECORD(tZeltoParamArrayRequest),
        FIELD(tZeltoParamArrayRequest, paramArray),
        RECORD(tZeltoObjectRequest),
        FIELD(tZeltoObjectRequest, name),
        FIELD(tZeltoObjectRequest, paramArray),
        RECORD(tZeltoObjectIdsRequest),
        FIELD(tZeltoObjectIdsRequest, name),
        FIELD(tZeltoObjectIdsRequest, ids),
        FIELD(tZeltoObjectIdsRequest, count),
        RECORD(tZeltoIndexPair),
        FIELD(tZeltoIndexPair, first),
        FIELD(tZeltoIndexPair, second),
        RECORD(tZeltoIndexMap),
        FIELD(tZeltoIndexMap, name),
        FIELD(tZeltoIndexMap, pairs),
        FIELD(tZeltoIndexMap, count),
        RECORD(tZeltoIndexMapRequest),
        FIELD(tZeltoIndexMapRequest, maps),
        FIELD(tZeltoIndexMapRequest, count),
    };
}

TLines PlatformTableLines() {
    return {
        RECORD(tZeltoPltHandlerSlot),
        FIELD(tZeltoPltHandlerSlot, type),
        FIELD(tZeltoPltHandlerSlot, handler),
        RECORD(tZeltoPltFunctionTable),
        FIELD(tZeltoPltFunctionTable, name),
        FIELD(tZeltoPltFunctionTable, userData),
        FIELD(tZeltoPltFunctionTable, handlerName),
        FIELD(tZeltoPltFunctionTable, paramChangeEvent),
        FIELD(tZeltoPltFunctionTable, handlers),
        RECORD(tZeltoPlatformLibTable),
        FIELD(tZeltoPlatformLibTable, entries),
        FIELD(tZeltoPlatformLibTable, count),
        FIELD(tZeltoPlatformLibTable, indexMapPath),
        RECORD(tZeltoPlatformRequestDescr),
        FIELD(tZeltoPlatformRequestDescr, handler),
        FIELD(tZeltoPlatformRequestDescr, userData),
        FIELD(tZeltoPlatformRequestDescr, name),
        FIELD(tZeltoPlatformRequestDescr, paramChangeEvent),
        RECORD(tZeltoNameIndexPair),
        FIELD(tZeltoNameIndexPair, appIndex),
        FIELD(tZeltoNameIndexPair, platformIndex),
        RECORD(tZeltoNameIndexPairs),
        FIELD(tZeltoNameIndexPairs, name),
        FIELD(tZeltoNameIndexPairs, count),
        FIELD(tZeltoNameIndexPairs, pairs),
    };
}

TLines PlatformRecordLines() {
    return {
        RECORD(tZeltoPlatformRequest),
        FIELD(tZeltoPlatformRequest, name),
        FIELD(tZeltoPlatformRequest, paramName),
        FIELD(tZeltoPlatformRequest, indexCount),
        FIELD(tZeltoPlatformRequest, indices),
        FIELD(tZeltoPlatformRequest, value),
        FIELD(tZeltoPlatformRequest, longValue),
        FIELD(tZeltoPlatformRequest, commit),
        RECORD(tZeltoPlatformObjectParam),
        FIELD(tZeltoPlatformObjectParam, paramName),
        FIELD(tZeltoPlatformObjectParam, value),
        FIELD(tZeltoPlatformObjectParam, indexCount),
        FIELD(tZeltoPlatformObjectParam, indices),
        RECORD(tZeltoPlatformObjectRequest),
        FIELD(tZeltoPlatformObjectRequest, name),
        FIELD(tZeltoPlatformObjectRequest, paramName),
        FIELD(tZeltoPlatformObjectRequest, indexCount),
        FIELD(tZeltoPlatformObjectRequest, indices),
        FIELD(tZeltoPlatformObjectRequest, paramCount),
        FIELD(tZeltoPlatformObjectRequest, params),
        RECORD(tZeltoPltClientEvent),
        FIELD(tZeltoPltClientEvent, macAddress),
        FIELD(tZeltoPltClientEvent, hostName),
        RECORD(tZeltoPltDataModelEvent),
        FIELD(tZeltoPltDataModelEvent, name),
        FIELD(tZeltoPltDataModelEvent, value),
        RECORD(TZeltoPlatLibObject),
        FIELD(TZeltoPlatLibObject, name),
        FIELD(TZeltoPlatLibObject, value),
        FIELD(TZeltoPlatLibObject, inPlatformNumbering),
    };
}

TLines IpcLines() {
    return {
        RECORD(IZeltoIpcEventListener),
        RECORD(IZeltoIpcMethodHandler),
        RECORD(TZeltoIpc::TZeltoIpcSettings),
        FIELD(TZeltoIpc::TZeltoIpcSettings, threadCount),
        FIELD(TZeltoIpc::TZeltoIpcSettings, methodTimeout),
        FIELD(TZeltoIpc::TZeltoIpcSettings, monitor),
        RECORD(TZeltoIpc::TMethodSettings),
        FIELD(TZeltoIpc::TMethodSettings, serverId),
        FIELD(TZeltoIpc::TMethodSettings, timeout),
        RECORD(TZeltoIpc),
        FIELD(TZeltoIpc, running),
        FIELD(TZeltoIpc, monitor),
        FIELD(TZeltoIpc, identity),
        FIELD(TZeltoIpc, methodTimeoutMs),
        FIELD(TZeltoIpc, threadCount),
        FIELD(TZeltoIpc, threads),
        FIELD(TZeltoIpc, listenerLock),
        FIELD(TZeltoIpc, listeners),
        FIELD(TZeltoIpc, handlerLock),
        FIELD(TZeltoIpc, methodHandlers),
        FIELD(TZeltoIpc, serverIds),
        RECORD(TZeltoDBus),
        FIELD(TZeltoDBus, serverConnection),
        FIELD(TZeltoDBus, clientConnection),
        FIELD(TZeltoDBus, busName),
        FIELD(TZeltoDBus, interfaceName),
        FIELD(TZeltoDBus, objectPath),
        FIELD(TZeltoDBus, connected),
        FIELD(TZeltoDBus, dispatchTimeoutMs),
        RECORD(TZeltoDBus::TBusMessage),
        FIELD(TZeltoDBus::TBusMessage, message),
        RECORD(TZeltoDBus::TBusError),
        FIELD(TZeltoDBus::TBusError, error),
    };
}

TLines ClassLines() {
    return {
        RECORD(TZeltoApplication::TZeltoAppParam),
        FIELD(TZeltoApplication::TZeltoAppParam, name),
        FIELD(TZeltoApplication::TZeltoAppParam, value),
        RECORD(TZeltoApplication),
        FIELD(TZeltoApplication, initialized),
        FIELD(TZeltoApplication, ipc),
        FIELD(TZeltoApplication, ipcObserver),
        FIELD(TZeltoApplication, dataMapper),
        FIELD(TZeltoApplication, observersMutex),
        FIELD(TZeltoApplication, cpeClientStateObservers),
        FIELD(TZeltoApplication, dataModelChangeObservers),
        FIELD(TZeltoApplication, appStateObservers),
        RECORD(IZeltoCpeClientStateObserver),
        RECORD(IZeltoDataModelChangeObserver),
        RECORD(IZeltoAppStateObserver),
        RECORD(TZeltoDataMapper),
        RECORD(TZeltoJsonObject),
        FIELD(TZeltoJsonObject, root),
        RECORD(ZeltoFileUtils::TDirIterator),
        FIELD(ZeltoFileUtils::TDirIterator, stream),
        FIELD(ZeltoFileUtils::TDirIterator, entry),
        FIELD(ZeltoFileUtils::TDirIterator, path),
    };
}

} // namespace

TLines LayoutLines() {
    TLines lines;
    for (const TLines& group : {EnumerationLines(), ApplicationRecordLines(), PlatformTableLines(),
                                PlatformRecordLines(), IpcLines(), ClassLines()}) {
        lines.insert(lines.end(), group.begin(), group.end());
    }
    return lines;
}

} // namespace contract
