#include "platform/OperationFrame.h"
#include "platform/PlatformEvents.h"
#include "platform/ReturnCodeNames.h"
#include "utils/FixedText.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformNames.h"
#include "zelto/ZeltoPlatformOps.h"

#include <utility>

namespace {

// The record of an object request and everything that it points to.
struct TObjectCall {
    zelto::TTarget target;
    std::vector<tZeltoPlatformObjectParam> params;
    std::vector<std::vector<int32_t>> indices;
    tZeltoPlatformObjectRequest request{};
    bool hasCut = false; // a text of an element that is longer than its field
};

// A request may hold very many texts, so only the first one is told of.
void NoteCut(TObjectCall& call, const char* what, const tZeltoPlatformObjectParam& param) {
    if (!call.hasCut) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"The %s of %s is cut to 255 bytes\"", what, param.paramName);
        call.hasCut = true;
    }
}

bool FillElement(TObjectCall& call, std::size_t position, const TZeltoPlatLibObject& element) {
    tZeltoPlatformObjectParam& param = call.params[position];
    std::vector<int32_t>& indices = call.indices[position];
    std::string name = element.name;
    zelto::ToPlatformName(name, call.target.marked || element.inPlatformNumbering);
    if (!zelto::TakeIndices(zelto::TNameSegments(name.c_str()), indices)) {
        return false;
    }
    if (!zelto::CopyWholeCharacters(param.paramName, name.c_str())) {
        NoteCut(call, "name", param);
    }
    param.indexCount = static_cast<int32_t>(indices.size());
    param.indices = zelto::IndexArray(indices);
    return true;
}

void FillRoot(TObjectCall& call) {
    zelto::CopyTerminated(call.request.name, call.target.handler.name);
    zelto::CopyName(call.request.paramName, call.target.name);
    call.request.indexCount = static_cast<int32_t>(call.target.indices.size());
    call.request.indices = zelto::IndexArray(call.target.indices);
    call.request.paramCount = static_cast<int32_t>(call.params.size());
    call.request.params = call.params.data();
}

bool PrepareCall(tZeltoPltRequestType type, const char* root,
                 const std::vector<TZeltoPlatLibObject>& elements, TObjectCall& call) {
    if (root == nullptr) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Object request without a root\"");
        return false;
    }
    if (!zelto::PrepareTarget(type, root, false, call.target)) {
        return false;
    }
    call.params.resize(elements.size());
    call.indices.resize(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (!FillElement(call, i, elements[i])) {
            return false;
        }
        // The handler of a get finds nothing where its answer goes.
        if (type == PLT_REQUEST_SET_OBJECT &&
            !zelto::CopyWholeCharacters(call.params[i].value, elements[i].value.c_str())) {
            NoteCut(call, "value", call.params[i]);
        }
    }
    FillRoot(call);
    return true;
}

// The pair in the application's numbering: the name as it was asked, or translated back when the caller had
// it from the platform. A mark on the root or on the name forbids both translations.
std::pair<std::string, std::string> MakeResult(const TZeltoPlatLibObject& element,
                                               const tZeltoPlatformObjectParam& param, bool rootMarked) {
    std::pair<std::string, std::string> result(element.name, zelto::ReadField(param.value));
    if (rootMarked || zelto::IsMarked(element.name)) {
        return result;
    }
    if (element.inPlatformNumbering) {
        referResponseIndexMap(result.first);
    }
    zelto::TranslateValueBack(result.second);
    return result;
}

void ReportChange(const tZeltoPlatformObjectParam& param, const std::string& value) {
    const std::string name = zelto::ReadField(param.paramName); // the handler has had it
    zelto::THandler handler;
    if (!zelto::FindHandler(PLT_REQUEST_SET_PARAM, zelto::TNameSegments(name), handler)) {
        return;
    }
    if (!handler.paramChangeEvent) {
        qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Param Change Event is not set for %s!\"", name.c_str());
        return;
    }
    zelto::SendChangeEvent(name.c_str(), value);
}

} // namespace

int zeltoPlatLibGetObject(const char* root, const std::vector<TZeltoPlatLibObject>& names,
                          std::vector<std::pair<std::string, std::string>>& result) {
    TObjectCall call;
    if (!PrepareCall(PLT_REQUEST_GET_OBJECT, root, names, call)) {
        return -1;
    }
    const int32_t code = call.target.handler.call(&call.request);
    if (code != PLT_SUCCESS) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Request GetObject(%s) failed with error - '%s'\"", root,
                      zelto::ReturnCodeName(code));
        return -1;
    }
    result.reserve(result.size() + names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        result.push_back(MakeResult(names[i], call.params[i], call.target.marked));
    }
    return 0;
}

int zeltoPlatLibSetObject(const char* root, const std::vector<TZeltoPlatLibObject>& params, bool) {
    // The record of an object request has no field for the commit flag.
    TObjectCall call;
    if (!PrepareCall(PLT_REQUEST_SET_OBJECT, root, params, call)) {
        return -1;
    }
    const int32_t code = call.target.handler.call(&call.request);
    if (code != PLT_SUCCESS) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Request SetObject(%s) failed with error - '%s'\"", root,
                      zelto::ReturnCodeName(code));
        return -1;
    }
    for (std::size_t i = 0; i < params.size(); ++i) {
        ReportChange(call.params[i], params[i].value);
    }
    return 0;
}
