// Interrupted and short calls, failures in the middle, memory exhaustion.

#include "FaultySystem.h"
#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

#include <set>

using namespace ZeltoFileUtils;
using namespace zelto_test;
namespace fs = std::filesystem;

namespace {

constexpr std::size_t CHUNK = 8192;
const std::string TEXT = SomeBytes(3 * CHUNK + 5);

class FileFaultsTest : public TFileTest {
protected:
    void SetUp() override { PutFile(At("file"), TEXT); }

    std::string content = "before";
};

TEST_F(FileFaultsTest, ReadFileRetriesInterruptedReads) {
    TFaultySystem system;
    system.reads = {-EINTR, -EINTR, 0, -EINTR, 0, 0, 0, -EINTR};
    EXPECT_TRUE(ReadFile(At("file"), content));
    EXPECT_TRUE(content == TEXT);
    EXPECT_TRUE(system.reads.empty());
}

TEST_F(FileFaultsTest, ReadFileContinuesAfterShortReads) {
    TFaultySystem system;
    system.reads = {1, 100, 8191, 7};
    EXPECT_TRUE(ReadFile(At("file"), content));
    EXPECT_TRUE(content == TEXT);
}

TEST_F(FileFaultsTest, ReadFileKeepsTheBytesReadBeforeAFailure) {
    TFaultySystem system;
    system.reads = {0, 10, -EIO};
    EXPECT_FALSE(ReadFile(At("file"), content));
    EXPECT_EQ(errno, EIO);
    EXPECT_TRUE(content == TEXT.substr(0, CHUNK + 10));
}

TEST_F(FileFaultsTest, ReadFileReadsInChunks) {
    TFaultySystem system;
    EXPECT_TRUE(ReadFile(At("file"), content));
    EXPECT_EQ(system.longestRead, CHUNK);
}

TEST_F(FileFaultsTest, ReadFileCatchesMemoryExhaustionWhileReserving) {
    TFaultySystem system;
    system.allocationLimit = TEXT.size() / 2;
    EXPECT_FALSE(ReadFile(At("file"), content));
    system.allocationLimit = 0;
    EXPECT_EQ(content, "");
}

TEST_F(FileFaultsTest, ReadFileCatchesMemoryExhaustionWhileAppending) {
    TFaultySystem system;
    ASSERT_EQ(::mkfifo(At("fifo").c_str(), 0600), 0);
    const int fifo = ::open(At("fifo").c_str(), O_RDWR); // a size of 0, so nothing is reserved
    ASSERT_EQ(::write(fifo, TEXT.data(), 2 * CHUNK), static_cast<ssize_t>(2 * CHUNK));
    system.allocationLimit = CHUNK + CHUNK / 2;
    const bool result = ReadFile(At("fifo"), content);
    system.allocationLimit = 0;
    ::close(fifo);
    EXPECT_FALSE(result);
    EXPECT_TRUE(content == TEXT.substr(0, CHUNK));
}

TEST_F(FileFaultsTest, ReadFileSucceedsWhateverCloseSays) {
    TFaultySystem system;
    system.closes = {-EIO};
    EXPECT_TRUE(ReadFile(At("file"), content));
    EXPECT_TRUE(system.closes.empty());
}

TEST_F(FileFaultsTest, ClosingDoesNotHideWhyReadingFailed) {
    TFaultySystem system;
    system.reads = {-EISDIR};
    system.closes = {-EIO};
    EXPECT_FALSE(ReadFile(At("file"), content));
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(FileFaultsTest, WriteFileRetriesInterruptedAndShortWrites) {
    TFaultySystem system;
    system.writes = {-EINTR, 1, -EINTR, 8191, 100, -EINTR};
    EXPECT_TRUE(WriteFile(At("new"), TEXT, false));
    EXPECT_TRUE(system.writes.empty());
    EXPECT_TRUE(FileText(At("new")) == TEXT);
}

TEST_F(FileFaultsTest, WriteFileFailsWithAnyOtherError) {
    TFaultySystem system;
    system.writes = {10, -ENOSPC};
    system.closes = {-EIO};
    EXPECT_FALSE(WriteFile(At("new"), TEXT, false));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(FileText(At("new")) == TEXT.substr(0, 10));
}

// Trying again would never end where nothing is ever taken.
TEST_F(FileFaultsTest, WriteFileFailsWhenNothingIsWritten) {
    TFaultySystem system;
    system.writes = {10, NOTHING};
    errno = 0;
    EXPECT_FALSE(WriteFile(At("new"), TEXT, false));
    EXPECT_EQ(errno, EIO);
    EXPECT_TRUE(FileText(At("new")) == TEXT.substr(0, 10));
}

TEST_F(FileFaultsTest, WriteFileAsksForSynchronousWritesOnDemand) {
    TFaultySystem system;
    EXPECT_TRUE(WriteFile(At("new"), TEXT, false));
    EXPECT_EQ(system.openFlags & O_SYNC, 0);
    EXPECT_TRUE(WriteFile(At("new"), TEXT, true));
    EXPECT_EQ(system.openFlags & O_SYNC, O_SYNC);
}

TEST_F(FileFaultsTest, NoDescriptorLeaksIntoAProgramStartedMeanwhile) {
    TFaultySystem system;
    EXPECT_TRUE(ReadFile(At("file"), content));
    EXPECT_EQ(system.openFlags & O_CLOEXEC, O_CLOEXEC);
    EXPECT_TRUE(WriteFile(At("new"), TEXT, false));
    EXPECT_EQ(system.openFlags & O_CLOEXEC, O_CLOEXEC);
}

TEST_F(FileFaultsTest, CopyFileLeavesTheCopyingToTheKernel) {
    TFaultySystem system;
    system.kernelCopies = {-EINTR, 1, -EINTR, 100, 0, -EINTR};
    EXPECT_TRUE(CopyFile(At("file"), At("copy")));
    EXPECT_TRUE(system.kernelCopies.empty());
    EXPECT_EQ(system.longestWrite, 0U);
    EXPECT_TRUE(FileText(At("copy")) == TEXT);
}

TEST_F(FileFaultsTest, CopyFileCopiesWhatTheKernelDoesNot) {
    for (const int error : {EXDEV, EINVAL, ENOSYS, EPERM, EIO}) {
        TFaultySystem system;
        system.kernelCopies = {static_cast<int>(CHUNK) + 1, -error};
        EXPECT_TRUE(CopyFile(At("file"), At("copy")));
        EXPECT_EQ(system.longestWrite, CHUNK);
        EXPECT_TRUE(FileText(At("copy")) == TEXT) << error;
    }
}

TEST_F(FileFaultsTest, CopyFileCopiesFilesThatTheKernelTakesForEmpty) {
    EXPECT_TRUE(CopyFile("/proc/self/cmdline", At("copy")));
    EXPECT_EQ(FileText(At("copy")), FileText("/proc/self/cmdline"));
    EXPECT_NE(FileText(At("copy")), "");
}

TEST_F(FileFaultsTest, CopyFileRetriesInterruptedAndShortCalls) {
    TFaultySystem system;
    system.kernelCopies = {-ENOSYS};
    system.reads = {-EINTR, 100, 0, -EINTR};
    system.writes = {-EINTR, 1, -EINTR, 50, 0, 8000, -EINTR};
    EXPECT_TRUE(CopyFile(At("file"), At("copy")));
    EXPECT_TRUE(system.reads.empty());
    EXPECT_TRUE(system.writes.empty());
    EXPECT_TRUE(FileText(At("copy")) == TEXT);
}

TEST_F(FileFaultsTest, CopyFileCopiesInChunks) {
    TFaultySystem system;
    system.kernelCopies = {-ENOSYS};
    EXPECT_TRUE(CopyFile(At("file"), At("copy")));
    EXPECT_EQ(system.longestRead, CHUNK);
    EXPECT_EQ(system.longestWrite, CHUNK);
}

TEST_F(FileFaultsTest, CopyFileFailsWhenReadingFails) {
    TFaultySystem system;
    system.kernelCopies = {-ENOSYS};
    system.reads = {0, -EIO};
    system.closes = {-EBADF, -EBADF};
    EXPECT_FALSE(CopyFile(At("file"), At("copy")));
    EXPECT_EQ(errno, EIO);
    EXPECT_TRUE(FileText(At("copy")) == TEXT.substr(0, CHUNK));
}

TEST_F(FileFaultsTest, CopyFileFailsWhenWritingFails) {
    TFaultySystem system;
    system.kernelCopies = {-ENOSYS};
    system.writes = {0, 3, -ENOSPC};
    system.closes = {-EBADF, -EBADF};
    EXPECT_FALSE(CopyFile(At("file"), At("copy")));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(FileText(At("copy")) == TEXT.substr(0, CHUNK + 3));
}

TEST_F(FileFaultsTest, CreateTemporaryDirectoryRemovesWhatItCannotGiveItsMode) {
    std::string prefix = At("work");
    {
        TFaultySystem system;
        system.chmods = {-EROFS};
        EXPECT_FALSE(CreateTemporaryDirectory(prefix, 0700));
        EXPECT_EQ(errno, EROFS);
    }
    EXPECT_EQ(prefix, At("work"));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
}

TEST_F(FileFaultsTest, GetFilesFailsWhenTheDirectoryCannotBeOpenedAgain) {
    std::set<std::string> names{"kept"};
    {
        TFaultySystem system;
        system.opendirs = {0, -EMFILE};
        EXPECT_FALSE(GetFiles(dir + "/", names));
        EXPECT_EQ(errno, EMFILE);
    }
    EXPECT_EQ(names, std::set<std::string>{"kept"});
}

TEST_F(FileFaultsTest, AvailableSpaceIsBlockSizeTimesBlocksForUnprivilegedUsers) {
    struct statvfs space {};
    space.f_bsize = 0x10000;
    space.f_frsize = 512;
    space.f_blocks = 0x400000;
    space.f_bfree = 0x300000;
    space.f_bavail = 0x200000;
    unsigned long long bytes = 0;
    TFaultySystem system;
    system.space = &space;
    EXPECT_TRUE(GetAvailableSpace(dir, bytes));
    EXPECT_EQ(bytes, 0x2000000000ULL);
}

// Vanishing files: each case removes a part of the tree when the walk opens the directory below the root.

TEST_F(FileFaultsTest, RemoveDirectoryRecursiveFailsWhenAnEntryVanishes) {
    fs::create_directories(At("tree/one"));
    fs::create_directories(At("tree/two"));
    std::string other;
    {
        TFaultySystem system;
        int opened = 0;
        system.beforeOpendir = [&] {
            if (++opened == 2) {
                const TDirIterator first(At("tree"));
                other = At("tree/") + (first.GetName() == "one" ? "two" : "one");
                fs::remove(other);
            }
        };
        EXPECT_FALSE(RemoveDirectoryRecursive(At("tree")));
        EXPECT_EQ(errno, ENOENT);
    }
    EXPECT_FALSE(fs::exists(other));
    EXPECT_TRUE(fs::is_empty(At("tree")));
}

TEST_F(FileFaultsTest, RemoveDirectoryRecursiveSucceedsWhenTheWholeTreeVanishes) {
    fs::create_directories(At("tree"));
    TFaultySystem system;
    system.beforeOpendir = [&] { fs::remove(At("tree")); };
    EXPECT_TRUE(RemoveDirectoryRecursive(At("tree")));
}

TEST_F(FileFaultsTest, CopyDirectoryContentFailsWhenAnEntryVanishes) {
    fs::create_directories(At("from/one"));
    fs::create_directories(At("from/two"));
    fs::create_directory(At("to"));
    TFaultySystem system;
    int opened = 0;
    system.beforeOpendir = [&] {
        if (++opened == 2) {
            const TDirIterator first(At("from"));
            fs::remove(At("from/") + (first.GetName() == "one" ? "two" : "one"));
        }
    };
    EXPECT_FALSE(CopyDirectoryContent(At("from"), At("to")));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileFaultsTest, DirectorySizeLeavesOutWhatVanishes) {
    fs::create_directories(At("tree/directory"));
    for (const char* name : {"a", "b", "c", "directory/d"}) {
        PutFile(At("tree/") + name, "12345");
    }
    TFaultySystem system;
    int opened = 0;
    system.beforeOpendir = [&] {
        if (++opened == 2) {
            fs::remove(At("tree/directory/d"));
        }
    };
    EXPECT_EQ(GetDirectorySizeRecursive(At("tree")), 15U);
}

TEST_F(FileFaultsTest, AnIteratorClosesItsDirectoryWhenMemoryRunsOut) {
    const std::string longName = dir + std::string(1000, '/');
    TFaultySystem system;
    bool thrown = false;
    system.allocationLimit = 500;
    try {
        const TDirIterator it(longName);
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    system.allocationLimit = 0;
    EXPECT_TRUE(thrown);
}

} // namespace
