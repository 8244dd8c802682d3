// Opening a file for reading that cannot lie outside a folder. Both ways give an empty owner and errno when
// there is no such file, and EXDEV or ELOOP when the path leads out. Opening never waits, whatever is there.
#ifndef REMOTED_BENEATH_PATH_H
#define REMOTED_BENEATH_PATH_H

#include "UniqueFd.h"

#include <string>

namespace remoted {

// One call of the kernel. errno is ENOSYS where it has none.
TUniqueFd OpenBeneathByKernel(int root, const std::string& path);

// Step by step: no step follows a link by itself, and ".." goes back to the folder that it was entered from,
// so that a folder which is moved meanwhile leads nowhere else.
TUniqueFd OpenBeneathByComponents(int root, const std::string& path);

} // namespace remoted

#endif
