// A manager for fuzz targets: a function table whose handlers do what an input says, and look closely at the
// records that they get.
#ifndef ZELTO_FUZZ_SCRIPTED_HANDLERS_H
#define ZELTO_FUZZ_SCRIPTED_HANDLERS_H

#include <cstdint>
#include <string>

namespace fuzz {

// What a handler that is told to throws.
struct THandlerFailure {};

// What the handlers do, from one byte: how they end, how they hand back a value, how many instances they
// report; and the bytes that they hand back.
struct TScript {
    std::uint8_t behaviour = 0;
    std::string value;
};
TScript& Script();

// Fills the function map; once in a process.
void InstallHandlers();

} // namespace fuzz

#endif
