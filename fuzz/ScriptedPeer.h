// A peer gateway for a fuzz target: takes the place of the socket calls, so that no network is needed.
#ifndef ZELTO_FUZZ_SCRIPTED_PEER_H
#define ZELTO_FUZZ_SCRIPTED_PEER_H

#include <cstddef>
#include <string>

namespace fuzz {

// Which step of the exchange fails.
enum TPeerFault : unsigned { NO_FAULT, FAILS_SOCKET, FAILS_CONNECT, FAILS_SEND, FAILS_RECEIVE, PEER_FAULTS };

struct TPeer {
    std::string sends; // then it closes
    unsigned fault = NO_FAULT;
    std::string received;
    int opened = 0;
    int closed = 0;
};
TPeer& Peer();

} // namespace fuzz

#endif
