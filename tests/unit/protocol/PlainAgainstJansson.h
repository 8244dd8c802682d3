// The direct writer and reader held against jansson: what both the unit test and the fuzz target ask.
#ifndef ZELTO_TESTS_PLAIN_AGAINST_JANSSON_H
#define ZELTO_TESTS_PLAIN_AGAINST_JANSSON_H

#include <string>

namespace plainjson {

// Each returns "" when the two agree, and otherwise what they make of the input.

// The fields of a body whose text is `text`, whatever it holds.
std::string CompareReading(const std::string& text);

// The bytes, or the refusal, of each shape that is written with `name` and `value`.
std::string CompareWriting(const std::string& name, const std::string& value, bool flag);

} // namespace plainjson

#endif
