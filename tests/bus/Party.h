// A party on the private bus for the tests of the transport: an independent transport object, and a scripted
// server.
#ifndef ZELTO_TESTS_BUS_PARTY_H
#define ZELTO_TESTS_BUS_PARTY_H

#include "zelto/TZeltoIpc.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace party {

// Answers each method with a function.
class THandler : public IZeltoIpcMethodHandler {
public:
    using TAnswer = std::function<int(const std::string& request, std::string& result)>;

    explicit THandler(TAnswer function) : answer(std::move(function)) {}
    int OnMethodCall(const std::string& /*method*/, const std::string& request,
                     std::string& result) override {
        return answer(request, result);
    }

private:
    TAnswer answer;
};

class TListener : public IZeltoIpcEventListener {
public:
    using TReaction = std::function<void(const std::string& name, const std::string& data)>;

    explicit TListener(TReaction function) : reaction(std::move(function)) {}
    void OnEvent(const std::string& name, const std::string& data) override { reaction(name, data); }

private:
    TReaction reaction;
};

using TParty = std::unique_ptr<TZeltoIpc>;

inline TParty MakeParty(int threadCount = 1, bool monitor = false, int timeoutSeconds = 10) {
    TParty made(newZeltoIpcInstance());
    made->Configure({threadCount, timeoutSeconds, monitor});
    return made;
}

} // namespace party

#endif
