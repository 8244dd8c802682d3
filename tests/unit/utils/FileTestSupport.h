// What the tests of the file utilities share: a scratch directory for each test, and temporary changes of the
// process that end with their scope.
#ifndef ZELTO_TESTS_FILE_TEST_SUPPORT_H
#define ZELTO_TESTS_FILE_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelto_test {

inline long CountOpenDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors)) - 1; // one of them lists the directory
}

inline void PutFile(const std::string& path, const std::string& content = "") {
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string FileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// A content in which no two stretches are alike.
inline std::string SomeBytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 31 + i / 256);
    }
    return bytes;
}

inline unsigned ModeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : ~0U;
}

// Levels of directories named "d" below `directory`.
inline std::string DeepPath(const std::string& directory, int levels) {
    std::string path = directory;
    for (int level = 0; level < levels; ++level) {
        path += "/d";
    }
    return path;
}

// A directory of its own for each test, removed with its end. No test leaves a descriptor open.
class TFileTest : public testing::Test {
protected:
    explicit TFileTest(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::string name = parent / "zelto_files_XXXXXX";
        dir = ::mkdtemp(name.data());
        ::chmod(dir.c_str(), 0777); // tests that give up their privileges still get in
        descriptors = CountOpenDescriptors();
    }
    ~TFileTest() override { std::filesystem::remove_all(dir); }

    void TearDown() override { EXPECT_EQ(CountOpenDescriptors(), descriptors); }

    std::string At(const std::string& name) const { return dir + "/" + name; }

    std::string dir;
    long descriptors;
};

// Where to keep thousands of directories: in memory when the machine has a place for that.
inline std::filesystem::path MemoryDirectory() {
    return ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::filesystem::temp_directory_path();
}

// Permissions hold, also when the tests run as root.
class TUnprivileged {
public:
    TUnprivileged() : owner(::geteuid()) { Become(owner == 0 ? NOBODY : owner); }
    ~TUnprivileged() { Become(owner); }
    TUnprivileged(const TUnprivileged&) = delete;
    TUnprivileged& operator=(const TUnprivileged&) = delete;

private:
    static constexpr uid_t NOBODY = 65534;
    static void Become(uid_t user) { ASSERT_EQ(::seteuid(user), 0); }

    uid_t owner;
};

// A lower limit of the process.
class TLimit {
public:
    TLimit(int limited, rlim_t value) : resource(static_cast<decltype(resource)>(limited)) {
        ::getrlimit(resource, &saved);
        rlimit limit = saved;
        limit.rlim_cur = value;
        EXPECT_EQ(::setrlimit(resource, &limit), 0);
    }
    ~TLimit() { ::setrlimit(resource, &saved); }
    TLimit(const TLimit&) = delete;
    TLimit& operator=(const TLimit&) = delete;

private:
    int resource;
    rlimit saved{};
};

// Files end at a size, as on a full disk: a write beyond it fails with EFBIG.
class TFileSizeLimit {
public:
    explicit TFileSizeLimit(rlim_t bytes)
        : saved(std::signal(SIGXFSZ, SIG_IGN)), limit(RLIMIT_FSIZE, bytes) {}
    ~TFileSizeLimit() { std::signal(SIGXFSZ, saved); }
    TFileSizeLimit(const TFileSizeLimit&) = delete;
    TFileSizeLimit& operator=(const TFileSizeLimit&) = delete;

private:
    void (*saved)(int);
    TLimit limit;
};

class TCreationMask {
public:
    explicit TCreationMask(mode_t mask) : saved(::umask(mask)) {}
    ~TCreationMask() { ::umask(saved); }
    TCreationMask(const TCreationMask&) = delete;
    TCreationMask& operator=(const TCreationMask&) = delete;

private:
    mode_t saved;
};

class TWorkingDirectory {
public:
    explicit TWorkingDirectory(const std::string& path) : saved(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~TWorkingDirectory() { std::filesystem::current_path(saved); }
    TWorkingDirectory(const TWorkingDirectory&) = delete;
    TWorkingDirectory& operator=(const TWorkingDirectory&) = delete;

private:
    std::filesystem::path saved;
};

} // namespace zelto_test

#endif
