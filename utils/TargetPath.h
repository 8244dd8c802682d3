// Where a file or a directory goes that is moved or copied.
#ifndef ZELTO_UTILS_TARGET_PATH_H
#define ZELTO_UTILS_TARGET_PATH_H

#include "zelto/ZeltoFileUtils.h"

#include <string>

namespace zelto {

// Into `to` under the own name of `from` when `to` is a directory, else to `to`.
inline std::string TargetOf(const std::string& from, const std::string& to) {
    using namespace ZeltoFileUtils;
    return IsDirectory(to) ? AppendFilePath(to, GetBaseName(from)) : to;
}

} // namespace zelto

#endif
