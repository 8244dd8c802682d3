// Records everything that goes over a bus, for tests of exact message sequences.
#ifndef ZELTO_TESTS_BUS_RECORDER_H
#define ZELTO_TESTS_BUS_RECORDER_H

#include "support/RawPeer.h"

#include <string>
#include <vector>

namespace support {

class TBusRecorder {
public:
    // Raises std::runtime_error when the bus does not allow monitoring.
    explicit TBusRecorder(const std::string& address);

    // All messages that the bus had taken when this was called, in its order, since the start or the last
    // Clear, without those of the recorder itself.
    std::vector<TRawMessage> Messages();
    std::vector<TRawMessage> Messages(const TRawPeer::TPredicate& predicate);
    void Clear();

    // Waits until a message shows.
    std::optional<TRawMessage> WaitFor(const TRawPeer::TPredicate& predicate,
                                       std::chrono::milliseconds timeout = DEFAULT_TIMEOUT) const;

private:
    bool IsOwn(const TRawMessage& message) const;
    void Fence();

    TRawPeer monitor;
    TRawPeer marker;
    int fences = 0;
};

} // namespace support

#endif
