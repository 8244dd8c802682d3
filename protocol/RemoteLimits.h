// The fixed numbers of an exchange with a peer gateway.
#ifndef ZELTO_PROTOCOL_REMOTE_LIMITS_H
#define ZELTO_PROTOCOL_REMOTE_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace zelto {

constexpr uint16_t REMOTE_PORT = 42042;

// Longest texts and blobs that are taken from a peer, in bytes.
constexpr uint32_t MAX_REMOTE_JSON_SIZE = 4096;
constexpr uint32_t MAX_REMOTE_BLOB_SIZE = 0xFFFFF;

} // namespace zelto

#endif
