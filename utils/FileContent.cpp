// Reading, writing and copying the bytes of files.

#include "utils/TargetPath.h"
#include "utils/UniqueFd.h"
#include "zelto/ZeltoFileUtils.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <new>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace ZeltoFileUtils {

namespace {

using zelto::TUniqueFd;
using TChunk = std::array<char, 8192>;

// Executable, because programs install scripts with these functions and depend on it.
constexpr mode_t NEW_FILE_MODE = 0755;

// Descriptors do not leak into programs that another thread starts meanwhile.
TUniqueFd OpenForReading(const std::string& path) {
    return TUniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

TUniqueFd OpenForWriting(const std::string& path, int flags) {
    return TUniqueFd(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | flags, NEW_FILE_MODE));
}

// As read(), not interrupted by signals.
ssize_t ReadChunk(const TUniqueFd& file, TChunk& chunk) {
    ssize_t count = 0;
    do {
        count = ::read(file.Get(), chunk.data(), chunk.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

// Writes everything, over partial writes and signals.
bool WriteAll(const TUniqueFd& file, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(file.Get(), data, size);
        if (written == 0) {
            errno = EIO; // no call has failed, but none would ever write the rest
            return false;
        }
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

// Half of the time of reading a large file goes into the first touch of the content's pages: huge ones are
// few. From this size on an allocation is a mapping of its own, so the wish ends with it. It may be refused.
void WishForHugePages(std::string& content) {
    constexpr std::size_t LARGE = 32U << 20;
    if (content.capacity() < LARGE) {
        return;
    }
    const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto inFirstPage = reinterpret_cast<std::uintptr_t>(content.data()) % pageSize;
    (void)::madvise(content.data() - inFirstPage, content.capacity(), MADV_HUGEPAGE);
}

bool ReadToEnd(const TUniqueFd& file, std::string& content) {
    TChunk chunk;
    ssize_t count = ReadChunk(file, chunk);
    while (count > 0) {
        content.append(chunk.data(), static_cast<std::size_t>(count));
        count = ReadChunk(file, chunk);
    }
    return count == 0;
}

// Lets the kernel copy as much as it can, from and to the files' positions, which it moves on. Whatever ends
// that, the buffer behind it meets again: the end, an error, or a file that the kernel cannot copy or takes
// for empty, as those of /proc.
void CopyInKernel(const TUniqueFd& source, const TUniqueFd& copy) {
    constexpr std::size_t AT_ONCE = 64U << 20;
    ssize_t count = 0;
    do {
        count = ::copy_file_range(source.Get(), nullptr, copy.Get(), nullptr, AT_ONCE, 0);
    } while (count > 0 || (count < 0 && errno == EINTR));
}

bool CopyThroughBuffer(const TUniqueFd& source, const TUniqueFd& copy) {
    TChunk chunk;
    ssize_t count = ReadChunk(source, chunk);
    while (count > 0) {
        if (!WriteAll(copy, chunk.data(), static_cast<std::size_t>(count))) {
            return false;
        }
        count = ReadChunk(source, chunk);
    }
    return count == 0;
}

} // namespace

bool ReadFile(const std::string& path, std::string& content) {
    const TUniqueFd file = OpenForReading(path);
    if (!file) {
        return false;
    }
    try {
        content.clear();
        content.reserve(static_cast<std::size_t>(GetSize(path)));
        WishForHugePages(content);
        return ReadToEnd(file, content);
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        errno = ENOMEM; // no call has failed
        return false;
    }
}

bool WriteFile(const std::string& path, const std::string& content, bool sync) {
    const TUniqueFd file = OpenForWriting(path, sync ? O_SYNC : 0);
    return file && WriteAll(file, content.data(), content.size());
}

// The 32-bit interface is the reference: only the low 32 bits of the length are handed on, as the signed
// number that a 32-bit truncate() takes.
bool ResizeFile(const std::string& path, unsigned long long length) {
    return ::truncate(path.c_str(), static_cast<std::int32_t>(length)) == 0;
}

bool CopyFile(const std::string& from, const std::string& to) {
    const std::string target = zelto::TargetOf(from, to);
    const TUniqueFd source = OpenForReading(from);
    if (!source) {
        return false;
    }
    const TUniqueFd copy = OpenForWriting(target, 0);
    if (!copy) {
        return false;
    }
    CopyInKernel(source, copy);
    return CopyThroughBuffer(source, copy);
}

} // namespace ZeltoFileUtils
