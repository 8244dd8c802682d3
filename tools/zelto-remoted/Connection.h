// One peer, from its request to its end. Nothing here waits: the server polls and tells what is ready.
//
//     READING -> WAITING -> SENDING -> LINGERING -> CLOSED
//
// A request is followed by one answer and the end of the connection. LINGERING lets the peer close first:
// closing while it still sends would reset the connection, and the peer might lose the answer.
#ifndef REMOTED_CONNECTION_H
#define REMOTED_CONNECTION_H

#include "Answer.h"
#include "Limits.h"
#include "Network.h"
#include "RequestReader.h"
#include "UniqueFd.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace remoted {

class TConnection {
public:
    using TClock = std::chrono::steady_clock;
    enum TState { READING, WAITING, SENDING, LINGERING, CLOSED };

    // `socket` does not block.
    TConnection(TUniqueFd socket, const TAddress& peerAddress, const TLimits& timeLimits);

    TState State() const { return state; }
    const TAddress& Peer() const { return peer; }
    int Socket() const { return socket.Get(); }
    // What to poll for; 0 for nothing.
    short Events() const;
    TClock::time_point Deadline() const { return deadline; }

    // Goes on as far as it can. Returns true when the whole request has come: the server has it answered.
    bool OnReady();
    void OnDeadline();

    // The request; to be taken once.
    std::string TakeRequest() { return reader.TakeText(); }

    // Begins to send. An answer without a frame ends the connection without a word.
    void Answer(TAnswer newAnswer);
    // At once.
    void Close();

private:
    bool Read();
    void OnEndOfRequests();
    void Send();
    void Drain();
    void RefuseWith(const std::string& status);
    void Enter(TState newState, std::chrono::milliseconds time);

    TUniqueFd socket;
    TAddress peer;
    TLimits limits;
    TState state = READING;
    TClock::time_point deadline;
    TRequestReader reader;
    TAnswer answer;
    std::size_t sent = 0;
    std::size_t drained = 0;
};

} // namespace remoted

#endif
