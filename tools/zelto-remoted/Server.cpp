#include "Server.h"

#include "Log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <sys/eventfd.h>
#include <sys/socket.h>

namespace remoted {

namespace {

using TClock = TConnection::TClock;

constexpr int ACCEPTED_AT_ONCE = 64;
constexpr int SEND_BUFFER = 65536; // or the kernel would keep a whole large answer for each slow peer
constexpr std::chrono::milliseconds ACCEPT_PAUSE{100};

// The entries of a poll before those of the connections.
enum TFixedEntry : std::size_t { STOP_ENTRY, ANSWER_ENTRY, LISTENER_ENTRY, FIXED_ENTRIES };

std::runtime_error SystemError(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

} // namespace

// Where other threads leave what the server's thread sends.
struct TServer::TAnswers {
    std::mutex mutex;
    std::vector<std::pair<uint64_t, TAnswer>> ready;
    TUniqueFd event{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};

    void Put(uint64_t id, TAnswer answer) {
        const std::lock_guard<std::mutex> lock(mutex);
        ready.emplace_back(id, std::move(answer));
        (void)!eventfd_write(event.Get(), 1); // fails only when the event is set already
    }

    std::vector<std::pair<uint64_t, TAnswer>> TakeAll() {
        const std::lock_guard<std::mutex> lock(mutex);
        eventfd_t ignored = 0;
        (void)eventfd_read(event.Get(), &ignored);
        return std::exchange(ready, {});
    }
};

TServer::TServer(TServerOptions serverOptions, THandler requestHandler)
    : options(std::move(serverOptions)),
      handler(std::move(requestHandler)),
      answers(std::make_shared<TAnswers>()) {
    if (!answers->event) {
        throw SystemError("eventfd");
    }
    Listen();
}

TServer::~TServer() = default;

void TServer::Listen() {
    sockaddr_storage address{};
    const socklen_t size = options.address.ToSocketAddress(PORT, address);
    const std::string place = options.address.Text() + " port " + std::to_string(PORT);
    listener.Reset(socket(address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int reuse = 1;
    const int sendBuffer = SEND_BUFFER; // of the peers too: they inherit it
    if (!listener || setsockopt(listener.Get(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse)) != 0 ||
        setsockopt(listener.Get(), SOL_SOCKET, SO_SNDBUF, &sendBuffer, sizeof(sendBuffer)) != 0 ||
        bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        listen(listener.Get(), SOMAXCONN) != 0) {
        throw SystemError("cannot listen on " + place);
    }
    Log("listening on " + place);
}

void TServer::Run(int stopDescriptor) {
    while (true) {
        std::vector<uint64_t> ids;
        const std::vector<pollfd> entries = Wait(stopDescriptor, ids);
        if (entries[STOP_ENTRY].revents != 0) {
            return;
        }
        ServeReady(entries, ids);
        DeliverAnswers();
        ExpireAndSweep();
        if (entries[LISTENER_ENTRY].revents != 0) {
            AcceptAll(); // last, so that those who have just gone do not count
        }
    }
}

// In milliseconds; -1 for no end.
int TServer::TimeToWait() const {
    const TClock::time_point now = TClock::now();
    TClock::time_point first = acceptAgain > now ? acceptAgain : TClock::time_point::max();
    for (const auto& [id, connection] : connections) {
        first = std::min(first, connection.Deadline());
    }
    if (first == TClock::time_point::max()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(first - now).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

// `ids` receives the connections of the entries behind the fixed ones. One that waits for its answer is not
// among them: there is nothing to do for it, not even when its peer is gone.
std::vector<pollfd> TServer::Wait(int stopDescriptor, std::vector<uint64_t>& ids) {
    std::vector<pollfd> entries(FIXED_ENTRIES);
    entries[STOP_ENTRY] = {stopDescriptor, POLLIN, 0};
    entries[ANSWER_ENTRY] = {answers->event.Get(), POLLIN, 0};
    entries[LISTENER_ENTRY] = {TClock::now() < acceptAgain ? -1 : listener.Get(), POLLIN, 0};
    for (const auto& [id, connection] : connections) {
        if (connection.Events() != 0) {
            entries.push_back({connection.Socket(), connection.Events(), 0});
            ids.push_back(id);
        }
    }
    if (poll(entries.data(), entries.size(), TimeToWait()) < 0 && errno != EINTR) {
        throw SystemError("poll");
    }
    return entries;
}

void TServer::ServeReady(const std::vector<pollfd>& entries, const std::vector<uint64_t>& ids) {
    for (std::size_t index = 0; index < ids.size(); ++index) {
        TConnection& connection = connections.at(ids[index]);
        if (entries[FIXED_ENTRIES + index].revents != 0 && connection.OnReady()) {
            HandOn(ids[index], connection);
        }
    }
}

void TServer::HandOn(uint64_t id, TConnection& connection) {
    handler(connection.Peer().Text(), connection.TakeRequest(),
            [id, shared = answers](TAnswer answer) { shared->Put(id, std::move(answer)); });
}

void TServer::DeliverAnswers() {
    for (auto& [id, answer] : answers->TakeAll()) {
        const auto entry = connections.find(id);
        if (entry != connections.end() && entry->second.State() == TConnection::WAITING) {
            entry->second.Answer(std::move(answer));
        }
    }
}

void TServer::ExpireAndSweep() {
    const TClock::time_point now = TClock::now();
    for (auto entry = connections.begin(); entry != connections.end();) {
        TConnection& connection = entry->second;
        if (connection.State() != TConnection::CLOSED && connection.Deadline() <= now) {
            connection.OnDeadline();
        }
        entry = connection.State() == TConnection::CLOSED ? connections.erase(entry) : std::next(entry);
    }
}

void TServer::AcceptAll() {
    for (int count = 0; count < ACCEPTED_AT_ONCE; ++count) {
        if (!AcceptOne()) {
            return;
        }
    }
}

// Returns whether to try for another one.
bool TServer::AcceptOne() {
    sockaddr_storage address{};
    socklen_t size = sizeof(address);
    TUniqueFd peer(
        accept4(listener.Get(), reinterpret_cast<sockaddr*>(&address), &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (peer) {
        Admit(std::move(peer), TAddress::From(address));
        return true;
    }
    if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
        Log(std::string("cannot accept a peer: ") + std::strerror(errno));
        acceptAgain = TClock::now() + ACCEPT_PAUSE;
        return false;
    }
    // A peer that has gone already is no reason to stop.
    return errno != EAGAIN && errno != EWOULDBLOCK;
}

// A peer that is not allowed takes no room: it is told so and closed. One too many is told too, as long as
// there is room for those who are, which is as much as for those who are served.
void TServer::Admit(TUniqueFd socket, const TAddress& peer) {
    if (!IsInAny(options.allowed, peer)) {
        TConnection(std::move(socket), peer, options.limits).RefuseWith("this peer is not allowed");
        return;
    }
    std::size_t served = 0;
    std::size_t servedOfPeer = 0;
    std::size_t ofPeer = 0;
    for (const auto& [id, other] : connections) {
        const bool isServed = other.State() != TConnection::LINGERING;
        const bool isSame = other.Peer() == peer;
        served += isServed ? 1U : 0U;
        servedOfPeer += isServed && isSame ? 1U : 0U;
        ofPeer += isSame ? 1U : 0U;
    }
    const TLimits& limits = options.limits;
    if (connections.size() >= 2 * limits.connections || ofPeer >= 2 * limits.connectionsPerPeer) {
        return;
    }
    TConnection& connection =
        connections.emplace(++lastId, TConnection(std::move(socket), peer, limits)).first->second;
    if (served >= limits.connections || servedOfPeer >= limits.connectionsPerPeer) {
        connection.RefuseWith("too many connections");
    }
}

} // namespace remoted
