// Decides what a request may do and has it done.
#ifndef REMOTED_SERVICE_H
#define REMOTED_SERVICE_H

#include "Answer.h"
#include "FileRoot.h"
#include "Manager.h"
#include "Request.h"
#include "Slots.h"
#include "WorkerPool.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace remoted {

using TReply = std::function<void(TAnswer)>;

struct TServiceOptions {
    std::string identity;
    int timeoutSeconds = 10;              // for the manager to answer
    std::vector<std::string> setPrefixes; // below which parameters may be set; none: nothing may
    std::string fileRoot;                 // "": no files
};

class TService {
public:
    // Throws std::runtime_error when the folder of files is not there.
    explicit TService(const TServiceOptions& options);

    // Calls `reply` once, at once or on another thread, or never after Stop or when it throws.
    void Handle(const std::string& peer, const std::string& text, const TReply& reply);

    // Returns whether everything in progress ended within the time.
    bool Stop(std::chrono::milliseconds time);

private:
    void Start(const std::string& peer, const TRequest& request, const TReply& reply);
    bool MaySet(const std::string& name) const;
    TAnswer AskManager(const TRequest& request, std::chrono::steady_clock::time_point arrival);
    TAnswer ReadFile(const TRequest& request);

    std::vector<std::string> setPrefixes;
    TManager manager;
    std::unique_ptr<TFileRoot> files;
    TSlots largeFiles;
    // Apart from each other, so that files are served however slow the manager is. Last: they use the rest.
    TWorkerPool managerWorkers;
    TWorkerPool fileWorkers;
};

// Whether a parameter is the one that the prefix names, or below the object that it names. A prefix means
// whole components: "Device.A.1" is not a prefix of "Device.A.10.X".
bool IsBelow(const std::string& prefix, const std::string& name);

} // namespace remoted

#endif
