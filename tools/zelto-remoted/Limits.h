// The numbers that bound what a peer may ask for and how long it may take.
#ifndef REMOTED_LIMITS_H
#define REMOTED_LIMITS_H

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace remoted {

constexpr uint16_t PORT = 42042; // every peer connects to this one

constexpr std::size_t MAX_REQUEST_SIZE = 65536;
constexpr std::size_t MAX_JSON_SIZE = 4096;    // peers refuse longer texts
constexpr std::size_t MAX_BLOB_SIZE = 0xFFFFF; // peers do not read larger blobs

struct TLimits {
    std::size_t connections = 256; // that are being served, of all peers
    std::size_t connectionsPerPeer = 16;
    std::chrono::milliseconds requestTime{5000};
    std::chrono::milliseconds answerTime{60000}; // for a peer to take its answer
    std::chrono::milliseconds lingerTime{5000};  // for a peer that has its answer to close
};

} // namespace remoted

#endif
