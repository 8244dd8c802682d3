// zelto-remoted as a process of its own, on an address of its own.
#ifndef ZELTO_TESTS_E2E_REMOTED_H
#define ZELTO_TESTS_E2E_REMOTED_H

#include "support/BusEnvironment.h"
#include "support/ChildProcess.h"
#include "support/TcpClient.h"

#include <memory>
#include <string>
#include <vector>

namespace e2e {

// A request as the library writes it.
std::string GetRequest(const std::string& name);
std::string SetRequest(const std::string& name, const std::string& value);
std::string FileRequest(const std::string& name);

class TRemoted {
public:
    // Returns when it listens.
    explicit TRemoted(const std::vector<std::string>& options = {});

    support::TChildProcess& Process() { return *process; }
    const std::string& Address() const { return address; }

    support::TTcpAnswer Ask(const std::string& request) const;
    // "" when there is no whole answer.
    std::string StatusOf(const std::string& request) const;

private:
    bool Start(const std::vector<std::string>& options);

    std::string address;
    std::unique_ptr<support::TChildProcess> process;
};

std::string StatusIn(const support::TTcpAnswer& answer);

} // namespace e2e

#endif
