// A file-system toolkit over the POSIX calls.
//
// Rules for every function, unless its own comment says otherwise:
// - Paths go to the system as they are; a relative path starts at the current directory. Links are followed.
// - A failure is false, 0 or "". Outputs are then untouched and errno is what the failing system call left
//   (GetError() gives its text). A success does not reset errno.
// - Nothing is logged. Only memory exhaustion throws (std::bad_alloc). No descriptor outlives the call.
// - Any thread may call; umask, current directory and errors of relative paths are those of the process.
// - On a 32-bit machine a file of 2 GiB or more cannot be asked for its status, opened or copied (EOVERFLOW).
//   Nothing can be asked for its status whose inode number needs more than 32 bits, and the listing of a
//   directory ends before such an entry.
// - A listing that fails halfway counts as at its end.
#ifndef ZELTO_FILE_UTILS_H
#define ZELTO_FILE_UTILS_H

#include "zelto/Export.h"

#include <set>
#include <string>

#include <dirent.h>

namespace ZeltoFileUtils {

// Walks the entries of one directory, except "." and "..", in the order in which the system lists them:
//
//     for (TDirIterator it(directory); it != TDirIterator::End(); ++it) {
//         std::cout << it.GetFullPath() << '\n';
//     }
//
// The iterator stands on the left of the comparison. An object is used by one thread at a time and holds one
// descriptor while it has an open directory.
class ZELTO_API TDirIterator {
public:
    // The end: no directory, no entry.
    TDirIterator();
    // At the first entry. When the directory cannot be opened (errno says why) there is none.
    TDirIterator(const std::string& directory);
    // Opens the same directory again, at its first entry wherever `other` stands.
    TDirIterator(const TDirIterator& other);
    TDirIterator& operator=(const TDirIterator&) = delete;
    ~TDirIterator();

    // To the next entry, or past the last one.
    void Next();
    TDirIterator& operator++();
    // Advances this iterator and returns a copy of it, which stands at the first entry of the directory.
    TDirIterator operator++(int);

    // The entry's name, "" when there is no entry.
    std::string GetName() const;
    // The directory as it was given, "/" and the entry's name; "" when there is no entry.
    std::string GetFullPath() const;

    // Without a directory: whether `other` has none either. Else without an entry: whether `other` has none
    // either. Else whether both full paths are equal. So this is not symmetric: an iterator past its last
    // entry equals End(), but End() does not equal it.
    bool operator==(const TDirIterator& other) const;
    bool operator!=(const TDirIterator& other) const;

    // The shared end iterator. It lives until the process exits.
    static const TDirIterator& End();

private:
    // The order of members is binary interface.
    DIR* stream;
    dirent* entry;
    std::string path; // the directory with "/" appended; empty for the end
};

// The text of the calling thread's errno.
ZELTO_API std::string GetError();

// Creating. `mode` holds permission bits; the umask applies where it is not said otherwise.

ZELTO_API bool CreateDirectory(const std::string& path, unsigned mode);
// Creates the missing parents too, all with `mode`. Succeeds when anything exists at `path` already, also a
// file, but what appears there only while the parents are made is a failure (EEXIST): something that another
// process has made meanwhile, or the "." of "new/.". Directories that were made before a failure stay.
ZELTO_API bool CreateDirectoryRecursive(const std::string& path, unsigned mode);
// Creates a new directory named `prefix`, "_" and six random characters, with exactly `mode` whatever the
// umask, and replaces `prefix` by its path.
ZELTO_API bool CreateTemporaryDirectory(std::string& prefix, unsigned mode);
// The target need not exist and is stored as it is.
ZELTO_API bool CreateSymbolicLink(const std::string& target, const std::string& linkPath);
// A symbolic link at `existing` is not followed.
ZELTO_API bool CreateHardLink(const std::string& existing, const std::string& newPath);
// Returns the previous mask.
ZELTO_API unsigned SetCreationMask(unsigned mask);

// Links.

// The text of a symbolic link, cut to 4096 bytes.
ZELTO_API bool ReadLink(const std::string& path, std::string& target);
// The absolute path without links, "." and "..".
ZELTO_API bool RealPath(const std::string& path, std::string& resolved);
ZELTO_API bool IsSymbolicLink(const std::string& path); // of the path itself, not followed

// Status.

// The path leads to something: false for a dangling link.
ZELTO_API bool Exists(const std::string& path);
ZELTO_API bool IsDirectory(const std::string& path);
ZELTO_API bool IsRegular(const std::string& path);
ZELTO_API bool IsFifo(const std::string& path);
ZELTO_API bool IsSocket(const std::string& path);
ZELTO_API bool IsDevice(const std::string& path); // a character device
// A block device. Alone among these tests it does not follow links.
ZELTO_API bool IsBlock(const std::string& path);
// Both lead to the same file: hard links, links, other spellings of the path.
ZELTO_API bool IsSame(const std::string& a, const std::string& b);
// Permission, set-id and sticky bits.
ZELTO_API bool GetPermissions(const std::string& path, unsigned& mode);
ZELTO_API bool GetDevice(const std::string& path, unsigned long long& device);
ZELTO_API bool GetOwner(const std::string& path, unsigned& uid);
ZELTO_API bool GetGroup(const std::string& path, unsigned& gid);
// Whole seconds since the epoch.
ZELTO_API bool GetModificationTime(const std::string& path, long& t);
ZELTO_API bool GetStatusChangeTime(const std::string& path, long& t);
ZELTO_API bool GetAccessTime(const std::string& path, long& t);
// Length in bytes.
ZELTO_API unsigned long long GetSize(const std::string& path);
ZELTO_API unsigned GetHardLinkCount(const std::string& path);
ZELTO_API bool ChangePermissions(const std::string& path, unsigned mode);
// Of the path itself: a link is not followed.
ZELTO_API bool ChangeLinkOwner(const std::string& path, unsigned uid);
ZELTO_API bool ChangeLinkGroup(const std::string& path, unsigned gid);
// Block size times the blocks that unprivileged users may still fill, on the file system of `path`.
ZELTO_API bool GetAvailableSpace(const std::string& path, unsigned long long& bytes);

// Moving and removing.

// Replaces an existing file or empty directory at `to`. Links are not followed.
ZELTO_API bool Rename(const std::string& from, const std::string& to);
// As Rename, but into `to` when that is a directory. Not across file systems (EXDEV).
ZELTO_API bool Move(const std::string& from, const std::string& to);
// Removes a file or a link, never a directory.
ZELTO_API bool Remove(const std::string& path);
// Removes an empty directory.
ZELTO_API bool RemoveDirectory(const std::string& path);
// Removes a directory with everything in it. Links inside are removed, not followed, but a `path` that is
// itself a link to a directory gets that directory emptied and then fails (ENOTDIR). The first failure ends
// it and leaves the rest. True when nothing exists at `path` (ENOENT, ENOTDIR). Not for a tree that others
// can change meanwhile: a directory inside that they replace by a link at the right moment is followed, and
// what it leads to is removed with the caller's rights.
ZELTO_API bool RemoveDirectoryRecursive(const std::string& path);

// File contents. A new file gets mode 0755 less the umask.

// Replaces `content` by the file's bytes. False with `content` untouched when the file cannot be opened, and
// with the bytes read so far when reading fails or memory runs out, which it does for 1 GiB on a 32-bit
// machine: this function never throws.
ZELTO_API bool ReadFile(const std::string& path, std::string& content);
// Creates the file or truncates it first, also when writing then fails; the bytes written so far stay.
// `sync`: the data are on the disk before the call returns.
ZELTO_API bool WriteFile(const std::string& path, const std::string& content, bool sync);
// Cuts or extends (with zeros) a file. Only the low 32 bits of `length` count, as a signed number: from 2 GiB
// to 4 GiB it is negative and fails with EINVAL.
ZELTO_API bool ResizeFile(const std::string& path, unsigned long long length);
// Copies the bytes of a file, no mode, owner or times, to `to`, or into `to` under its own name when that is
// a directory. The target is created or truncated, and stays incomplete after a failure. Copying a file onto
// itself empties it.
ZELTO_API bool CopyFile(const std::string& from, const std::string& to);

// Directories.

// Copies the entries of one existing directory into another. Symbolic links are copied as links and replace
// what is not a directory; sub-directories are created with mode 0755 less the umask; everything else goes
// through CopyFile, which waits at a FIFO. The first failure ends it and leaves what was copied. A directory
// that cannot be listed counts as empty. Copying a directory into itself fails, when names have become too
// long.
ZELTO_API bool CopyDirectoryContent(const std::string& from, const std::string& to);
// The same, into `to` under its own name when `to` is a directory, otherwise as `to`, which is created.
ZELTO_API bool CopyDirectory(const std::string& from, const std::string& to);
// Sum of the lengths of the regular files below `path`, in bytes. Links are followed, so a file that two
// names reach counts twice, and a link back into the tree counts until the system refuses (40 links in one
// path). Two links to "." in one directory would be some 2^40 visits: not for trees of others.
ZELTO_API unsigned long long GetDirectorySizeRecursive(const std::string& path);
// No entries but "." and "..". True as well when the directory cannot be opened.
ZELTO_API bool IsDirEmpty(const std::string& path);
// Adds the names of the entries that are not directories. Give `dir` with a "/" at its end; without it every
// name is added, "." and ".." too. True without names when the directory cannot be opened.
ZELTO_API bool GetFiles(const std::string& dir, std::set<std::string>& names);
// Asks the system to write the directory's entries to the disk. False only when it cannot be opened.
ZELTO_API bool SyncDirectory(const std::string& path);
ZELTO_API bool ChangeDirectory(const std::string& path);
// Up to 4095 bytes.
ZELTO_API std::string GetCurrentDirectory();

// Text of paths: nothing is looked up.

// As POSIX dirname and basename: "/a/b/" has "/a" and "b", "/" has "/" and "/", "" has "." and ".".
ZELTO_API std::string GetDirName(const std::string& path);
ZELTO_API std::string GetBaseName(const std::string& path);
// The base name from its last "." on: ".gz" of "a.tar.gz", ".profile" of ".profile"; "" without a ".", and of
// "." and "..".
ZELTO_API std::string GetFileExtension(const std::string& path);
// `dir`, "/" and `name`; no "/" is left out.
ZELTO_API std::string AppendFilePath(const std::string& dir, const std::string& name);
// What stands after the last "/", a "/" at the end not counted: "b" of "a/b/". "" of "" and of "/".
ZELTO_API std::string GetFileNameFromPath(const std::string& path);

} // namespace ZeltoFileUtils

#endif
