// Parties of the tests of the transport: one whose protected members can be reached, handlers and listeners
// made of functions, and peers without any code of the library that look like a party.
#ifndef ZELTO_TESTS_BUS_PARTY_ACCESS_H
#define ZELTO_TESTS_BUS_PARTY_ACCESS_H

#include "support/BusEnvironment.h"
#include "support/RawPeer.h"
#include "zelto/TZeltoDBus.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace busparty {

class TAccessParty : public TZeltoDBus {
public:
    ~TAccessParty() override { TZeltoDBus::Stop(); }

    using TZeltoDBus::BecomeMonitor;
    using TZeltoDBus::Connect;
    using TZeltoDBus::CreateConnection;
    using TZeltoDBus::Disconnect;
    using TZeltoDBus::GetMessageValue;
    using TZeltoDBus::MessageFilter;
    using TZeltoDBus::MessageHandler;
    using TZeltoDBus::MonitorHandler;
    using TZeltoDBus::RegisterBusName;
    using TZeltoDBus::ReleaseBusName;
    using TZeltoDBus::Reply;

    using TZeltoDBus::busName;
    using TZeltoDBus::clientConnection;
    using TZeltoDBus::connected;
    using TZeltoDBus::dispatchTimeoutMs;
    using TZeltoDBus::identity;
    using TZeltoDBus::interfaceName;
    using TZeltoDBus::objectPath;
    using TZeltoDBus::running;
    using TZeltoDBus::serverConnection;
};

class THandler : public IZeltoIpcMethodHandler {
public:
    using TAnswer = std::function<int(const std::string& request, std::string& result)>;

    explicit THandler(TAnswer handlerAnswer) : answer(std::move(handlerAnswer)) {}
    int OnMethodCall(const std::string& /*method*/, const std::string& request,
                     std::string& result) override {
        return answer(request, result);
    }

private:
    TAnswer answer;
};

// Sends the request back with code 0.
inline int Echo(const std::string& request, std::string& result) {
    result = request;
    return 0;
}

// Notes the events that it gets.
class TEventLog : public IZeltoIpcEventListener {
public:
    using TEvent = std::pair<std::string, std::string>;

    void OnEvent(const std::string& eventName, const std::string& eventData) override {
        const std::lock_guard<std::mutex> lock(mutex);
        events.emplace_back(eventName, eventData);
        changed.notify_all();
    }

    bool WaitFor(const TEvent& event) const {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, support::DEFAULT_TIMEOUT, [&] { return CountUnlocked(event) > 0; });
    }
    std::size_t Count(const TEvent& event) const {
        const std::lock_guard<std::mutex> lock(mutex);
        return CountUnlocked(event);
    }
    // Those before the first of a name, which is waited for; without what the bus itself reports.
    std::vector<TEvent> Until(const std::string& lastName) const {
        std::vector<TEvent> before;
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_for(lock, support::DEFAULT_TIMEOUT, [&] { return CollectUntil(lastName, before); });
        return before;
    }

private:
    std::size_t CountUnlocked(const TEvent& event) const {
        std::size_t count = 0;
        for (const TEvent& one : events) {
            count += one == event ? 1 : 0;
        }
        return count;
    }
    bool CollectUntil(const std::string& lastName, std::vector<TEvent>& before) const {
        before.clear();
        for (const TEvent& one : events) {
            if (one.first == lastName) {
                return true;
            }
            if (one.first != "NameAcquired" && one.first != "NameLost") {
                before.push_back(one);
            }
        }
        return false;
    }

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::vector<TEvent> events;
};

// Has a name, a handler of "ECHO", a listener, and runs.
class TServingParty {
public:
    explicit TServingParty(const std::string& identity, int threadCount = 1) {
        party.Configure({threadCount, 10, false});
        party.AddMethodHandler("ECHO", &echo);
        party.AddEventLstener("", &events);
        party.Init(identity);
        party.Run();
    }
    ~TServingParty() { party.Stop(); }
    TServingParty(const TServingParty&) = delete;
    TServingParty& operator=(const TServingParty&) = delete;

    TEventLog events;
    THandler echo{Echo};
    TAccessParty party;
};

inline const std::string& BusAddress() {
    return support::TBusEnvironment::Bus().Address();
}

inline std::string BusName(const std::string& identity) {
    return "com.Ulmet.Zelto." + identity;
}

inline support::TRawPeer::TTarget PartyTarget(const std::string& identity, const std::string& member) {
    return {BusName(identity), "/com/Ulmet/Zelto/" + identity, "com.Ulmet.Zelto.Zelto", member};
}

// Whether a party of that identity serves.
inline bool Answers(const std::string& identity) {
    using support::TRawArguments;
    support::TRawPeer client(BusAddress());
    const auto answer = client.Call(PartyTarget(identity, "UNKNOWN"), TRawArguments{});
    return answer && answer->arguments == TRawArguments{std::string(), int32_t{-1}};
}

inline bool HasOwner(const std::string& identity) {
    return support::TRawPeer(BusAddress()).HasOwner(BusName(identity));
}

// An event as the party of that identity would send it.
inline support::TRawPeer::TTarget EventTarget(const std::string& identity, const std::string& member) {
    return {"", "/com/Ulmet/Zelto/" + identity, "com.Ulmet.Zelto.Zelto", member};
}

// The names are given up on request, as those of parties are, so one server may follow another at once.
inline std::unique_ptr<support::TRawPeer> MakeRawServer(const std::string& identity,
                                                        support::TRawPeer::THandler handler) {
    auto peer = std::make_unique<support::TRawPeer>(BusAddress());
    peer->Serve(std::move(handler));
    EXPECT_EQ(
        static_cast<uint32_t>(DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER),
        peer->OwnName(BusName(identity), DBUS_NAME_FLAG_ALLOW_REPLACEMENT | DBUS_NAME_FLAG_REPLACE_EXISTING));
    return peer;
}

inline std::unique_ptr<support::TRawPeer>
MakeRawServerWith(const std::string& identity,
                  const std::function<support::TRawArguments(const support::TRawMessage&)>& answer) {
    return MakeRawServer(identity, [answer](support::TRawPeer& peer, const support::TRawMessage& call) {
        peer.Reply(call, answer(call));
    });
}

} // namespace busparty

#endif
