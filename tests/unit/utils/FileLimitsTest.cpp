// Deep trees, few descriptors, small stacks and full disks.

#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

#include <functional>

#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

using namespace ZeltoFileUtils;
using namespace zelto_test;
namespace fs = std::filesystem;

namespace {

constexpr int LEVELS = 1000;

// Runs `work` on a thread with a stack of 1 MiB.
void OnSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 1 << 20);
    pthread_t thread{};
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

// The walks need no more than a directory and two files at a time.
rlim_t DescriptorLimit() {
    const int free = ::dup(0);
    ::close(free);
    return static_cast<rlim_t>(free) + 3;
}

class DeepTreeTest : public TFileTest {
protected:
    DeepTreeTest() : TFileTest(MemoryDirectory()) {}

    void SetUp() override {
        OnSmallStack([this] { created = CreateDirectoryRecursive(DeepPath(At("tree"), LEVELS), 0755); });
        ASSERT_TRUE(created);
        PutFile(DeepPath(At("tree"), LEVELS) + "/f", "12345");
        PutFile(At("tree/f"), "123");
    }
    void TearDown() override {
        const bool removed = RemoveDirectoryRecursive(At("tree")) && RemoveDirectoryRecursive(At("copy"));
        EXPECT_TRUE(removed);
        TFileTest::TearDown();
    }

    bool created = false;
};

TEST_F(DeepTreeTest, IsCreated) {
    EXPECT_TRUE(fs::is_directory(DeepPath(At("tree"), LEVELS)));
}

TEST_F(DeepTreeTest, IsRemovedWithFewDescriptorsAndASmallStack) {
    bool removed = false;
    {
        const TLimit descriptorLimit(RLIMIT_NOFILE, DescriptorLimit());
        OnSmallStack([&] { removed = RemoveDirectoryRecursive(At("tree")); });
    }
    EXPECT_TRUE(removed);
    EXPECT_FALSE(fs::exists(At("tree")));
}

TEST_F(DeepTreeTest, IsMeasuredWithFewDescriptorsAndASmallStack) {
    unsigned long long size = 0;
    {
        const TLimit descriptorLimit(RLIMIT_NOFILE, DescriptorLimit());
        OnSmallStack([&] { size = GetDirectorySizeRecursive(At("tree")); });
    }
    EXPECT_EQ(size, 8U);
}

TEST_F(DeepTreeTest, IsCopiedWithFewDescriptorsAndASmallStack) {
    bool copied = false;
    {
        const TLimit descriptorLimit(RLIMIT_NOFILE, DescriptorLimit());
        OnSmallStack([&] { copied = CopyDirectory(At("tree"), At("copy")); });
    }
    EXPECT_TRUE(copied);
    EXPECT_EQ(FileText(DeepPath(At("copy"), LEVELS) + "/f"), "12345");
}

TEST_F(DeepTreeTest, IsNotMadeLongerThanThePathLimit) {
    EXPECT_FALSE(CreateDirectoryRecursive(DeepPath(At("tree"), 2100), 0755));
    EXPECT_EQ(errno, ENAMETOOLONG);
}

// A tree deeper than any path can name is removed from the inside only.
TEST_F(DeepTreeTest, BeyondThePathLimitEndsWithAFailure) {
    const std::string component(200, 'c');
    {
        const TWorkingDirectory restored(dir);
        for (int level = 0; level < 25; ++level) {
            ASSERT_TRUE(CreateDirectory(component, 0755));
            ASSERT_TRUE(ChangeDirectory(component));
        }
    }
    EXPECT_FALSE(RemoveDirectoryRecursive(At(component)));
    EXPECT_EQ(GetDirectorySizeRecursive(At(component)), 0U);
    EXPECT_FALSE(CopyDirectory(At(component), At("copy")));
}

class CopyIntoItselfTest : public TFileTest {
protected:
    CopyIntoItselfTest() : TFileTest(MemoryDirectory()) {}
};

// Each level finds the copy that was just begun, until names are too long.
TEST_F(CopyIntoItselfTest, EndsWithAFailure) {
    fs::create_directory(At("from"));
    EXPECT_FALSE(CopyDirectory(At("from"), At("from")));
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_TRUE(RemoveDirectoryRecursive(At("from")));
}

// Runs `work` in a child process with a tmpfs of 64 KiB at `mountPoint`, which no other process sees. The
// child's exit status is what `work` returns, or SKIPPED when the system does not allow the mount.
constexpr int SKIPPED = 77;

int OnSmallDisk(const std::string& mountPoint, const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        const bool mounted = ::unshare(CLONE_NEWNS) == 0 &&
                             ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                             ::mount("tmpfs", mountPoint.c_str(), "tmpfs", 0, "size=64k") == 0;
        ::_exit(mounted ? work() : SKIPPED);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class FullDiskTest : public TFileTest {
protected:
    void SetUp() override {
        fs::create_directory(At("disk"));
        PutFile(At("file"), std::string(200000, 'x'));
    }

    // Each step of `work` that must hold has its own number, so that the status tells which one did not.
    void Expect(const std::function<int()>& work) const {
        const int status = OnSmallDisk(At("disk"), work);
        if (status == SKIPPED) {
            GTEST_SKIP() << "mounting needs root";
        }
        EXPECT_EQ(status, 0) << "the step that failed";
    }
};

TEST_F(FullDiskTest, EndsWriteFileWithWhatFits) {
    Expect([this] {
        if (WriteFile(At("disk/new"), std::string(200000, 'x'), false) || errno != ENOSPC) {
            return 1;
        }
        return GetSize(At("disk/new")) == 65536 ? 0 : 2;
    });
}

TEST_F(FullDiskTest, EndsCopyFileWithWhatFits) {
    Expect([this] {
        if (CopyFile(At("file"), At("disk")) || errno != ENOSPC) {
            return 1;
        }
        return GetSize(At("disk/file")) == 65536 ? 0 : 2;
    });
}

TEST_F(FullDiskTest, EndsCopyDirectory) {
    fs::create_directory(At("tree"));
    fs::rename(At("file"), At("tree/file"));
    Expect([this] { return !CopyDirectory(At("tree"), At("disk")) && errno == ENOSPC ? 0 : 1; });
}

TEST_F(FullDiskTest, HasNoSpaceAvailable) {
    Expect([this] {
        unsigned long long bytes = 0;
        if (!GetAvailableSpace(At("disk"), bytes) || bytes != 65536) {
            return 1;
        }
        (void)WriteFile(At("disk/new"), std::string(200000, 'x'), false);
        return GetAvailableSpace(At("disk"), bytes) && bytes == 0 ? 0 : 2;
    });
}

} // namespace
