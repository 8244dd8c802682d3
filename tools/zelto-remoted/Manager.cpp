#include "Manager.h"

#include "Log.h"

#include "zelto/TZeltoIpc.h"

#include <chrono>
#include <stdexcept>
#include <unordered_map>
#include <utility>
#include <vector>

namespace remoted {

namespace {

using TClock = std::chrono::steady_clock;

// A call that ended by its time-out may be measured a little short of it.
bool HasTimedOut(TClock::time_point start, int timeoutSeconds) {
    return TClock::now() - start >= std::chrono::seconds(timeoutSeconds) - std::chrono::milliseconds(20);
}

// The code of a request does not tell a refusal from a manager that is not there: asks for what no manager
// refuses.
bool IsManagerThere() {
    std::unordered_map<std::string, std::vector<std::pair<int, int>>> ignored;
    return TZeltoApplication::GetInstance().GetIndexMap(ignored) == 0;
}

TAnswer Explain(int result, TClock::time_point start, int timeoutSeconds) {
    if (result != -1) {
        return Refuse("the request cannot be sent to the manager");
    }
    if (HasTimedOut(start, timeoutSeconds)) {
        return Refuse("the manager does not answer");
    }
    return Refuse(IsManagerThere() ? "refused by the manager" : "there is no manager");
}

} // namespace

TManager::TManager(std::string ownIdentity, int answerSeconds)
    : identity(std::move(ownIdentity)), timeoutSeconds(answerSeconds) {}

// The transport is connected first, since Initialize does not tell whether it was.
void TManager::Connect() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (isConnected) {
        return;
    }
    TZeltoIpc* ipc = getZeltoIpcInstance();
    TZeltoIpc::TZeltoIpcSettings settings;
    ipc->GetSettings(settings);
    settings.methodTimeout = timeoutSeconds;
    ipc->Configure(settings);
    ipc->Init(identity);
    TZeltoApplication::GetInstance().Initialize(identity);
    isConnected = true;
}

TAnswer TManager::Ask(const TRequest& request) {
    try {
        Connect();
    } catch (const std::runtime_error& error) {
        Log("cannot connect to the bus: ", error.what());
        return Refuse("the bus of the manager cannot be reached");
    }
    return request.type == TRequest::SET_PARAM ? Set(request) : Get(request);
}

TAnswer TManager::Get(const TRequest& request) {
    const TClock::time_point start = TClock::now();
    std::vector<TZeltoApplication::TZeltoAppParam> params;
    const int result = TZeltoApplication::GetInstance().GetParam(request.name, params);
    if (result != 0) {
        return Explain(result, start, timeoutSeconds);
    }
    // A success without parameters would leave the asking side with nothing to read.
    return params.empty() ? Refuse("the manager gave no parameter") : AnswerWith(params);
}

TAnswer TManager::Set(const TRequest& request) {
    const TClock::time_point start = TClock::now();
    const int result = TZeltoApplication::GetInstance().SetParam(request.name, request.value, request.commit);
    return result == 0 ? Confirm() : Explain(result, start, timeoutSeconds);
}

} // namespace remoted
