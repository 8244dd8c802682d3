#include "FileRoot.h"

#include "BeneathPath.h"
#include "Limits.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

namespace remoted {

namespace {

constexpr char LEADS_OUT[] = "the name leads out of the folder of files";
constexpr char TOO_LARGE[] = "the file is larger than 1048575 bytes";

// Refused whatever it would lead to: nobody who means a file in the folder writes it so.
bool LeadsOut(const std::string& name) {
    const std::string closed = "/" + name + "/";
    return name.empty() || name[0] == '/' || closed.find("/../") != std::string::npos;
}

std::string Explain(int error) {
    switch (error) {
    case EXDEV:
    case ELOOP:
        return LEADS_OUT;
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
        return "there is no such file";
    case ENXIO: // a socket
        return "not a regular file";
    case EACCES:
    case EPERM:
        return "the file may not be read";
    default:
        return "the file cannot be read";
    }
}

// Up to the end, or up to one byte more than may be sent: a file may grow while it is read.
bool ReadAll(int file, std::string& content) {
    content.resize(MAX_BLOB_SIZE + 1);
    std::size_t size = 0;
    while (size < content.size()) {
        const ssize_t step = read(file, &content[size], content.size() - size);
        if (step < 0 && errno == EINTR) {
            continue;
        }
        if (step < 0) {
            return false;
        }
        if (step == 0) {
            break;
        }
        size += static_cast<std::size_t>(step);
    }
    content.resize(size);
    return true;
}

} // namespace

TFileRoot::TFileRoot(const std::string& path, TResolver chosenResolver)
    : root(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)), resolver(chosenResolver) {
    if (!root) {
        throw std::runtime_error("cannot open the folder " + path + ": " + std::strerror(errno));
    }
}

std::string TFileRoot::Read(const std::string& name, std::string& content) const {
    if (LeadsOut(name)) {
        return LEADS_OUT;
    }
    if (name.size() >= PATH_MAX) {
        return Explain(ENAMETOOLONG);
    }
    const TUniqueFd file = Open(name);
    if (!file) {
        return Explain(errno);
    }
    struct stat64 status {};
    if (fstat64(file.Get(), &status) != 0) {
        return Explain(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "not a regular file";
    }
    if (status.st_size > static_cast<off64_t>(MAX_BLOB_SIZE)) {
        return TOO_LARGE;
    }
    if (!ReadAll(file.Get(), content)) {
        return Explain(errno);
    }
    return content.size() > MAX_BLOB_SIZE ? TOO_LARGE : "";
}

TUniqueFd TFileRoot::Open(const std::string& name) const {
    if (resolver == KERNEL_RESOLVER) {
        TUniqueFd file = OpenBeneathByKernel(root.Get(), name);
        if (file || (errno != ENOSYS && errno != EPERM)) {
            return file;
        }
    }
    return OpenBeneathByComponents(root.Get(), name);
}

} // namespace remoted
