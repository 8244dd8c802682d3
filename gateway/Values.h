// Texts of values: how files, numbers and booleans become one, and how one is understood.
#ifndef GATEWAY_VALUES_H
#define GATEWAY_VALUES_H

#include <cstdint>
#include <string>

namespace gateway {

// The whole of a file of any size, or "" when it cannot be read.
std::string ReadFile(const std::string& path);

// Its first line without blanks at either end.
std::string ReadLine(const std::string& path);

std::string BooleanText(bool value);

// "true", "false", "1" and "0"; false for anything else, with `value` untouched.
bool ParseBoolean(const std::string& text, bool& value);

// Decimal digits only, and no more than `highest`.
bool ParseUnsigned(const std::string& text, uint64_t highest, uint64_t& value);

} // namespace gateway

#endif
