// Text, number and time helpers, and small system services.
//
// None of the functions logs or keeps state, and all may be called from any thread, as long as no other
// thread changes the environment or the locale meanwhile. They throw only std::bad_alloc, when memory runs
// out.
#ifndef ZELTO_GENERIC_UTILS_H
#define ZELTO_GENERIC_UTILS_H

#include "zelto/Export.h"

#include <string>
#include <vector>

#include <pthread.h>

namespace ZeltoGenericUtils {

// The time, in seconds since the epoch, in the local time zone: "Sun, 15 Nov 2026 09:30:00 UTC". TZ is read
// at each call, and the names are those of the current C locale (LC_TIME). Empty when the time does not exist
// in the calendar, or the text would need more than 49 bytes.
ZELTO_API std::string TimeToLocalTimeString(const long& seconds);

// Converts a decimal number as the C library's strtol family does: leading white space and a sign are
// accepted, also a "-" by the unsigned overloads, whose value then wraps. Returns whether the whole text was
// consumed; `value` is written in either case. The empty text is 0 and succeeds. A number out of range
// succeeds with the nearest limit of the type (for an unsigned type the upper one) and sets errno to ERANGE.
// `int` and `unsigned int` give the same answers on 32-bit and 64-bit machines; `long` has the machine's
// width.
ZELTO_API bool StringToInteger(const std::string& text, int& value);
ZELTO_API bool StringToInteger(const std::string& text, long& value);
ZELTO_API bool StringToInteger(const std::string& text, long long& value);
ZELTO_API bool StringToInteger(const std::string& text, unsigned int& value);
ZELTO_API bool StringToInteger(const std::string& text, unsigned long& value);
ZELTO_API bool StringToInteger(const std::string& text, unsigned long long& value);

// Reads "true" or "false" in any letter case, or exactly "1" or "0". Any other text returns false and leaves
// `value` as it was.
ZELTO_API bool StringToBoolean(const std::string& text, bool& value);

// Replaces every byte of the text by its lower-case form in the current C locale.
ZELTO_API void ToLowerCase(std::string& text);

// Seconds since the machine started.
ZELTO_API long GetSystemUpTime();

// Initialises a condition variable whose timed waits take absolute times of CLOCK_MONOTONIC, so that a change
// of the wall clock does not touch them. The caller owns it and calls pthread_cond_destroy.
ZELTO_API void PThreadCondInit(pthread_cond_t& cond);

// The readable form of a type name from typeid(...).name(), or the name itself when it is not a mangled one.
// Null gives the empty text.
ZELTO_API std::string DemangleTypeName(const char* mangledName);

// The items between the delimiters, empty ones included: "a,,b" gives "a", "", "b". A delimiter at the end
// adds no empty item, and the empty text has no items.
ZELTO_API std::vector<std::string> Split(const std::string& text, char delimiter);

} // namespace ZeltoGenericUtils

#endif
