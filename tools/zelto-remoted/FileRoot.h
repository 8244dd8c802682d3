// The folder that files are served from. Nothing outside it can be reached: not by "..", not by an absolute
// path, not by a symbolic link in it. Links that stay inside are followed.
#ifndef REMOTED_FILE_ROOT_H
#define REMOTED_FILE_ROOT_H

#include "UniqueFd.h"

#include <string>

namespace remoted {

class TFileRoot {
public:
    enum TResolver {
        KERNEL_RESOLVER, // openat2; where the kernel has none, or a sandbox forbids it, as below
        OWN_RESOLVER,    // component by component
    };

    // Throws std::runtime_error when there is no such folder.
    explicit TFileRoot(const std::string& path, TResolver chosenResolver = KERNEL_RESOLVER);

    // Reads a regular file of at most MAX_BLOB_SIZE bytes. Returns "" or why it cannot be read. Any thread.
    std::string Read(const std::string& name, std::string& content) const;

private:
    TUniqueFd Open(const std::string& name) const;

    TUniqueFd root;
    TResolver resolver;
};

} // namespace remoted

#endif
