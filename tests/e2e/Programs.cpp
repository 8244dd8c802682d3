#include "e2e/Programs.h"

#include <gtest/gtest.h>

namespace e2e {

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

// The text of the first "VALUE" of an answer whose values need no escapes.
std::string FirstValue(const std::string& answer) {
    const std::string key = "\"VALUE\": \"";
    std::string::size_type start = answer.find(key);
    if (start == std::string::npos) {
        return "(no value)";
    }
    start += key.size();
    return answer.substr(start, answer.find('"', start) - start);
}

} // namespace

bool Owns(support::TRawPeer& peer, pid_t process, const std::string& name) {
    auto reply = peer.Call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                            "GetConnectionUnixProcessID"},
                           support::TRawArguments{name});
    return reply && reply->IsReturn() &&
           reply->arguments == support::TRawArguments{static_cast<uint32_t>(process)};
}

TGateway::TGateway()
    : client(support::TBusEnvironment::Bus().Address()),
      process({ZELTO_GATEWAY_PATH, "--state-dir", directory.File("state")}) {
    client.AddMatch(std::string("interface='") + INTERFACE + "'");
    EXPECT_TRUE(BUS_READY);
    EXPECT_TRUE(support::Eventually([this] { return Owns(client, process.Pid(), MANAGER_NAME); }))
        << process.Errors();
}

TGateway::TAnswer TGateway::Request(const std::string& method, const std::string& body) {
    auto reply = client.Call({MANAGER_NAME, MANAGER_PATH, INTERFACE, method}, support::TRawArguments{body});
    if (!reply || !reply->IsReturn()) {
        return {"no reply", "", -2};
    }
    return {reply->signature, reply->Text(0), reply->Int(1)};
}

std::string TGateway::Get(const std::string& name) {
    TAnswer answer = Request("GET_PARAM", "{\"NAME\": \"" + name + "\"}");
    return answer.code == 0 ? FirstValue(answer.text) : "(refused)";
}

int32_t TGateway::Set(const std::string& name, const std::string& value) {
    return Request("SET_PARAM", "{\"NAME\": \"" + name + "\", \"VALUE\": \"" + value + "\"}").code;
}

support::TRunResult RunCommand(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {ZELTO_COMMAND_PATH};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return support::RunProgram(command);
}

} // namespace e2e
