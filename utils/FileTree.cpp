// Entries of the file-system tree: made, moved, removed and copied, alone or with everything below them.

#include "utils/TargetPath.h"
#include "zelto/ZeltoFileUtils.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace ZeltoFileUtils {

namespace {

using zelto::TargetOf;

constexpr unsigned COPIED_DIRECTORY_MODE = 0755;

struct TCloseDir {
    void operator()(DIR* stream) const { ::closedir(stream); }
};
using TStream = std::unique_ptr<DIR, TCloseDir>;

// The names in a directory, in the order of the iterator. The walks below go down only after the directory is
// closed, so that the depth of a tree is not limited by the number of descriptors: a directory that cannot be
// opened would silently count as empty.
std::vector<std::string> EntryNames(const std::string& directory) {
    std::vector<std::string> names;
    for (TDirIterator it(directory); it != TDirIterator::End(); ++it) {
        names.push_back(it.GetName());
    }
    return names;
}

// Not merely out of sight: a status can be refused for other reasons. A link to nothing counts as gone.
bool IsGone(const std::string& path) {
    return !Exists(path) && (errno == ENOENT || errno == ENOTDIR);
}

// As IsDirectory, with an errno that says why not.
bool RequireDirectory(const std::string& path) {
    if (IsDirectory(path)) {
        return true;
    }
    if (Exists(path)) {
        errno = ENOTDIR; // no call has failed
    }
    return false;
}

bool CopyLink(const std::string& from, const std::string& to) {
    std::string target;
    (void)Remove(to); // usually there is nothing; a leftover makes the creation below fail
    return ReadLink(from, target) && CreateSymbolicLink(target, to);
}

bool CopyEntry(const std::string& from, const std::string& to) {
    if (IsSymbolicLink(from)) {
        return CopyLink(from, to);
    }
    if (IsDirectory(from)) {
        (void)CreateDirectory(to, COPIED_DIRECTORY_MODE); // may exist; the copy fails when it is no directory
        return CopyDirectoryContent(from, to);
    }
    return CopyFile(from, to);
}

} // namespace

bool CreateDirectory(const std::string& path, unsigned mode) {
    return ::mkdir(path.c_str(), mode) == 0;
}

bool CreateDirectoryRecursive(const std::string& path, unsigned mode) {
    if (CreateDirectory(path, mode)) {
        return true;
    }
    if (errno != ENOENT) {
        return errno == EEXIST; // whatever kind of file exists there
    }
    return CreateDirectoryRecursive(GetDirName(path), mode) && CreateDirectory(path, mode);
}

bool CreateTemporaryDirectory(std::string& prefix, unsigned mode) {
    std::string created = prefix + "_XXXXXX";
    if (::mkdtemp(created.data()) == nullptr) {
        return false;
    }
    if (!ChangePermissions(created, mode)) {
        const int error = errno;
        (void)RemoveDirectory(created);
        errno = error;
        return false;
    }
    prefix = std::move(created);
    return true;
}

bool CreateSymbolicLink(const std::string& target, const std::string& linkPath) {
    return ::symlink(target.c_str(), linkPath.c_str()) == 0;
}

bool CreateHardLink(const std::string& existing, const std::string& newPath) {
    return ::link(existing.c_str(), newPath.c_str()) == 0;
}

bool Rename(const std::string& from, const std::string& to) {
    return ::rename(from.c_str(), to.c_str()) == 0;
}

bool Move(const std::string& from, const std::string& to) {
    return Rename(from, TargetOf(from, to));
}

bool Remove(const std::string& path) {
    return ::unlink(path.c_str()) == 0;
}

bool RemoveDirectory(const std::string& path) {
    return ::rmdir(path.c_str()) == 0;
}

bool RemoveDirectoryRecursive(const std::string& path) {
    for (const std::string& name : EntryNames(path)) {
        const std::string entry = AppendFilePath(path, name);
        const bool descend = IsDirectory(entry) && !IsSymbolicLink(entry);
        if (!(descend ? RemoveDirectoryRecursive(entry) : Remove(entry))) {
            return false;
        }
    }
    return IsGone(path) || RemoveDirectory(path);
}

unsigned long long GetDirectorySizeRecursive(const std::string& path) {
    unsigned long long size = 0;
    for (const std::string& name : EntryNames(path)) {
        const std::string entry = AppendFilePath(path, name);
        if (IsDirectory(entry)) {
            size += GetDirectorySizeRecursive(entry);
        } else if (IsRegular(entry)) {
            size += GetSize(entry);
        }
    }
    return size;
}

bool CopyDirectoryContent(const std::string& from, const std::string& to) {
    if (!RequireDirectory(from) || !RequireDirectory(to)) {
        return false;
    }
    for (const std::string& name : EntryNames(from)) {
        if (!CopyEntry(AppendFilePath(from, name), AppendFilePath(to, name))) {
            return false;
        }
    }
    return true;
}

bool CopyDirectory(const std::string& from, const std::string& to) {
    if (!RequireDirectory(from)) {
        return false;
    }
    const std::string target = TargetOf(from, to);
    (void)CreateDirectory(target, COPIED_DIRECTORY_MODE); // may exist
    return CopyDirectoryContent(from, target);
}

bool IsDirEmpty(const std::string& path) {
    return TDirIterator(path) == TDirIterator::End();
}

bool GetFiles(const std::string& dir, std::set<std::string>& names) {
    if (IsDirEmpty(dir)) {
        return true;
    }
    const TStream stream(::opendir(dir.c_str()));
    if (stream == nullptr) {
        return false;
    }
    while (const dirent* entry = ::readdir(stream.get())) {
        // No separator: existing callers give `dir` with its "/", and without it they get every name.
        if (!IsDirectory(dir + entry->d_name)) {
            names.insert(entry->d_name);
        }
    }
    return true;
}

bool SyncDirectory(const std::string& path) {
    const TStream stream(::opendir(path.c_str()));
    if (stream == nullptr) {
        return false;
    }
    (void)::fsync(::dirfd(stream.get())); // not every file system can sync a directory
    return true;
}

} // namespace ZeltoFileUtils
