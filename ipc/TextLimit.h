// How long the text of a request, an answer or an event may be.
#ifndef ZELTO_IPC_TEXT_LIMIT_H
#define ZELTO_IPC_TEXT_LIMIT_H

#include <cstddef>

namespace zelto {

// The daemon drops a sender of more than 32 MiB.
constexpr std::size_t MAX_TEXT_LENGTH = std::size_t{16} * 1024 * 1024;

} // namespace zelto

#endif
