// D-Bus messages of random shape.
#ifndef ZELTO_FUZZ_RANDOM_MESSAGE_H
#define ZELTO_FUZZ_RANDOM_MESSAGE_H

#include "FuzzInput.h"

#include "ipc/DBusWrappers.h"

namespace fuzz {

// A message as libdbus hands it to a filter: it has a serial, and everything in it is valid. Either the
// input is the message as it travels, or it says what to put together: type, member, sender, arguments. Null
// when there is none in the input.
zelto::TMessageHandle TakeMessage(TInput& input);

} // namespace fuzz

#endif
