#include "BeneathPath.h"

#include <cerrno>
#include <climits>
#include <vector>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace remoted {

namespace {

// O_LARGEFILE and stat64: a file that is too large, or has a large inode, is to be found so on 32 bits, too.
constexpr int FILE_FLAGS = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_LARGEFILE;
constexpr int MOST_LINKS = 40; // as the kernel has it
constexpr int MOST_TRIES = 8;  // of a path in which something is renamed all the time

class TWalk {
public:
    TWalk(int rootFolder, std::string path) : root(rootFolder), rest(std::move(path)) {}

    // An empty owner and errno when the path leads nowhere.
    TUniqueFd Run();

private:
    int Folder() const { return entered.empty() ? root : entered.back().Get(); }
    bool IsAtEnd() const { return rest.find_first_not_of('/') == std::string::npos; }
    std::string NextComponent();
    bool GoUp();
    bool Enter(const std::string& component);
    bool Follow(int link);

    int root;
    std::string rest; // what is left of the path
    std::vector<TUniqueFd> entered;
    int links = 0;
};

std::string TWalk::NextComponent() {
    rest.erase(0, rest.find_first_not_of('/'));
    std::string component = rest.substr(0, rest.find('/'));
    rest.erase(0, component.size());
    return component;
}

bool TWalk::GoUp() {
    if (entered.empty()) {
        errno = EXDEV;
        return false;
    }
    entered.pop_back();
    return true;
}

// Puts the target of a link in front of what is left.
bool TWalk::Follow(int link) {
    std::string target(PATH_MAX, '\0');
    const ssize_t size = readlinkat(link, "", &target[0], target.size());
    if (size < 0) {
        return false;
    }
    target.resize(static_cast<std::size_t>(size));
    if (target.empty() || target[0] == '/' || ++links > MOST_LINKS) {
        errno = links > MOST_LINKS ? ELOOP : EXDEV;
        return false;
    }
    rest = target + rest;
    return true;
}

bool TWalk::Enter(const std::string& component) {
    TUniqueFd next(openat(Folder(), component.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat64 status {};
    if (!next || fstat64(next.Get(), &status) != 0) {
        return false;
    }
    if (S_ISLNK(status.st_mode)) {
        return Follow(next.Get());
    }
    entered.push_back(std::move(next));
    return true;
}

TUniqueFd TWalk::Run() {
    while (!IsAtEnd()) {
        const std::string component = NextComponent();
        if (component == "." || (component == ".." && GoUp())) {
            continue;
        }
        if (component == "..") {
            return TUniqueFd();
        }
        // The last one is opened at once; a link fails here and is followed instead.
        if (rest.empty()) {
            TUniqueFd file(openat(Folder(), component.c_str(), FILE_FLAGS | O_NOFOLLOW));
            if (file || errno != ELOOP) {
                return file;
            }
        }
        if (!Enter(component)) {
            return TUniqueFd();
        }
    }
    return TUniqueFd(openat(Folder(), ".", FILE_FLAGS));
}

} // namespace

TUniqueFd OpenBeneathByKernel(int root, const std::string& path) {
#ifdef SYS_openat2
    open_how how{};
    how.flags = FILE_FLAGS;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    for (int tries = 0; tries < MOST_TRIES; ++tries) {
        const long file = syscall(SYS_openat2, root, path.c_str(), &how, sizeof(how));
        if (file >= 0 || errno != EAGAIN) {
            return TUniqueFd(static_cast<int>(file));
        }
    }
#else
    errno = ENOSYS;
#endif
    return TUniqueFd();
}

TUniqueFd OpenBeneathByComponents(int root, const std::string& path) {
    return TWalk(root, path).Run();
}

} // namespace remoted
