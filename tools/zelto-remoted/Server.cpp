#include "Server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <list>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include <sys/eventfd.h>
#include <sys/socket.h>

namespace remoted {

namespace {

using TClock = TConnection::TClock;

constexpr int ACCEPTED_AT_ONCE = 64;
constexpr int SEND_BUFFER = 65536; // or the kernel would keep a whole large answer for each slow peer
constexpr std::chrono::milliseconds ACCEPT_PAUSE{100};
constexpr std::chrono::milliseconds MEMORY_PAUSE{10};

// The entries of a poll before those of the connections.
enum TFixedEntry : std::size_t { STOP_ENTRY, ANSWER_ENTRY, LISTENER_ENTRY, FIXED_ENTRIES };

std::runtime_error SystemError(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

// What goes wrong with one peer must not end the others.
template <typename TWork>
void Attempt(TConnection& connection, TLineLimit& failures, const TWork& work) {
    try {
        work();
    } catch (const std::exception& error) {
        failures.Log("a connection failed: ", error.what());
        connection.Close();
    }
}

} // namespace

// Where other threads leave what the server's thread sends.
struct TServer::TAnswers {
    // Answers with their connections. The place of one is made with its request, so that handing it over
    // needs no memory.
    using TList = std::list<std::pair<uint64_t, TAnswer>>;

    std::mutex mutex;
    TList ready;
    TUniqueFd event{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};

    // Does nothing when the place has been used.
    void Put(TList& place, TAnswer answer) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!place.empty()) {
            place.front().second = std::move(answer);
            ready.splice(ready.end(), place);
            (void)!eventfd_write(event.Get(), 1); // fails only when the event is set already
        }
    }

    TList TakeAll() {
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
    entries.reserve(FIXED_ENTRIES);
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
        Wait(stopDescriptor);
        if (entries[STOP_ENTRY].revents != 0) {
            return;
        }
        ServeReady();
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

// A connection that waits for its answer is not polled: there is nothing to do for it, not even when its peer
// is gone.
void TServer::Wait(int stopDescriptor) {
    entries.resize(FIXED_ENTRIES);
    ids.clear();
    entries[STOP_ENTRY] = {stopDescriptor, POLLIN, 0};
    entries[ANSWER_ENTRY] = {answers->event.Get(), POLLIN, 0};
    entries[LISTENER_ENTRY] = {TClock::now() < acceptAgain ? -1 : listener.Get(), POLLIN, 0};
    for (const auto& [id, connection] : connections) {
        if (connection.Events() != 0) {
            entries.push_back({connection.Socket(), connection.Events(), 0});
            ids.push_back(id);
        }
    }
    if (poll(entries.data(), entries.size(), TimeToWait()) >= 0 || errno == EINTR) {
        return;
    }
    if (errno != ENOMEM) {
        throw SystemError("poll");
    }
    std::this_thread::sleep_for(MEMORY_PAUSE); // nothing is ready: it looks again
}

void TServer::ServeReady() {
    for (std::size_t index = 0; index < ids.size(); ++index) {
        if (entries[FIXED_ENTRIES + index].revents == 0) {
            continue;
        }
        TConnection& connection = connections.at(ids[index]);
        Attempt(connection, failures, [&] {
            if (connection.OnReady()) {
                HandOn(ids[index], connection);
            }
        });
    }
}

void TServer::HandOn(uint64_t id, TConnection& connection) {
    auto place = std::make_shared<TAnswers::TList>();
    place->emplace_back(id, TAnswer());
    handler(connection.Peer().Text(), connection.TakeRequest(),
            [place, shared = answers](TAnswer answer) { shared->Put(*place, std::move(answer)); });
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
            Attempt(connection, failures, [&connection] { connection.OnDeadline(); });
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
        try {
            Admit(std::move(peer), TAddress::From(address));
        } catch (const std::exception& error) { // it is closed
            failures.Log("cannot serve a peer: ", error.what());
        }
        return true;
    }
    if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
        failures.Log("cannot accept a peer: ", std::strerror(errno));
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
        TConnection stranger(std::move(socket), peer, options.limits);
        TurnAway(stranger, "this peer is not allowed");
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
    entries.reserve(FIXED_ENTRIES + connections.size() + 1);
    ids.reserve(connections.size() + 1);
    TConnection& connection =
        connections.emplace(++lastId, TConnection(std::move(socket), peer, limits)).first->second;
    if (served >= limits.connections || servedOfPeer >= limits.connectionsPerPeer) {
        TurnAway(connection, "too many connections");
    }
}

void TServer::TurnAway(TConnection& connection, const std::string& status) {
    Attempt(connection, failures, [&] {
        const std::string line = refusals.Take(connection.Peer().Text() + ": " + status, TClock::now());
        if (!line.empty()) {
            Log(line);
        }
        connection.Answer(Refuse(status));
    });
}

} // namespace remoted
