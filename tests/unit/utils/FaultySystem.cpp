// The fortified declarations would clash with the definitions below.
#undef _FORTIFY_SOURCE

#include "FaultySystem.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <new>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local zelto_test::TFaults* faults = nullptr;

// Takes the next step of a plan: the bytes that the call may move, or -1 when it is to fail.
long NextStep(zelto_test::TCallPlan zelto_test::TFaults::*plan, std::size_t bytes) {
    if (faults == nullptr || (faults->*plan).empty()) {
        return static_cast<long>(bytes);
    }
    const int step = (faults->*plan).front();
    (faults->*plan).pop_front();
    if (step < 0) {
        errno = -step;
        return -1;
    }
    if (step == zelto_test::NOTHING) {
        return 0;
    }
    return step == 0 ? static_cast<long>(bytes) : std::min<long>(step, static_cast<long>(bytes));
}

template <typename TFunction>
TFunction* RealFunction(const char* name) {
    return reinterpret_cast<TFunction*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

namespace zelto_test {

TFaultySystem::TFaultySystem() {
    faults = this;
}

TFaultySystem::~TFaultySystem() {
    faults = nullptr;
}

} // namespace zelto_test

// The library finds these only when the program exports them.
#pragma GCC visibility push(default)

extern "C" {

ssize_t read(int fd, void* data, size_t size) {
    if (faults != nullptr) {
        faults->longestRead = std::max(faults->longestRead, size);
    }
    const long allowed = NextStep(&zelto_test::TFaults::reads, size);
    return allowed < 0 ? -1 : ::syscall(SYS_read, fd, data, allowed);
}

ssize_t write(int fd, const void* data, size_t size) {
    if (faults != nullptr) {
        faults->longestWrite = std::max(faults->longestWrite, size);
    }
    const long allowed = NextStep(&zelto_test::TFaults::writes, size);
    return allowed < 0 ? -1 : ::syscall(SYS_write, fd, data, allowed);
}

ssize_t copy_file_range(int from, off64_t* fromOffset, int to, off64_t* toOffset, size_t size,
                        unsigned int flags) {
    const long allowed = NextStep(&zelto_test::TFaults::kernelCopies, size);
    return allowed < 0 ? -1 : ::syscall(SYS_copy_file_range, from, fromOffset, to, toOffset, allowed, flags);
}

int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (faults != nullptr) {
        faults->openFlags = flags;
    }
    if (NextStep(&zelto_test::TFaults::opens, 0) < 0) {
        return -1;
    }
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int close(int fd) {
    const long result = ::syscall(SYS_close, fd);
    return NextStep(&zelto_test::TFaults::closes, 0) < 0 ? -1 : static_cast<int>(result);
}

int chmod(const char* path, mode_t mode) {
    if (NextStep(&zelto_test::TFaults::chmods, 0) < 0) {
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

DIR* opendir(const char* path) {
    static auto* const REAL = RealFunction<DIR*(const char*)>("opendir");
    if (faults != nullptr && faults->beforeOpendir) {
        faults->beforeOpendir();
    }
    return NextStep(&zelto_test::TFaults::opendirs, 0) < 0 ? nullptr : REAL(path);
}

int statvfs(const char* path, struct statvfs* space) noexcept {
    static auto* const REAL = RealFunction<int(const char*, struct statvfs*)>("statvfs");
    if (faults == nullptr || faults->space == nullptr) {
        return REAL(path, space);
    }
    *space = *faults->space;
    return 0;
}
}

void* operator new(std::size_t size) {
    const bool refused = faults != nullptr && faults->allocationLimit > 0 && size > faults->allocationLimit;
    void* memory = refused ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

#pragma GCC visibility pop
