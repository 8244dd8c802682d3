// A manager made of raw libdbus: it answers every request as the test says and shows the exact texts that
// came.
#ifndef ZELTO_TESTS_SCRIPTED_MANAGER_H
#define ZELTO_TESTS_SCRIPTED_MANAGER_H

#include "support/BusEnvironment.h"
#include "support/LogSpy.h"
#include "support/RawPeer.h"
#include "zelto/TZeltoApplication.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>

namespace support {

class TScriptedManager {
public:
    explicit TScriptedManager(const std::string& address) : peer(address) {
        peer.OwnName("com.Ulmet.Zelto.ZELTO_DISPATCHER");
        peer.ServeWith([this](const TRawMessage&) {
            const std::lock_guard<std::mutex> lock(mutex);
            return TRawArguments{text, code};
        });
    }

    // What every request from now on is answered with.
    void Answer(const std::string& answerText, int32_t answerCode = 0) {
        const std::lock_guard<std::mutex> lock(mutex);
        text = answerText;
        code = answerCode;
    }

    // Each request that came, as "METHOD text", separated by line breaks.
    std::string Requests() const {
        std::string requests;
        for (const TRawMessage& call : peer.Received(&TRawMessage::IsCall)) {
            requests += (requests.empty() ? "" : "\n") + call.member + " " + call.Text(0);
        }
        return requests;
    }

    void SendEvent(const std::string& name, const std::string& data) {
        peer.Signal({"", "/com/Ulmet/Zelto/ZELTO_DISPATCHER", "com.Ulmet.Zelto.Zelto", name}, {data});
    }

    TRawPeer& Peer() { return peer; }

private:
    std::mutex mutex;
    std::string text;
    int32_t code = 0;
    TRawPeer peer;
};

// The application of the process, initialised, with a manager of its own for each test.
class ManagedApplication : public testing::Test {
protected:
    static constexpr const char* IDENTITY = "APP_UNDER_TEST";

    using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

    ManagedApplication() : app(TZeltoApplication::GetInstance()), manager(TBusEnvironment::Bus().Address()) {
        app.Initialize(IDENTITY);
        LogSpy::Clear();
    }

    // As "name=value;" for each.
    static std::string Written(const TParams& params) {
        std::string text;
        for (const TZeltoApplication::TZeltoAppParam& param : params) {
            text += param.name + "=" + param.value + ";";
        }
        return text;
    }

    TZeltoApplication& app;
    TScriptedManager manager;
};

} // namespace support

#endif
