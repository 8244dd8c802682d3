#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

using namespace ZeltoFileUtils;
using namespace zelto_test;
namespace fs = std::filesystem;

namespace {

const std::size_t SIZES[] = {0, 1, 8191, 8192, 8193, 16384, 100003};

// Makes a file of 3 GiB that takes no space.
bool PutHugeFile(const std::string& path) {
    const int fd = ::open64(path.c_str(), O_WRONLY | O_CREAT, 0644);
    const bool made = fd >= 0 && ::ftruncate64(fd, 3LL << 30) == 0;
    ::close(fd);
    return made;
}

class ReadFileTest : public TFileTest {};

TEST_F(ReadFileTest, ReadsAllBytes) {
    for (const std::size_t size : SIZES) {
        PutFile(At("file"), SomeBytes(size));
        std::string content = "before";
        EXPECT_TRUE(ReadFile(At("file"), content));
        EXPECT_EQ(content, SomeBytes(size)) << size;
    }
}

TEST_F(ReadFileTest, ReservesTheSizeOfTheFile) {
    PutFile(At("file"), SomeBytes(100003));
    std::string content;
    EXPECT_TRUE(ReadFile(At("file"), content));
    EXPECT_EQ(content.capacity(), 100003U);
}

TEST_F(ReadFileTest, ReadsFilesThatDoNotTellTheirSize) {
    std::string content;
    EXPECT_TRUE(ReadFile("/proc/self/cmdline", content));
    EXPECT_EQ(content, FileText("/proc/self/cmdline"));
    EXPECT_FALSE(content.empty());
}

TEST_F(ReadFileTest, ReadsLargeFiles) {
    constexpr std::size_t SIZE = (33U << 20) + 1;
    PutFile(At("file"), "first");
    ASSERT_TRUE(ResizeFile(At("file"), SIZE - 4));
    std::ofstream(At("file"), std::ios::binary | std::ios::app) << "last";
    std::string content;
    EXPECT_TRUE(ReadFile(At("file"), content));
    ASSERT_EQ(content.size(), SIZE);
    EXPECT_EQ(content.substr(0, 5), "first");
    EXPECT_EQ(content.find_first_not_of('\0', 5), SIZE - 4);
    EXPECT_EQ(content.substr(SIZE - 4), "last");
}

TEST_F(ReadFileTest, FollowsLinks) {
    PutFile(At("file"), "text");
    fs::create_symlink("file", At("link"));
    std::string content;
    EXPECT_TRUE(ReadFile(At("link"), content));
    EXPECT_EQ(content, "text");
}

TEST_F(ReadFileTest, LeavesTheContentUntouchedWhenTheFileCannotBeOpened) {
    fs::create_symlink("loop", At("loop"));
    std::string content = "before";
    EXPECT_FALSE(ReadFile(At("missing"), content));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(ReadFile(At("loop"), content));
    EXPECT_EQ(errno, ELOOP);
    PutFile(At("closed"), "secret");
    ::chmod(At("closed").c_str(), 0);
    const TUnprivileged dropped;
    EXPECT_FALSE(ReadFile(At("closed"), content));
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(content, "before");
}

TEST_F(ReadFileTest, LeavesTheContentUntouchedWithoutADescriptor) {
    PutFile(At("file"), "text");
    std::string content = "before";
    {
        const TLimit none(RLIMIT_NOFILE, 0);
        EXPECT_FALSE(ReadFile(At("file"), content));
        EXPECT_EQ(errno, EMFILE);
    }
    EXPECT_EQ(content, "before");
}

TEST_F(ReadFileTest, ClearsTheContentWhenReadingFails) {
    std::string content = "before";
    EXPECT_FALSE(ReadFile(dir, content));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(content, "");
}

class WriteFileTest : public TFileTest {};

TEST_F(WriteFileTest, WritesAllBytes) {
    for (const bool sync : {false, true}) {
        for (const std::size_t size : SIZES) {
            EXPECT_TRUE(WriteFile(At("file"), SomeBytes(size), sync));
            EXPECT_EQ(FileText(At("file")), SomeBytes(size)) << size;
        }
    }
}

TEST_F(WriteFileTest, TruncatesALongerFile) {
    PutFile(At("file"), "a longer text");
    EXPECT_TRUE(WriteFile(At("file"), "x", false));
    EXPECT_EQ(FileText(At("file")), "x");
}

TEST_F(WriteFileTest, CreatesExecutableFilesLessTheMask) {
    {
        const TCreationMask mask(0);
        EXPECT_TRUE(WriteFile(At("open"), "x", false));
    }
    EXPECT_EQ(ModeOf(At("open")), 0755U);
    const TCreationMask mask(027);
    EXPECT_TRUE(WriteFile(At("masked"), "x", true));
    EXPECT_EQ(ModeOf(At("masked")), 0750U);
}

TEST_F(WriteFileTest, KeepsTheModeOfAnExistingFile) {
    PutFile(At("file"), "old");
    ::chmod(At("file").c_str(), 0600);
    EXPECT_TRUE(WriteFile(At("file"), "new", false));
    EXPECT_EQ(ModeOf(At("file")), 0600U);
}

TEST_F(WriteFileTest, WritesBehindALink) {
    fs::create_symlink("target", At("link"));
    EXPECT_TRUE(WriteFile(At("link"), "text", false));
    EXPECT_TRUE(fs::is_symlink(At("link")));
    EXPECT_EQ(FileText(At("target")), "text");
}

TEST_F(WriteFileTest, FailsWhenTheFileCannotBeOpened) {
    EXPECT_FALSE(WriteFile(dir, "x", false));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(WriteFile(At("missing/file"), "x", false));
    EXPECT_EQ(errno, ENOENT);
    PutFile(At("closed"), "old");
    ::chmod(At("closed").c_str(), 0444);
    {
        const TUnprivileged dropped;
        EXPECT_FALSE(WriteFile(At("closed"), "new", false));
        EXPECT_EQ(errno, EACCES);
    }
    EXPECT_EQ(FileText(At("closed")), "old");
}

TEST_F(WriteFileTest, FailsOnAFullDevice) {
    EXPECT_FALSE(WriteFile("/dev/full", "x", false));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(WriteFile("/dev/full", "", false));
}

TEST_F(WriteFileTest, LeavesWhatWasWrittenBeforeAFailure) {
    const TFileSizeLimit limit(10000);
    EXPECT_FALSE(WriteFile(At("file"), SomeBytes(30000), false));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(FileText(At("file")), SomeBytes(10000));
}

class ResizeFileTest : public TFileTest {};

TEST_F(ResizeFileTest, CutsAndExtendsWithZeros) {
    PutFile(At("file"), "12345");
    EXPECT_TRUE(ResizeFile(At("file"), 2));
    EXPECT_EQ(FileText(At("file")), "12");
    EXPECT_TRUE(ResizeFile(At("file"), 4));
    EXPECT_EQ(FileText(At("file")), std::string("12\0\0", 4));
}

TEST_F(ResizeFileTest, HandsOnlyTheLowThirtyTwoBitsOn) {
    PutFile(At("file"), "12345");
    EXPECT_TRUE(ResizeFile(At("file"), (1ULL << 32) + 3));
    EXPECT_EQ(FileText(At("file")), "123");
    EXPECT_TRUE(ResizeFile(At("file"), 0xffffffff00000001ULL));
    EXPECT_EQ(FileText(At("file")), "1");
}

TEST_F(ResizeFileTest, GrowsUpToTwoGibibytes) {
    PutFile(At("file"));
    EXPECT_TRUE(ResizeFile(At("file"), 0x7fffffffULL));
    EXPECT_EQ(GetSize(At("file")), 0x7fffffffULL);
}

TEST_F(ResizeFileTest, TakesALengthFromTwoGibibytesOnForNegative) {
    PutFile(At("file"), "12345");
    for (const unsigned long long length : {0x80000000ULL, 0xffffffffULL, 0x180000000ULL}) {
        EXPECT_FALSE(ResizeFile(At("file"), length));
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(FileText(At("file")), "12345");
}

TEST_F(ResizeFileTest, FailsWhereTheSystemDoes) {
    EXPECT_FALSE(ResizeFile(At("missing"), 1));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(ResizeFile(dir, 1));
    EXPECT_EQ(errno, EISDIR);
}

// A 32-bit machine fails for files of 2 GiB and more; a 64-bit one has no such limit.
class HugeFileTest : public TFileTest {
protected:
    void SetUp() override {
        if (!PutHugeFile(At("huge"))) {
            GTEST_SKIP() << "the file system has no files of 3 GiB";
        }
    }

    static constexpr bool NARROW = sizeof(long) == 4;
};

TEST_F(HugeFileTest, StatusFailsOnThirtyTwoBits) {
    EXPECT_EQ(Exists(At("huge")), !NARROW);
    EXPECT_EQ(IsRegular(At("huge")), !NARROW);
    EXPECT_EQ(IsSame(At("huge"), At("huge")), !NARROW);
    errno = 0;
    EXPECT_EQ(GetSize(At("huge")), NARROW ? 0ULL : 3ULL << 30);
    EXPECT_EQ(errno, NARROW ? EOVERFLOW : 0);
}

TEST_F(HugeFileTest, ReadingAndCopyingFailOnThirtyTwoBits) {
    if (!NARROW) {
        GTEST_SKIP() << "no limit on 64 bits";
    }
#ifdef ZELTO_EMULATED
    GTEST_SKIP() << "the emulator opens files of any size";
#endif
    std::string content = "before";
    EXPECT_FALSE(ReadFile(At("huge"), content));
    EXPECT_EQ(errno, EOVERFLOW);
    EXPECT_EQ(content, "before");
    EXPECT_FALSE(CopyFile(At("huge"), At("copy")));
    EXPECT_EQ(errno, EOVERFLOW);
    EXPECT_FALSE(fs::exists(At("copy")));
}

TEST_F(HugeFileTest, IsTooLongForATextBelowThatLimitToo) {
    if (!NARROW) {
        GTEST_SKIP() << "texts are longer here";
    }
    PutFile(At("long"));
    fs::resize_file(At("long"), 0x7ffffff0);
    std::string content = "before";
    errno = 0;
    EXPECT_FALSE(ReadFile(At("long"), content));
    EXPECT_EQ(errno, ENOMEM);
}

TEST_F(HugeFileTest, SumsAreSixtyFourBitsWide) {
    for (const char* name : {"a", "b", "c"}) {
        PutFile(At(name));
        ASSERT_TRUE(ResizeFile(At(name), 0x7fffffffULL));
    }
    const unsigned long long counted = 3ULL * 0x7fffffff;
    EXPECT_EQ(GetDirectorySizeRecursive(dir), NARROW ? counted : counted + (3ULL << 30));
}

TEST_F(HugeFileTest, IsRemovedWithItsDirectory) {
    fs::create_directory(At("tree"));
    fs::rename(At("huge"), At("tree/huge"));
    EXPECT_TRUE(RemoveDirectoryRecursive(At("tree")));
    EXPECT_FALSE(fs::exists(At("tree")));
}

} // namespace
