// What the direct writer and the direct reader of JSON texts have in common.
#ifndef ZELTO_PROTOCOL_PLAIN_TEXT_H
#define ZELTO_PROTOCOL_PLAIN_TEXT_H

namespace zelto {

// The end of the characters from `begin` on that stand in a JSON string as they are: the first quote,
// backslash, control character or byte that is not UTF-8, or `end`.
const char* EndOfPlainText(const char* begin, const char* end);

} // namespace zelto

#endif
