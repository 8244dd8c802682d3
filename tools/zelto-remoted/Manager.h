// The manager of this gateway, asked over the bus.
#ifndef REMOTED_MANAGER_H
#define REMOTED_MANAGER_H

#include "Answer.h"
#include "Request.h"

#include <mutex>
#include <string>

namespace remoted {

class TManager {
public:
    // Connects with the first request, so that neither the bus nor the manager need be there before.
    TManager(std::string ownIdentity, int answerSeconds);

    // Waits for the manager's answer. Any thread.
    TAnswer Ask(const TRequest& request);

    int TimeoutSeconds() const { return timeoutSeconds; }

private:
    void Connect();
    TAnswer Get(const TRequest& request);
    TAnswer Set(const TRequest& request);

    std::string identity;
    int timeoutSeconds;
    std::mutex mutex;
    bool isConnected = false;
};

} // namespace remoted

#endif
