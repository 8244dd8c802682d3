// The binary interface of the library that this program is linked to, as lists of lines.
#ifndef ZELTO_TESTS_ABI_LISTS_H
#define ZELTO_TESTS_ABI_LISTS_H

#include <string>
#include <vector>

namespace contract {

using TLines = std::vector<std::string>;

// "name function" or "name object size" for each exported symbol, sorted. What differs between compilers and
// not for a program, such as the binding, is left out.
TLines SymbolLines();

// "class index content" for each word of each exported table of virtual functions.
TLines SlotLines();

// "record size S align A" and "record.field offset size" for each record and class of the headers.
TLines LayoutLines();

// The path of the library under test.
std::string LibraryPath();

} // namespace contract

#endif
