// A transport object without a bus: it sends and calls nothing, and its dispatch threads do what a test says.
#ifndef ZELTO_TESTS_PLAIN_IPC_H
#define ZELTO_TESTS_PLAIN_IPC_H

#include "zelto/TZeltoIpc.h"

#include <functional>
#include <string>
#include <utility>

namespace plain {

class TPlainIpc : public TZeltoIpc {
public:
    explicit TPlainIpc(std::function<void()> threadBody = nullptr) : body(std::move(threadBody)) {}
    ~TPlainIpc() override { TZeltoIpc::Stop(); }

    void SendEvent(const std::string& /*eventName*/, const std::string& /*eventData*/) override {}
    int CallMethod(const std::string& /*method*/, const std::string& /*request*/,
                   std::string& /*result*/) override {
        return -1;
    }
    int CallMethod(const std::string& /*method*/, const std::string& /*request*/, std::string& /*result*/,
                   TMethodSettings& /*settings*/) override {
        return -1;
    }

    using TZeltoIpc::identity;
    using TZeltoIpc::methodTimeoutMs;
    using TZeltoIpc::monitor;
    using TZeltoIpc::running;
    using TZeltoIpc::threadCount;
    using TZeltoIpc::threads;

    void SetBody(std::function<void()> threadBody) { body = std::move(threadBody); }

protected:
    void MainLoop() override {
        if (body) {
            body();
        }
    }

private:
    std::function<void()> body;
};

class TListener : public IZeltoIpcEventListener {
public:
    using TReaction = std::function<void(const std::string& name, const std::string& data)>;

    explicit TListener(TReaction listenerReaction) : reaction(std::move(listenerReaction)) {}
    void OnEvent(const std::string& eventName, const std::string& eventData) override {
        reaction(eventName, eventData);
    }

private:
    TReaction reaction;
};

class THandler : public IZeltoIpcMethodHandler {
public:
    using TAnswer =
        std::function<int(const std::string& method, const std::string& request, std::string& result)>;

    explicit THandler(TAnswer handlerAnswer) : answer(std::move(handlerAnswer)) {}
    int OnMethodCall(const std::string& method, const std::string& request, std::string& result) override {
        return answer(method, request, result);
    }

private:
    TAnswer answer;
};

} // namespace plain

#endif
