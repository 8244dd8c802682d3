// Accepts peers and moves their bytes, all on one thread, which never waits for any one of them.
#ifndef REMOTED_SERVER_H
#define REMOTED_SERVER_H

#include "Connection.h"
#include "Limits.h"
#include "Network.h"
#include "Service.h"
#include "UniqueFd.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <poll.h>

namespace remoted {

struct TServerOptions {
    TAddress address;
    std::vector<TNetwork> allowed; // peers from elsewhere are told that they are not
    TLimits limits{};
};

class TServer {
public:
    // Has a request answered: calls the reply once, on any thread, or never. The reply may outlive the
    // server.
    using THandler = std::function<void(const std::string& peer, const std::string& request, TReply reply)>;

    // Listens from now on. Throws std::runtime_error.
    TServer(TServerOptions serverOptions, THandler requestHandler);
    ~TServer();
    TServer(const TServer&) = delete;
    TServer& operator=(const TServer&) = delete;

    // Serves until the descriptor becomes readable.
    void Run(int stopDescriptor);

private:
    struct TAnswers;
    using TConnections = std::map<uint64_t, TConnection>;

    void Listen();
    int TimeToWait() const;
    std::vector<pollfd> Wait(int stopDescriptor, std::vector<uint64_t>& ids);
    void ServeReady(const std::vector<pollfd>& entries, const std::vector<uint64_t>& ids);
    void HandOn(uint64_t id, TConnection& connection);
    void DeliverAnswers();
    void ExpireAndSweep();
    void AcceptAll();
    bool AcceptOne();
    void Admit(TUniqueFd socket, const TAddress& peer);

    TServerOptions options;
    THandler handler;
    TUniqueFd listener;
    std::shared_ptr<TAnswers> answers;
    TConnections connections;
    uint64_t lastId = 0;
    TConnection::TClock::time_point acceptAgain; // not before, after descriptors have run out
};

} // namespace remoted

#endif
