#include "Service.h"

#include "Log.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace remoted {

namespace {

using TClock = std::chrono::steady_clock;

constexpr std::size_t MANAGER_THREADS = 4;
constexpr std::size_t FILE_THREADS = 2;

// Answers above this size are counted, so that many slow peers do not take a gateway's memory.
constexpr std::size_t LARGE_FILE = 65536;
constexpr std::size_t MOST_LARGE_FILES = 16;

void LogOutcome(const std::string& peer, const std::string& what, const TAnswer& answer) {
    Log(peer + " " + what + ": ", answer.status);
}

void RefuseAtOnce(const std::string& peer, const std::string& what, const std::string& status,
                  const TReply& reply) {
    TAnswer answer = Refuse(status);
    LogOutcome(peer, what, answer);
    reply(std::move(answer));
}

// What goes wrong with one request must not end the others.
template <typename TWork>
TAnswer Attempt(const TWork& work) {
    try {
        return work();
    } catch (const std::exception& error) {
        Log("a request failed: ", error.what());
        return Refuse("the request failed");
    }
}

// All that a worker does for a request, out of which nothing may come.
template <typename TWork>
void Perform(const std::string& peer, const TRequest& request, const TWork& work, const TReply& reply) {
    TAnswer answer;
    try {
        answer = Attempt(work);
        LogOutcome(peer, Describe(request), answer);
    } catch (const std::exception& error) { // no memory for the refusal, or for the line
        Log("a request failed: ", error.what());
    }
    reply(std::move(answer)); // without a frame it ends the connection: nobody is left waiting
}

} // namespace

bool IsBelow(const std::string& prefix, const std::string& name) {
    const bool isObject = !prefix.empty() && prefix.back() == '.';
    return name.compare(0, prefix.size(), prefix) == 0 &&
           (isObject || name.size() == prefix.size() || name[prefix.size()] == '.');
}

TService::TService(const TServiceOptions& options)
    : setPrefixes(options.setPrefixes),
      manager(options.identity, options.timeoutSeconds),
      files(options.fileRoot.empty() ? nullptr : std::make_unique<TFileRoot>(options.fileRoot)),
      largeFiles(MOST_LARGE_FILES),
      managerWorkers(MANAGER_THREADS),
      fileWorkers(FILE_THREADS) {}

void TService::Handle(const std::string& peer, const std::string& text, const TReply& reply) {
    TRequest request;
    const std::string fault = DecodeRequest(text, request);
    if (!fault.empty()) {
        RefuseAtOnce(peer, "bad request", fault, reply);
    } else if (request.type == TRequest::SET_PARAM && !MaySet(request.name)) {
        RefuseAtOnce(peer, Describe(request), "this parameter may not be set from here", reply);
    } else {
        Start(peer, request, reply);
    }
}

void TService::Start(const std::string& peer, const TRequest& request, const TReply& reply) {
    if (request.type == TRequest::GET_FILE) {
        fileWorkers.Post([this, peer, request, reply] {
            Perform(
                peer, request, [&] { return ReadFile(request); }, reply);
        });
        return;
    }
    managerWorkers.Post([this, peer, request, reply, arrival = TClock::now()] {
        Perform(
            peer, request, [&] { return AskManager(request, arrival); }, reply);
    });
}

// A request that has waited for its turn as long as the manager may take for one has no good end: the manager
// hangs, or is asked for more than it can do.
TAnswer TService::AskManager(const TRequest& request, TClock::time_point arrival) {
    if (TClock::now() - arrival >= std::chrono::seconds(manager.TimeoutSeconds())) {
        return Refuse("too many requests wait for the manager");
    }
    return manager.Ask(request);
}

TAnswer TService::ReadFile(const TRequest& request) {
    if (!files) {
        return Refuse("no files are served here");
    }
    std::string content;
    const std::string fault = files->Read(request.name, content);
    if (!fault.empty()) {
        return Refuse(fault);
    }
    if (content.size() <= LARGE_FILE) {
        return AnswerWith(content);
    }
    std::shared_ptr<void> slot = largeFiles.Take();
    if (!slot) {
        return Refuse("too many large files are under way");
    }
    TAnswer answer = AnswerWith(content);
    answer.slot = std::move(slot);
    return answer;
}

bool TService::MaySet(const std::string& name) const {
    return std::any_of(setPrefixes.begin(), setPrefixes.end(),
                       [&name](const std::string& prefix) { return IsBelow(prefix, name); });
}

bool TService::Stop(std::chrono::milliseconds time) {
    const bool filesEnded = fileWorkers.Stop(time);
    return managerWorkers.Stop(time) && filesEnded;
}

} // namespace remoted
