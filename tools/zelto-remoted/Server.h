// Accepts peers and moves their bytes, all on one thread, which never waits for any one of them.
#ifndef REMOTED_SERVER_H
#define REMOTED_SERVER_H

#include "Connection.h"
#include "Limits.h"
#include "Log.h"
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
    // server. A handler that throws ends the connection.
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
    void Wait(int stopDescriptor);
    void ServeReady();
    void HandOn(uint64_t id, TConnection& connection);
    void DeliverAnswers();
    void ExpireAndSweep();
    void AcceptAll();
    bool AcceptOne();
    void Admit(TUniqueFd socket, const TAddress& peer);
    void TurnAway(TConnection& connection, const std::string& status);

    TServerOptions options;
    THandler handler;
    TUniqueFd listener;
    std::shared_ptr<TAnswers> answers;
    TConnections connections;
    uint64_t lastId = 0;
    // What is polled, and the connections of the entries behind the fixed ones. There is room for every
    // connection that was admitted, so that serving them needs no memory here.
    std::vector<pollfd> entries;
    std::vector<uint64_t> ids;
    TLineLimit refusals;
    TLineLimit failures;
    TConnection::TClock::time_point acceptAgain; // not before, after descriptors have run out
};

} // namespace remoted

#endif
