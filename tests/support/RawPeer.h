// A party on the bus that is made of libdbus alone: no code of the library under test.
//
// A thread of its own reads the connection all the time, so a peer can call, serve and watch at once, and its
// functions may be used from any thread. Every wait has a bound.
#ifndef ZELTO_TESTS_RAW_PEER_H
#define ZELTO_TESTS_RAW_PEER_H

#include "support/Eventually.h"
#include "support/RawMessage.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace support {

class TRawPeer {
public:
    // Runs on the peer's thread for each method call that comes in. It answers with Reply or ReplyError, then
    // or later, once or not at all.
    using THandler = std::function<void(TRawPeer&, const TRawMessage& call)>;
    using TPredicate = std::function<bool(const TRawMessage&)>;

    // Connects and registers. Raises std::runtime_error when there is no bus.
    explicit TRawPeer(const std::string& address);
    ~TRawPeer();
    TRawPeer(const TRawPeer&) = delete;
    TRawPeer& operator=(const TRawPeer&) = delete;

    const std::string& UniqueName() const;
    bool IsConnected() const;

    // DBUS_REQUEST_NAME_REPLY_… and DBUS_RELEASE_NAME_REPLY_…, or 0 when the bus gave no answer.
    uint32_t OwnName(const std::string& name, uint32_t flags = 0);
    uint32_t ReleaseName(const std::string& name);
    bool HasOwner(const std::string& name);
    bool AddMatch(const std::string& rule);

    // Without a handler a method call is only recorded.
    void Serve(THandler handler);
    // Answers every call with what the function gives.
    void ServeWith(const std::function<TRawArguments(const TRawMessage& call)>& answer);
    void Reply(const TRawMessage& call, const TRawArguments& arguments);
    void Reply(const TRawMessage& call, const TRawBuilder& builder);
    void ReplyError(const TRawMessage& call, const std::string& name, const std::string& text);
    void ReplyError(const TRawMessage& call, const std::string& name, const TRawArguments& arguments);

    struct TTarget {
        std::string destination; // empty for a signal to everybody
        std::string path;
        std::string interface;
        std::string member;
    };

    // The method return or the error; empty when none came in time or the connection was lost.
    std::optional<TRawMessage> Call(const TTarget& target, const TRawArguments& arguments,
                                    std::chrono::milliseconds timeout = DEFAULT_TIMEOUT);
    std::optional<TRawMessage> Call(const TTarget& target, const TRawBuilder& builder,
                                    std::chrono::milliseconds timeout = DEFAULT_TIMEOUT);
    // Sends a call whose answer only shows among the received messages; gives its serial.
    uint32_t Post(const TTarget& target, const TRawArguments& arguments);
    void Signal(const TTarget& target, const TRawArguments& arguments);
    void Signal(const TTarget& target, const TRawBuilder& builder);

    // Everything received so far in order, answers to Call included, the bus's own signals too.
    std::vector<TRawMessage> Received() const;
    std::vector<TRawMessage> Received(const TPredicate& predicate) const;
    std::optional<TRawMessage> WaitFor(const TPredicate& predicate,
                                       std::chrono::milliseconds timeout = DEFAULT_TIMEOUT) const;
    bool WaitForCount(const TPredicate& predicate, size_t count,
                      std::chrono::milliseconds timeout = DEFAULT_TIMEOUT) const;
    void ClearReceived();
    // For tests with very many messages.
    void SetRecording(bool on);

    // Turns the connection into a monitor of the whole bus. From then on it can only listen.
    bool BecomeMonitor();

private:
    struct TState;
    std::unique_ptr<TState> state;
};

} // namespace support

#endif
