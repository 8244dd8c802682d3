// What a path leads to, and changes of its owner and mode.

#include "zelto/ZeltoFileUtils.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ZeltoFileUtils {

namespace {

constexpr mode_t PERMISSION_BITS = 0xFFF;
constexpr uid_t KEEP_OWNER = static_cast<uid_t>(-1);
constexpr gid_t KEEP_GROUP = static_cast<gid_t>(-1);

bool GetStatus(const std::string& path, struct stat& status) {
    return ::stat(path.c_str(), &status) == 0;
}

bool GetLinkStatus(const std::string& path, struct stat& status) {
    return ::lstat(path.c_str(), &status) == 0;
}

bool HasType(const std::string& path, mode_t type) {
    struct stat status {};
    return GetStatus(path, status) && (status.st_mode & S_IFMT) == type;
}

bool HasTypeItself(const std::string& path, mode_t type) {
    struct stat status {};
    return GetLinkStatus(path, status) && (status.st_mode & S_IFMT) == type;
}

// Writes what `select` takes from the status of `path`, on success only.
template <typename TValue, typename TSelect>
bool Query(const std::string& path, TValue& value, TSelect select) {
    struct stat status {};
    if (!GetStatus(path, status)) {
        return false;
    }
    value = static_cast<TValue>(select(status));
    return true;
}

} // namespace

std::string GetError() {
    return std::strerror(errno);
}

bool Exists(const std::string& path) {
    struct stat status {};
    return GetStatus(path, status);
}

bool IsDirectory(const std::string& path) {
    return HasType(path, S_IFDIR);
}

bool IsRegular(const std::string& path) {
    return HasType(path, S_IFREG);
}

bool IsFifo(const std::string& path) {
    return HasType(path, S_IFIFO);
}

bool IsSocket(const std::string& path) {
    return HasType(path, S_IFSOCK);
}

bool IsDevice(const std::string& path) {
    return HasType(path, S_IFCHR);
}

bool IsSymbolicLink(const std::string& path) {
    return HasTypeItself(path, S_IFLNK);
}

// Does not follow links, unlike its neighbours: callers tell a device node from a link to one.
bool IsBlock(const std::string& path) {
    return HasTypeItself(path, S_IFBLK);
}

bool IsSame(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return GetStatus(a, first) && GetStatus(b, second) && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

bool GetPermissions(const std::string& path, unsigned& mode) {
    return Query(path, mode, [](const struct stat& status) { return status.st_mode & PERMISSION_BITS; });
}

bool GetDevice(const std::string& path, unsigned long long& device) {
    return Query(path, device, [](const struct stat& status) { return status.st_dev; });
}

bool GetOwner(const std::string& path, unsigned& uid) {
    return Query(path, uid, [](const struct stat& status) { return status.st_uid; });
}

bool GetGroup(const std::string& path, unsigned& gid) {
    return Query(path, gid, [](const struct stat& status) { return status.st_gid; });
}

bool GetModificationTime(const std::string& path, long& t) {
    return Query(path, t, [](const struct stat& status) { return status.st_mtim.tv_sec; });
}

bool GetStatusChangeTime(const std::string& path, long& t) {
    return Query(path, t, [](const struct stat& status) { return status.st_ctim.tv_sec; });
}

bool GetAccessTime(const std::string& path, long& t) {
    return Query(path, t, [](const struct stat& status) { return status.st_atim.tv_sec; });
}

unsigned long long GetSize(const std::string& path) {
    unsigned long long size = 0;
    (void)Query(path, size, [](const struct stat& status) { return status.st_size; }); // 0 on failure
    return size;
}

unsigned GetHardLinkCount(const std::string& path) {
    unsigned count = 0;
    (void)Query(path, count, [](const struct stat& status) { return status.st_nlink; }); // 0 on failure
    return count;
}

bool ChangePermissions(const std::string& path, unsigned mode) {
    return ::chmod(path.c_str(), mode) == 0;
}

bool ChangeLinkOwner(const std::string& path, unsigned uid) {
    return ::lchown(path.c_str(), uid, KEEP_GROUP) == 0;
}

bool ChangeLinkGroup(const std::string& path, unsigned gid) {
    return ::lchown(path.c_str(), KEEP_OWNER, gid) == 0;
}

unsigned SetCreationMask(unsigned mask) {
    return ::umask(mask);
}

// The block size, not the fragment size in which the system counts the blocks: the number that callers
// compare with has always been this one.
bool GetAvailableSpace(const std::string& path, unsigned long long& bytes) {
    struct statvfs space {};
    if (::statvfs(path.c_str(), &space) != 0) {
        return false;
    }
    bytes = static_cast<unsigned long long>(space.f_bsize) * space.f_bavail;
    return true;
}

} // namespace ZeltoFileUtils
