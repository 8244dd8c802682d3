#include "support/PrivateBus.h"

#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace support {

namespace {

constexpr const char* CONFIG_HEAD =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <deny own_prefix="com.Ulmet.Zelto.FORBIDDEN"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
)";

std::string ConfigText(const std::string& address, const TPrivateBus::TLimits& limits) {
    std::ostringstream text;
    text << CONFIG_HEAD << "  <listen>" << address << "</listen>\n";
    for (const auto& [name, value] : limits) {
        text << "  <limit name=\"" << name << "\">" << value << "</limit>\n";
    }
    text << "</busconfig>\n";
    return text.str();
}

} // namespace

TPrivateBus::TPrivateBus(const TLimits& limits) : address("unix:path=" + directory.File("bus")) {
    (void)directory.Write("bus.conf", ConfigText(address, limits)); // its path is known
    Start();
    (void)setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1); // fails only without memory
}

TPrivateBus::~TPrivateBus() = default;

// The daemon prints its address when it listens.
void TPrivateBus::Start() {
    daemon = std::make_unique<TChildProcess>(
        std::vector<std::string>{"dbus-daemon", "--nofork", "--nopidfile", "--print-address",
                                 "--config-file=" + directory.File("bus.conf")});
    if (!daemon->WaitForOutput(address)) {
        throw std::runtime_error("dbus-daemon does not start: " + daemon->Errors());
    }
}

void TPrivateBus::Kill() {
    daemon->Kill();
}

void TPrivateBus::Restart() {
    Kill();
    Start();
}

void TPrivateBus::Hang() {
    daemon->Signal(SIGSTOP);
}

void TPrivateBus::Resume() {
    daemon->Signal(SIGCONT);
}

} // namespace support
