// The floor of any broker: a request and its answer over socket pairs through one process that only relays.
#ifndef ZELTO_BENCH_RELAY_H
#define ZELTO_BENCH_RELAY_H

#include <cstddef>

namespace bench {

class TRelay {
public:
    // Starts the relaying and the answering process. Before any thread is started.
    TRelay();
    ~TRelay();
    TRelay(const TRelay&) = delete;
    TRelay& operator=(const TRelay&) = delete;

    // Sends so many bytes and waits for so many back.
    bool Exchange(std::size_t requestSize, std::size_t answerSize);

private:
    int socket;
    int processes[2];
};

} // namespace bench

#endif
