#include "platform/OperationFrame.h"
#include "platform/PlatformEvents.h"
#include "platform/ReturnCodeNames.h"
#include "utils/FixedText.h"
#include "utils/Log.h"
#include "zelto/ZeltoPlatformOps.h"

#include <cstdlib>
#include <utility>

namespace {

// Frees what a get handler allocated, whatever it returned and however it ended.
class TLongValueOwner {
public:
    explicit TLongValueOwner(tZeltoPlatformRequest& ownedRequest) : request(ownedRequest) {}
    TLongValueOwner(const TLongValueOwner&) = delete;
    TLongValueOwner& operator=(const TLongValueOwner&) = delete;
    ~TLongValueOwner() { std::free(request.longValue); }

private:
    tZeltoPlatformRequest& request;
};

std::string ValueOf(const tZeltoPlatformRequest& request) {
    return request.longValue != nullptr ? std::string(request.longValue) : zelto::ReadField(request.value);
}

} // namespace

int zeltoPlatLibGetParam(const std::string& name, std::string& value, bool fromWildcard) {
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Received GetParam request for %s\"", name.c_str());
    zelto::TTarget target;
    if (!zelto::PrepareTarget(PLT_REQUEST_GET_PARAM, name, fromWildcard, target)) {
        return -1;
    }
    tZeltoPlatformRequest request = zelto::MakeRequest(target);
    const TLongValueOwner owner(request);
    const int32_t code = target.handler.call(&request);
    if (code != PLT_SUCCESS) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Request GetParam(%s) failed with error - '%s'\"",
                      name.c_str(), zelto::ReturnCodeName(code));
        return -1;
    }
    std::string answer = ValueOf(request);
    if (!target.marked) {
        zelto::TranslateValueBack(answer);
    }
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Response Value: %s\"", answer.c_str());
    value = std::move(answer);
    return 0;
}

int zeltoPlatLibSetParam(const std::string& name, const std::string& value, bool commit, bool fromWildcard) {
    qvLogging_log(zelto::LOG_LEVEL_DEBUG, "\"Received SetParam request for %s to be set to %s\"",
                  name.c_str(), value.c_str());
    zelto::TTarget target;
    if (!zelto::PrepareTarget(PLT_REQUEST_SET_PARAM, name, fromWildcard, target)) {
        return -1;
    }
    tZeltoPlatformRequest request = zelto::MakeRequest(target);
    // A value that does not fit is left out of the short field, never cut: `longValue` has the whole.
    if (value.size() < sizeof(request.value)) {
        zelto::CopyTerminated(request.value, value);
    }
    // Handlers take a text apart in place, while the next instance and the change event need it whole.
    std::string handedValue = value;
    request.longValue = handedValue.data();
    request.commit = commit;
    const int32_t code = target.handler.call(&request);
    if (code != PLT_SUCCESS) {
        qvLogging_log(zelto::LOG_LEVEL_ERROR, "\"Request SetParam(%s, %s) failed with error - '%s'\"",
                      name.c_str(), value.c_str(), zelto::ReturnCodeName(code));
        return -1;
    }
    if (target.handler.paramChangeEvent) {
        zelto::SendChangeEvent(target.name.data(), value);
    }
    return 0;
}
