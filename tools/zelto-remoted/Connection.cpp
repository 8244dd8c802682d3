#include "Connection.h"

#include "Log.h"

#include <cerrno>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

namespace remoted {

namespace {

constexpr std::size_t STEP = 16384; // read at once, so that no peer keeps the others waiting
constexpr std::size_t MOST_DRAINED = 1048576;

bool IsTransient(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

TConnection::TConnection(TUniqueFd ownedSocket, const TAddress& peerAddress, const TLimits& timeLimits)
    : socket(std::move(ownedSocket)),
      peer(peerAddress),
      limits(timeLimits),
      deadline(TClock::now() + timeLimits.requestTime) {}

short TConnection::Events() const {
    switch (state) {
    case READING:
    case LINGERING:
        return POLLIN;
    case SENDING:
        return POLLOUT;
    default:
        return 0;
    }
}

bool TConnection::OnReady() {
    switch (state) {
    case READING:
        return Read();
    case SENDING:
        Send();
        return false;
    case LINGERING:
        Drain();
        return false;
    default:
        return false;
    }
}

void TConnection::OnDeadline() {
    if (state == READING) {
        RefuseWith("the request has not come in time");
    } else {
        Close();
    }
}

bool TConnection::Read() {
    char buffer[STEP];
    const ssize_t size = recv(socket.Get(), buffer, sizeof(buffer), 0);
    if (size == 0) {
        OnEndOfRequests();
        return false;
    }
    if (size < 0) {
        if (!IsTransient(errno)) {
            Close();
        }
        return false;
    }
    switch (reader.Feed(buffer, static_cast<std::size_t>(size))) {
    case TRequestReader::COMPLETE:
        state = WAITING;
        deadline = TClock::time_point::max();
        return true;
    case TRequestReader::MALFORMED:
        RefuseWith("the request is no JSON text");
        return false;
    case TRequestReader::TOO_LONG:
        RefuseWith("the request is longer than 65536 bytes");
        return false;
    default:
        return false;
    }
}

// The peer may have closed only its sending half, and wait for an answer.
void TConnection::OnEndOfRequests() {
    if (reader.IsEmpty()) {
        Close();
    } else {
        RefuseWith("the request ends early");
    }
}

// Answers why there is nothing else, and logs it.
void TConnection::RefuseWith(const std::string& status) {
    Log(peer.Text() + ": " + status);
    Answer(Refuse(status));
}

void TConnection::Answer(TAnswer newAnswer) {
    reader = TRequestReader();
    answer = std::move(newAnswer);
    Enter(SENDING, limits.answerTime);
    Send();
}

void TConnection::Send() {
    while (sent < answer.frame.size()) {
        const ssize_t step =
            send(socket.Get(), answer.frame.data() + sent, answer.frame.size() - sent, MSG_NOSIGNAL);
        if (step < 0) {
            if (!IsTransient(errno)) {
                Close();
            }
            return;
        }
        sent += static_cast<std::size_t>(step);
    }
    answer = TAnswer();
    (void)shutdown(socket.Get(), SHUT_WR); // fails only when the peer is gone, which reading shows
    Enter(LINGERING, limits.lingerTime);
}

// Whatever else the peer has to say.
void TConnection::Drain() {
    char buffer[STEP];
    const ssize_t size = recv(socket.Get(), buffer, sizeof(buffer), 0);
    if (size == 0 || (size < 0 && !IsTransient(errno))) {
        Close();
        return;
    }
    drained += size > 0 ? static_cast<std::size_t>(size) : 0;
    if (drained > MOST_DRAINED) {
        Close();
    }
}

void TConnection::Close() {
    state = CLOSED;
    socket.Reset();
    answer = TAnswer();
}

void TConnection::Enter(TState newState, std::chrono::milliseconds time) {
    state = newState;
    deadline = TClock::now() + time;
}

} // namespace remoted
