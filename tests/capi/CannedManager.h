// A manager that is made of libdbus alone: it keeps what it is asked and answers what it was told to.
#ifndef ZELTO_TESTS_CANNED_MANAGER_H
#define ZELTO_TESTS_CANNED_MANAGER_H

#include "support/BusEnvironment.h"
#include "support/RawPeer.h"
#include "zelto/ZeltoAppLib.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace capi {

constexpr const char* INTERFACE = "com.Ulmet.Zelto.Zelto";
constexpr const char* MANAGER_NAME = "com.Ulmet.Zelto.ZELTO_DISPATCHER";
constexpr const char* MANAGER_PATH = "/com/Ulmet/Zelto/ZELTO_DISPATCHER";

class TCannedManager {
public:
    using TRequests = std::vector<std::pair<std::string, std::string>>; // method and body

    explicit TCannedManager(const std::string& address) : peer(address) {
        peer.ServeWith([this](const support::TRawMessage& call) { return Answer(call); });
        if (peer.OwnName(MANAGER_NAME) != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
            throw std::runtime_error("the manager's name is taken");
        }
    }

    // What every later request is answered with.
    void AnswerWith(std::string text, std::int32_t code = 0) {
        const std::lock_guard<std::mutex> lock(mutex);
        answer = {std::move(text), code};
    }

    TRequests Requests() const {
        const std::lock_guard<std::mutex> lock(mutex);
        return requests;
    }

    void SendEvent(const std::string& name, const std::string& body) {
        peer.Signal({"", MANAGER_PATH, INTERFACE, name}, {body});
    }

private:
    support::TRawArguments Answer(const support::TRawMessage& call) {
        const std::lock_guard<std::mutex> lock(mutex);
        requests.emplace_back(call.member, call.Text(0));
        return answer;
    }

    mutable std::mutex mutex;
    support::TRawArguments answer = {std::string(), std::int32_t{0}};
    TRequests requests;
    support::TRawPeer peer; // last: its thread uses the others
};

// An application with a manager of its own for each test.
class TWithManager : public testing::Test {
protected:
    TWithManager() : manager(support::TBusEnvironment::Bus().Address()) {
        zeltoAppLibInitWithString("CAPI_TEST");
    }

    TCannedManager manager;
};

inline std::pair<std::string, std::string> Request(const std::string& method, const std::string& body) {
    return {method, body};
}

// An answer with parameters "Device.P.1" to "Device.P.<count>" and the values "v1" to "v<count>".
inline std::string ParamsAnswer(int count) {
    std::string entries;
    for (int i = 1; i <= count; ++i) {
        const std::string number = std::to_string(i);
        entries +=
            (i > 1 ? ", " : "") + ("{\"NAME\": \"Device.P." + number) + "\", \"VALUE\": \"v" + number + "\"}";
    }
    return "{\"PARAMS\": [" + entries + "]}";
}

template <std::size_t Size>
void Fill(char (&field)[Size], const std::string& text) {
    ASSERT_LT(text.size(), Size);
    std::memcpy(field, text.c_str(), text.size() + 1);
}

} // namespace capi

#endif
