// The one road on which every request of an application travels: build the body, call the manager, fold its
// code, read the answer. Used by TZeltoApplication and by the calls of the C interface that go past it.
#ifndef ZELTO_APP_REQUEST_RUNNER_H
#define ZELTO_APP_REQUEST_RUNNER_H

#include "protocol/RequestNames.h"
#include "utils/Log.h"
#include "zelto/TZeltoDataMapper.h"
#include "zelto/TZeltoIpc.h"
#include "zelto/TZeltoJsonObject.h"

#include <stdexcept>
#include <string>

namespace zelto {

// The request could not be built, sent or read; the reason is in the log.
constexpr int RESULT_RUNTIME_ERROR = 3;

// Runs `body`, which returns a result code. A std::runtime_error that leaves it becomes a line in the log and
// RESULT_RUNTIME_ERROR; other exceptions pass.
template <typename TBody>
int Guarded(const TBody& body) {
    try {
        return body();
    } catch (const std::runtime_error& error) {
        qvLogging_log(LOG_LEVEL_ERROR, "\"%s\"", error.what());
        return RESULT_RUNTIME_ERROR;
    }
}

// Sends one request text. Returns 0, or -1 for every other code of the manager.
inline int CallManager(TZeltoIpc& ipc, TRequestMethod method, const std::string& input, std::string& answer) {
    const int result = ipc.CallMethod(METHOD_NAMES[method], input, answer);
    return TZeltoDataMapper::GetInstance()->MapRcPltToCmn(result);
}

// A request with an answer. `build(TZeltoJsonObject&)` fills the empty body; `read(const TZeltoJsonObject&)`
// gets the decoded answer, on success only. An answer that is no JSON reads as an empty one.
template <typename TBuild, typename TRead>
int RunRequest(TZeltoIpc& ipc, TRequestMethod method, const TBuild& build, const TRead& read) {
    return Guarded([&] {
        TZeltoJsonObject body;
        build(body);
        std::string answer;
        const int rc = CallManager(ipc, method, body.EncodeToString(), answer);
        if (rc != 0) {
            return rc;
        }
        TZeltoJsonObject response;
        (void)response.DecodeFromString(answer); // what cannot be decoded has no keys
        read(response);
        return rc;
    });
}

// A request whose answer has no body.
template <typename TBuild>
int RunRequest(TZeltoIpc& ipc, TRequestMethod method, const TBuild& build) {
    return Guarded([&] {
        TZeltoJsonObject body;
        build(body);
        std::string unread;
        return CallManager(ipc, method, body.EncodeToString(), unread);
    });
}

} // namespace zelto

#endif
