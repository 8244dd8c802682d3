// Events that the platform side sends by itself.
#ifndef ZELTO_PLATFORM_PLATFORM_EVENTS_H
#define ZELTO_PLATFORM_PLATFORM_EVENTS_H

#include <string>

namespace zelto {

// Reports a parameter's new value to the applications. Texts that are too long for the event record are cut
// at the last whole UTF-8 character.
void SendChangeEvent(const char* name, const std::string& value);

} // namespace zelto

#endif
