// A system bus with the bus's usual defaults and a policy file of ours, and parties on it that belong to
// other users. Needs root.
#ifndef ZELTO_TESTS_POLICY_BUS_H
#define ZELTO_TESTS_POLICY_BUS_H

#include "support/ChildProcess.h"
#include "support/RawPeer.h"
#include "support/TempDir.h"

#include <memory>
#include <string>

namespace policy {

// Users and groups that every Debian system has; MEMBER is in the group that the tested policy names.
constexpr char ROOT[] = "root";
constexpr char MEMBER[] = "games";
constexpr char STRANGER[] = "nobody";
constexpr char OTHER_MANAGER[] = "daemon";

constexpr char FOREIGN_NAME[] = "com.example.Service"; // which root may own and everybody may call

class TPolicyBus {
public:
    // `settings` are further elements of the bus's own configuration, which is read before the policy.
    explicit TPolicyBus(const std::string& policyFile, const std::string& settings = "");

    const std::string& Address() const { return address; }
    std::string Log() const { return daemon->Errors(); }

    // A connection that the bus takes for one of that user.
    std::unique_ptr<support::TRawPeer> ConnectAs(const std::string& user) const;

private:
    support::TTempDir directory;
    std::string address;
    std::unique_ptr<support::TChildProcess> daemon;
};

// Why the tests cannot run here; empty when they can.
std::string Obstacle();

} // namespace policy

#endif
