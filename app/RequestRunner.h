// The one road on which every request of an application travels: build the body, call the manager, fold its
// code, read the answer. Used by TZeltoApplication and by the calls of the C interface that go past it.
#ifndef ZELTO_APP_REQUEST_RUNNER_H
#define ZELTO_APP_REQUEST_RUNNER_H

#include "protocol/PlainWriter.h"
#include "protocol/RequestNames.h"
#include "utils/Log.h"
#include "zelto/TZeltoDataMapper.h"
#include "zelto/TZeltoIpc.h"

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

// A request with an answer. `build(TPlainWriter&)` writes the body; `read(const std::string&)` gets the text
// of the answer, on success only.
template <typename TBuild, typename TRead>
int RunRequest(TZeltoIpc& ipc, TRequestMethod method, const TBuild& build, const TRead& read) {
    return Guarded([&] {
        TPlainWriter body;
        build(body);
        std::string answer;
        const int rc = CallManager(ipc, method, body.Take(), answer);
        if (rc == 0) {
            read(answer);
        }
        return rc;
    });
}

// A request whose answer has no body.
template <typename TBuild>
int RunRequest(TZeltoIpc& ipc, TRequestMethod method, const TBuild& build) {
    return RunRequest(ipc, method, build, [](const std::string& /*unread*/) {});
}

} // namespace zelto

#endif
