// What the direct writer and the direct reader of JSON texts have in common.
#ifndef ZELTO_PROTOCOL_PLAIN_TEXT_H
#define ZELTO_PROTOCOL_PLAIN_TEXT_H

#include <string>
#include <string_view>

namespace zelto {

// The end of the characters from `begin` on that stand in a JSON string as they are: the first quote,
// backslash, control character or byte that is not UTF-8, or `end`.
const char* EndOfPlainText(const char* begin, const char* end);

// What is before the first NUL, or before the first byte that is not UTF-8.
std::string_view Utf8Beginning(std::string_view text);

// What is wrong with a text that is not UTF-8. `what` says which it is; a name is shown as far as it is
// UTF-8.
std::string NotUtf8(std::string_view what);
std::string NameNotUtf8(std::string_view what, std::string_view name);

} // namespace zelto

#endif
