#include "e2e/Remoted.h"

#include "support/Eventually.h"
#include "zelto/TZeltoJsonObject.h"

#include <gtest/gtest.h>

namespace e2e {

namespace {

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr int MOST_ADDRESSES = 20;

} // namespace

std::string GetRequest(const std::string& name) {
    return R"({"REQUEST_TYPE": "GET_PARAM", "NAME": ")" + name + "\"}";
}

std::string SetRequest(const std::string& name, const std::string& value) {
    return R"({"REQUEST_TYPE": "SET_PARAM", "NAME": ")" + name + R"(", "VALUE": ")" + value +
           R"(", "COMMIT": true})";
}

std::string FileRequest(const std::string& name) {
    return R"({"REQUEST_TYPE": "GET_FILE", "FILE_NAME": ")" + name + "\"}";
}

std::string StatusIn(const support::TTcpAnswer& answer) {
    TZeltoJsonObject json;
    if (!answer.isWhole || !json.DecodeFromString(answer.json)) {
        return "";
    }
    return json.GetJsonValue<std::string>(json.GetJsonObject("STATUS", static_cast<unsigned int>(-1)), "");
}

TRemoted::TRemoted(const std::vector<std::string>& options) {
    EXPECT_TRUE(BUS_READY);
    for (int count = 0; count < MOST_ADDRESSES; ++count) {
        if (Start(options)) {
            return;
        }
    }
    ADD_FAILURE() << process->Errors();
}

// An address may be taken by another test.
bool TRemoted::Start(const std::vector<std::string>& options) {
    address = support::NewLoopbackAddress();
    std::vector<std::string> command = {ZELTO_REMOTED_PATH, "--listen", address, "--bus",
                                        support::TBusEnvironment::Bus().Address()};
    command.insert(command.end(), options.begin(), options.end());
    process = std::make_unique<support::TChildProcess>(command);
    auto hasStarted = [this] { return process->Errors().find("listening on") != std::string::npos; };
    (void)support::Eventually([&] { return hasStarted() || !process->IsRunning(); });
    return hasStarted();
}

support::TTcpAnswer TRemoted::Ask(const std::string& request) const {
    support::TTcpClient client(address);
    (void)client.Send(request); // the answer shows whether it came
    return client.ReadAnswer();
}

std::string TRemoted::StatusOf(const std::string& request) const {
    return StatusIn(Ask(request));
}

} // namespace e2e
