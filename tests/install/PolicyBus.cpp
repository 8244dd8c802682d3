#include "install/PolicyBus.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace policy {

namespace {

// What the daemon's own system.conf says about users, names and messages.
constexpr const char* BUS_DEFAULTS =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
  </policy>
  <policy user="root">
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus.Monitoring"/>
  </policy>
)";

std::string ConfigText(const std::string& address, const std::string& settings,
                       const std::string& policyFile) {
    const std::string foreign = FOREIGN_NAME;
    return BUS_DEFAULTS + ("  <listen>" + address + "</listen>\n") + settings +
           "  <policy user=\"root\"><allow own=\"" + foreign + "\"/></policy>\n" +
           "  <policy context=\"default\"><allow send_destination=\"" + foreign +
           "\" send_interface=\"com.example.Service\"/></policy>\n" + "  <include>" + policyFile +
           "</include>\n</busconfig>\n";
}

void Require(bool done, const char* what) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

// Makes the process act for a user while it lives: the bus takes the user from the socket when it is
// connected.
class TActingAs {
public:
    explicit TActingAs(const std::string& user) {
        const passwd* const entry = getpwnam(user.c_str());
        Require(entry != nullptr, "no such user");
        Require(initgroups(user.c_str(), entry->pw_gid) == 0, "initgroups");
        Require(setegid(entry->pw_gid) == 0, "setegid");
        Require(seteuid(entry->pw_uid) == 0, "seteuid");
    }
    ~TActingAs() {
        if (seteuid(0) != 0 || setegid(0) != 0 || setgroups(0, nullptr) != 0) {
            std::abort(); // the tests that follow would test something else
        }
    }
    TActingAs(const TActingAs&) = delete;
    TActingAs& operator=(const TActingAs&) = delete;
};

} // namespace

TPolicyBus::TPolicyBus(const std::string& policyFile, const std::string& settings)
    : address("unix:path=" + directory.File("bus")) {
    (void)directory.Write("bus.conf", ConfigText(address, settings, policyFile)); // its path is known
    Require(chmod(directory.Path().c_str(), 0711) == 0, "chmod"); // others must reach the socket
    daemon = std::make_unique<support::TChildProcess>(
        std::vector<std::string>{"dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", "--print-address",
                                 "--config-file=" + directory.File("bus.conf")});
    if (!daemon->WaitForOutput(address)) {
        throw std::runtime_error("dbus-daemon does not start: " + daemon->Errors());
    }
}

std::unique_ptr<support::TRawPeer> TPolicyBus::ConnectAs(const std::string& user) const {
    const TActingAs acting(user);
    return std::make_unique<support::TRawPeer>(address);
}

std::string Obstacle() {
    if (geteuid() != 0) {
        return "only root can be other users";
    }
    for (const char* const user : {MEMBER, STRANGER, OTHER_MANAGER}) {
        if (getpwnam(user) == nullptr) {
            return std::string("there is no user ") + user;
        }
    }
    return "";
}

} // namespace policy
