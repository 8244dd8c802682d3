#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

#include <string>

using namespace ZeltoFileUtils;
using namespace zelto_test;
namespace fs = std::filesystem;

namespace {

class CopyFileTest : public TFileTest {};

TEST_F(CopyFileTest, CopiesAllBytes) {
    for (const std::size_t size : {0U, 1U, 8191U, 8192U, 8193U, 100003U}) {
        const std::string bytes = SomeBytes(size);
        PutFile(At("from"), bytes);
        EXPECT_TRUE(CopyFile(At("from"), At("to")));
        EXPECT_EQ(FileText(At("to")), bytes) << size;
    }
}

TEST_F(CopyFileTest, TruncatesALongerTarget) {
    PutFile(At("from"), "x");
    PutFile(At("to"), "a longer text");
    EXPECT_TRUE(CopyFile(At("from"), At("to")));
    EXPECT_EQ(FileText(At("to")), "x");
}

TEST_F(CopyFileTest, CopiesIntoADirectoryUnderItsOwnName) {
    PutFile(At("from"), "text");
    fs::create_directory(At("directory"));
    fs::create_directory_symlink("directory", At("link"));
    EXPECT_TRUE(CopyFile(At("from"), At("directory")));
    EXPECT_EQ(FileText(At("directory/from")), "text");
    fs::remove(At("directory/from"));
    EXPECT_TRUE(CopyFile(At("from"), At("link")));
    EXPECT_EQ(FileText(At("directory/from")), "text");
}

TEST_F(CopyFileTest, CopiesNoMetadata) {
    const TCreationMask mask(022);
    PutFile(At("from"), "text");
    ::chmod(At("from").c_str(), 0600);
    const timespec times[] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, At("from").c_str(), times, 0), 0);
    EXPECT_TRUE(CopyFile(At("from"), At("to")));
    EXPECT_EQ(ModeOf(At("to")), 0755U);
    EXPECT_GT(fs::last_write_time(At("to")), fs::last_write_time(At("from")));
}

TEST_F(CopyFileTest, CopiesWhatALinkLeadsTo) {
    PutFile(At("file"), "text");
    fs::create_symlink("file", At("link"));
    EXPECT_TRUE(CopyFile(At("link"), At("to")));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(At("to"))));
    EXPECT_EQ(FileText(At("to")), "text");
}

// The target is truncated before anything is read.
TEST_F(CopyFileTest, EmptiesAFileThatIsCopiedOntoItself) {
    PutFile(At("file"), "text");
    EXPECT_TRUE(CopyFile(At("file"), At("file")));
    EXPECT_EQ(FileText(At("file")), "");
}

TEST_F(CopyFileTest, MakesNoTargetWithoutASource) {
    EXPECT_FALSE(CopyFile(At("missing"), At("to")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(fs::exists(At("to")));
}

TEST_F(CopyFileTest, FailsWhenTheTargetCannotBeOpened) {
    PutFile(At("from"), "text");
    EXPECT_FALSE(CopyFile(At("from"), At("missing/to")));
    EXPECT_EQ(errno, ENOENT);
    fs::create_directories(At("directory/from"));
    EXPECT_FALSE(CopyFile(At("from"), At("directory")));
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(CopyFileTest, LeavesAnEmptyTargetWhenTheSourceIsADirectory) {
    fs::create_directory(At("directory"));
    EXPECT_FALSE(CopyFile(At("directory"), At("to")));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(fs::file_size(At("to")), 0U);
}

TEST_F(CopyFileTest, FailsWithoutPermission) {
    PutFile(At("closed"), "secret");
    ::chmod(At("closed").c_str(), 0);
    PutFile(At("readable"), "text");
    ::chmod(At("readable").c_str(), 0444);
    const TUnprivileged dropped;
    EXPECT_FALSE(CopyFile(At("closed"), At("to")));
    EXPECT_EQ(errno, EACCES);
    EXPECT_FALSE(fs::exists(At("to")));
    EXPECT_FALSE(CopyFile(At("readable"), At("readable")));
    EXPECT_EQ(errno, EACCES);
}

TEST_F(CopyFileTest, FailsOnAFullDevice) {
    PutFile(At("from"), "text");
    EXPECT_FALSE(CopyFile(At("from"), "/dev/full"));
    EXPECT_EQ(errno, ENOSPC);
}

TEST_F(CopyFileTest, LeavesAnIncompleteTargetAfterAFailure) {
    PutFile(At("from"), std::string(30000, 'x'));
    const TFileSizeLimit limit(10000);
    EXPECT_FALSE(CopyFile(At("from"), At("to")));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(fs::file_size(At("to")), 10000U);
}

TEST_F(CopyFileTest, ClosesTheSourceWhenNoDescriptorIsLeftForTheTarget) {
    PutFile(At("from"), "text");
    const int free = ::dup(0);
    ::close(free);
    {
        const TLimit one(RLIMIT_NOFILE, static_cast<rlim_t>(free) + 1);
        EXPECT_FALSE(CopyFile(At("from"), At("to")));
        EXPECT_EQ(errno, EMFILE);
    }
    EXPECT_FALSE(fs::exists(At("to")));
}

// What a tree holds: "path type content" of every entry, by path.
std::set<std::string> Describe(const std::string& root) {
    std::set<std::string> entries;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string path = entry.path().string();
        const std::string name = path.substr(root.size() + 1);
        if (entry.is_symlink()) {
            entries.insert(name + " -> " + fs::read_symlink(path).string());
        } else {
            entries.insert(entry.is_directory() ? name + "/" : name + "=" + FileText(path));
        }
    }
    return entries;
}

class CopyDirectoryTest : public TFileTest {
protected:
    void PutTree() const {
        fs::create_directories(At("from/a/b"));
        fs::create_directory(At("from/empty"));
        PutFile(At("from/file"), "1");
        PutFile(At("from/a/.hidden"), "22");
        PutFile(At("from/a/b/with\n line \xff"), "333");
        fs::create_symlink("missing", At("from/dangling"));
        fs::create_symlink("self", At("from/self"));
        fs::create_directory_symlink("..", At("from/a/up"));
        fs::create_symlink("/etc", At("from/absolute"));
    }
};

TEST_F(CopyDirectoryTest, CreatesTheTarget) {
    PutTree();
    EXPECT_TRUE(CopyDirectory(At("from"), At("to")));
    EXPECT_EQ(Describe(At("to")), Describe(At("from")));
}

TEST_F(CopyDirectoryTest, GoesIntoAnExistingDirectoryUnderItsOwnName) {
    PutTree();
    fs::create_directory(At("to"));
    EXPECT_TRUE(CopyDirectory(At("from/"), At("to")));
    EXPECT_EQ(Describe(At("to/from")), Describe(At("from")));
}

TEST_F(CopyDirectoryTest, CopiesAgainOverItsOwnResult) {
    PutTree();
    fs::create_directory(At("to"));
    EXPECT_TRUE(CopyDirectory(At("from"), At("to")));
    PutFile(At("from/file"), "changed");
    PutFile(At("to/from/extra"), "kept");
    EXPECT_TRUE(CopyDirectory(At("from"), At("to")));
    EXPECT_EQ(FileText(At("to/from/file")), "changed");
    EXPECT_EQ(FileText(At("to/from/extra")), "kept");
}

TEST_F(CopyDirectoryTest, CreatesDirectoriesWithTheirOwnModeLessTheMask) {
    const TCreationMask mask(0);
    fs::create_directories(At("from/a"));
    ::chmod(At("from").c_str(), 0700);
    ::chmod(At("from/a").c_str(), 0700);
    EXPECT_TRUE(CopyDirectory(At("from"), At("to")));
    EXPECT_EQ(ModeOf(At("to")), 0755U);
    EXPECT_EQ(ModeOf(At("to/a")), 0755U);
}

TEST_F(CopyDirectoryTest, FailsWithoutASourceDirectory) {
    PutFile(At("file"));
    EXPECT_FALSE(CopyDirectory(At("missing"), At("to")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(CopyDirectory(At("file"), At("to")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(fs::exists(At("to")));
}

TEST_F(CopyDirectoryTest, FailsWhenTheTargetIsAFile) {
    PutTree();
    PutFile(At("to"), "text");
    EXPECT_FALSE(CopyDirectory(At("from"), At("to")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(FileText(At("to")), "text");
}

TEST_F(CopyDirectoryTest, FailsWhenTheParentOfTheTargetIsMissing) {
    PutTree();
    EXPECT_FALSE(CopyDirectory(At("from"), At("missing/to")));
    EXPECT_EQ(errno, ENOENT);
}

class CopyDirectoryContentTest : public CopyDirectoryTest {};

TEST_F(CopyDirectoryContentTest, CopiesTheEntries) {
    PutTree();
    fs::create_directory(At("to"));
    EXPECT_TRUE(CopyDirectoryContent(At("from"), At("to")));
    EXPECT_EQ(Describe(At("to")), Describe(At("from")));
}

TEST_F(CopyDirectoryContentTest, NeedsTwoDirectories) {
    PutTree();
    PutFile(At("file"));
    EXPECT_FALSE(CopyDirectoryContent(At("from"), At("missing")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(fs::exists(At("missing")));
    EXPECT_FALSE(CopyDirectoryContent(At("from"), At("file")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(CopyDirectoryContent(At("missing"), At("from")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(CopyDirectoryContent(At("file"), At("from")));
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(CopyDirectoryContentTest, ALinkReplacesAFileOrALink) {
    fs::create_directories(At("from"));
    fs::create_directories(At("to"));
    fs::create_symlink("new", At("from/one"));
    fs::create_symlink("new", At("from/two"));
    PutFile(At("to/one"), "old");
    fs::create_symlink("old", At("to/two"));
    EXPECT_TRUE(CopyDirectoryContent(At("from"), At("to")));
    EXPECT_EQ(Describe(At("to")), (std::set<std::string>{"one -> new", "two -> new"}));
}

TEST_F(CopyDirectoryContentTest, ALinkDoesNotReplaceADirectory) {
    fs::create_directories(At("from"));
    fs::create_directories(At("to/entry"));
    fs::create_symlink("new", At("from/entry"));
    EXPECT_FALSE(CopyDirectoryContent(At("from"), At("to")));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(fs::is_directory(At("to/entry")));
}

TEST_F(CopyDirectoryContentTest, ADirectoryDoesNotReplaceAFile) {
    fs::create_directories(At("from/entry"));
    fs::create_directories(At("to"));
    PutFile(At("to/entry"), "old");
    EXPECT_FALSE(CopyDirectoryContent(At("from"), At("to")));
    EXPECT_EQ(FileText(At("to/entry")), "old");
}

TEST_F(CopyDirectoryContentTest, TheFirstFailureEndsIt) {
    fs::create_directories(At("from"));
    fs::create_directories(At("to"));
    for (int i = 0; i < 10; ++i) {
        PutFile(At("from/file" + std::to_string(i)), "text");
    }
    TDirIterator it(At("from"));
    const std::string first = it.GetName();
    ++it;
    const std::string second = it.GetName();
    fs::remove(At("from/" + second));
    fs::create_symlink("target", At("from/" + second));
    fs::create_directory(At("to/" + second));
    const std::set<std::string> before = Describe(At("from"));
    std::set<std::string> expected{second + "/"};
    for (TDirIterator entry(At("from")); entry.GetName() != second; ++entry) {
        expected.insert(entry.GetName() + "=text");
    }
    EXPECT_FALSE(CopyDirectoryContent(At("from"), At("to")));
    EXPECT_EQ(Describe(At("to")), expected);
    EXPECT_EQ(Describe(At("from")), before);
}

TEST_F(CopyDirectoryContentTest, AnUnreadableFileEndsIt) {
    const TUnprivileged dropped;
    fs::create_directories(At("from"));
    fs::create_directories(At("to"));
    PutFile(At("from/file"), "secret");
    ::chmod(At("from/file").c_str(), 0);
    EXPECT_FALSE(CopyDirectoryContent(At("from"), At("to")));
    EXPECT_EQ(errno, EACCES);
    EXPECT_FALSE(fs::exists(At("to/file")));
}

// The iterator has no entries when its directory cannot be opened.
TEST_F(CopyDirectoryContentTest, TakesAnUnreadableDirectoryForEmpty) {
    const TUnprivileged dropped;
    fs::create_directories(At("from/closed/inner"));
    fs::create_directories(At("to"));
    ::chmod(At("from/closed").c_str(), 0);
    EXPECT_TRUE(CopyDirectoryContent(At("from"), At("to")));
    ::chmod(At("from/closed").c_str(), 0755);
    EXPECT_EQ(Describe(At("to")), std::set<std::string>{"closed/"});
}

} // namespace
