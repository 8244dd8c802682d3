// In place of LineEditor.cpp where libedit is missing.

#include "LineReader.h"

namespace tool {

std::unique_ptr<ILineReader> NewLineEditor(const std::string&, const TCompleter&) {
    return nullptr;
}

} // namespace tool
