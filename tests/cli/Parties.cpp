#include "cli/Parties.h"

#include "support/BusEnvironment.h"

#include <fstream>
#include <stdexcept>

#include <pwd.h>

namespace cli {

using support::TRawArguments;
using support::TRawMessage;
using support::TRawPeer;

namespace {

support::TRawArguments AskBus(TRawPeer& peer, const char* member, const std::string& name) {
    const auto reply = peer.Call({DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, member}, {name});
    return reply && reply->IsReturn() ? reply->arguments : TRawArguments{std::string(), uint32_t{0}};
}

uint32_t AskForNumber(TRawPeer& peer, const char* member, const std::string& name) {
    const auto answer = AskBus(peer, member, name);
    const auto* const number = std::get_if<uint32_t>(&answer.at(0));
    return number == nullptr ? 0 : *number;
}

} // namespace

std::string ProgramOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

std::string LineOfParty(TRawPeer& peer, const std::string& identity) {
    const std::string name = "com.Ulmet.Zelto." + identity;
    const auto owner = AskBus(peer, "GetNameOwner", name);
    const uint32_t process = AskForNumber(peer, "GetConnectionUnixProcessID", name);
    const passwd* const user = getpwuid(AskForNumber(peer, "GetConnectionUnixUser", name));
    return identity + " " + std::to_string(process) + " " + (user == nullptr ? "?" : user->pw_name) + " " +
           std::get<std::string>(owner.at(0)) + " " + ProgramOf(static_cast<pid_t>(process));
}

TApplication::TApplication(const std::string& identity, int code)
    : peer(support::TBusEnvironment::Bus().Address()) {
    if (code != SILENT) {
        peer.ServeWith([code](const TRawMessage&) { return TRawArguments{std::string(), int32_t{code}}; });
    }
    if (peer.OwnName("com.Ulmet.Zelto." + identity) != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
        throw std::runtime_error("the name is not to be had: " + identity);
    }
}

std::vector<TRawMessage> TApplication::Calls() const {
    return peer.Received([](const TRawMessage& message) { return message.IsCall(); });
}

bool TApplication::WaitForCall(const std::string& member) const {
    return peer
        .WaitFor(
            [&member](const TRawMessage& message) { return message.IsCall() && message.member == member; })
        .has_value();
}

TBusView::TBusView(const std::string& address) : monitor(address) {
    if (!monitor.BecomeMonitor()) {
        throw std::runtime_error("the bus does not let us monitor");
    }
}

bool TBusView::WaitForCall(const std::string& member) {
    return monitor
        .WaitFor([&member](const TRawMessage& message) {
            return message.IsCall() && message.destination == DBUS_SERVICE_DBUS && message.member == member;
        })
        .has_value();
}

bool TBusView::WaitForMatch(const std::string& text) {
    const auto asked = monitor.WaitFor([&text](const TRawMessage& message) {
        return message.member == "AddMatch" && message.Text(0).find(text) != std::string::npos;
    });
    return asked && monitor.WaitFor([&asked](const TRawMessage& message) {
        return message.IsReturn() && message.destination == asked->sender &&
               message.replySerial == asked->serial;
    });
}

} // namespace cli
