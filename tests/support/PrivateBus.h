// A dbus-daemon of the test's own, which allows everything: owning any name but those of the identity
// "FORBIDDEN", sending, receiving, eavesdropping and monitoring. It listens on a socket in a directory of
// its own and dies with the test process.
#ifndef ZELTO_TESTS_PRIVATE_BUS_H
#define ZELTO_TESTS_PRIVATE_BUS_H

#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace support {

class TPrivateBus {
public:
    // Limits as in the daemon's configuration file, such as {"max_replies_per_connection", 8}; the daemon's
    // own otherwise.
    using TLimits = std::vector<std::pair<std::string, long>>;

    // Starts the daemon, waits until it listens, and sets DBUS_SYSTEM_BUS_ADDRESS for this process and its
    // children. Raises std::runtime_error when the daemon does not start. libdbus reads the variable once in
    // a process: only the first bus of a process can be its system bus, further ones are reached through
    // Address() only.
    explicit TPrivateBus(const TLimits& limits = {});
    ~TPrivateBus();

    // Stays the same over restarts. Carries no server identifier, since that changes with a restart.
    const std::string& Address() const { return address; }
    pid_t Pid() const { return daemon->Pid(); }

    void Kill();    // as in a crash: SIGKILL, waits for the end
    void Restart(); // kills it if it runs; returns when the new one listens
    void Hang();    // stops the process: it keeps its sockets but answers nothing
    void Resume();

private:
    void Start();

    TTempDir directory;
    std::string address;
    std::unique_ptr<TChildProcess> daemon;
};

} // namespace support

#endif
