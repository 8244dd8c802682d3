#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

#include <set>
#include <string>

using namespace ZeltoFileUtils;
using namespace zelto_test;
namespace fs = std::filesystem;

namespace {

class MoveTest : public TFileTest {};

TEST_F(MoveTest, RenameReplacesAFile) {
    PutFile(At("a"), "new");
    PutFile(At("b"), "old");
    EXPECT_TRUE(Rename(At("a"), At("b")));
    EXPECT_FALSE(fs::exists(At("a")));
    EXPECT_EQ(FileText(At("b")), "new");
}

TEST_F(MoveTest, RenameDoesNotGoIntoADirectory) {
    PutFile(At("a"));
    fs::create_directory(At("d"));
    EXPECT_FALSE(Rename(At("a"), At("d")));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(Rename(At("missing"), At("c")));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(MoveTest, MoveGoesIntoADirectoryUnderItsOwnName) {
    PutFile(At("a"), "text");
    fs::create_directory(At("d"));
    fs::create_symlink("d", At("link"));
    EXPECT_TRUE(Move(At("a"), At("d")));
    EXPECT_EQ(FileText(At("d/a")), "text");
    EXPECT_TRUE(Move(At("d/a"), At("")));
    EXPECT_EQ(FileText(At("a")), "text");
    EXPECT_TRUE(Move(At("a"), At("link")));
    EXPECT_EQ(FileText(At("d/a")), "text");
}

TEST_F(MoveTest, MoveTakesADirectoryWithASlashAtItsEnd) {
    fs::create_directories(At("a/inside"));
    fs::create_directory(At("d"));
    EXPECT_TRUE(Move(At("a/"), At("d")));
    EXPECT_TRUE(fs::is_directory(At("d/a/inside")));
}

TEST_F(MoveTest, MoveRenamesToWhatIsNoDirectory) {
    PutFile(At("a"), "new");
    PutFile(At("b"), "old");
    EXPECT_TRUE(Move(At("a"), At("b")));
    EXPECT_EQ(FileText(At("b")), "new");
    EXPECT_TRUE(Move(At("b"), At("c")));
    EXPECT_EQ(FileText(At("c")), "new");
    EXPECT_FALSE(Move(At("missing"), At("c")));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(MoveTest, MoveDoesNotCrossFileSystems) {
    struct stat here {};
    struct stat there {};
    ::stat(dir.c_str(), &here);
    if (::stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev || ::access("/dev/shm", W_OK) != 0) {
        GTEST_SKIP() << "no second file system";
    }
    PutFile(At("a"), "text");
    EXPECT_FALSE(Move(At("a"), "/dev/shm/" + fs::path(dir).filename().string()));
    EXPECT_EQ(errno, EXDEV);
    EXPECT_EQ(FileText(At("a")), "text");
}

class RemoveTest : public TFileTest {};

TEST_F(RemoveTest, RemovesFilesAndLinksOnly) {
    PutFile(At("file"));
    fs::create_directory(At("directory"));
    fs::create_symlink("directory", At("link"));
    EXPECT_TRUE(Remove(At("file")));
    EXPECT_TRUE(Remove(At("link")));
    EXPECT_TRUE(fs::is_directory(At("directory")));
    EXPECT_FALSE(Remove(At("directory")));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(Remove(At("file")));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(RemoveTest, RemovesEmptyDirectoriesOnly) {
    fs::create_directories(At("outer/inner"));
    PutFile(At("file"));
    EXPECT_FALSE(RemoveDirectory(At("outer")));
    EXPECT_EQ(errno, ENOTEMPTY);
    EXPECT_TRUE(RemoveDirectory(At("outer/inner")));
    EXPECT_FALSE(RemoveDirectory(At("file")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(RemoveDirectory(At("missing")));
    EXPECT_EQ(errno, ENOENT);
}

class RemoveDirectoryRecursiveTest : public TFileTest {};

TEST_F(RemoveDirectoryRecursiveTest, RemovesEverythingBelow) {
    fs::create_directories(At("tree/a/b"));
    fs::create_directories(At("tree/.hidden"));
    for (const char* name : {"f", "a/with space", "a/new\nline", "a/b/\xff\xfe", ".hidden/-rf", "a/..."}) {
        PutFile(At(std::string("tree/") + name), "text");
    }
    ASSERT_EQ(::mkfifo(At("tree/fifo").c_str(), 0600), 0);
    EXPECT_TRUE(RemoveDirectoryRecursive(At("tree")));
    EXPECT_FALSE(fs::exists(At("tree")));
}

TEST_F(RemoveDirectoryRecursiveTest, RemovesLinksAndLeavesWhatTheyLeadTo) {
    fs::create_directories(At("outside/inner"));
    PutFile(At("outside/file"), "text");
    fs::create_directory(At("tree"));
    fs::create_directory_symlink(At("outside"), At("tree/toDirectory"));
    fs::create_symlink(At("outside/file"), At("tree/toFile"));
    fs::create_symlink("missing", At("tree/dangling"));
    fs::create_symlink(".", At("tree/self"));
    fs::create_symlink("loop", At("tree/loop"));
    EXPECT_TRUE(RemoveDirectoryRecursive(At("tree")));
    EXPECT_FALSE(fs::exists(At("tree")));
    EXPECT_EQ(FileText(At("outside/file")), "text");
    EXPECT_TRUE(fs::is_directory(At("outside/inner")));
}

TEST_F(RemoveDirectoryRecursiveTest, SucceedsWhenThereIsNothing) {
    EXPECT_TRUE(RemoveDirectoryRecursive(At("missing")));
    EXPECT_TRUE(RemoveDirectoryRecursive(""));
}

TEST_F(RemoveDirectoryRecursiveTest, TakesALinkToNothingForNothing) {
    fs::create_symlink("missing", At("dangling"));
    PutFile(At("file"));
    EXPECT_TRUE(RemoveDirectoryRecursive(At("dangling")));
    EXPECT_TRUE(RemoveDirectoryRecursive(At("file/inside")));
    EXPECT_TRUE(fs::is_symlink(At("dangling")));
}

TEST_F(RemoveDirectoryRecursiveTest, FailsForWhatItCannotSee) {
    const TUnprivileged dropped;
    fs::create_directories(At("closed/tree"));
    ::chmod(At("closed").c_str(), 0);
    EXPECT_FALSE(RemoveDirectoryRecursive(At("closed/tree")));
    EXPECT_EQ(errno, EACCES);
    ::chmod(At("closed").c_str(), 0755);
    EXPECT_TRUE(fs::is_directory(At("closed/tree")));
}

TEST_F(RemoveDirectoryRecursiveTest, FailsForAPathThatTheSystemRefuses) {
    fs::create_symlink("loop", At("loop"));
    EXPECT_FALSE(RemoveDirectoryRecursive(At("loop/tree")));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(RemoveDirectoryRecursive(At(std::string(300, 'n'))));
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(RemoveDirectoryRecursiveTest, DoesNotRemoveAFile) {
    PutFile(At("file"), "text");
    EXPECT_FALSE(RemoveDirectoryRecursive(At("file")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(FileText(At("file")), "text");
}

TEST_F(RemoveDirectoryRecursiveTest, EmptiesTheDirectoryBehindALinkButKeepsTheLink) {
    fs::create_directory(At("real"));
    PutFile(At("real/file"));
    fs::create_symlink("real", At("link"));
    EXPECT_FALSE(RemoveDirectoryRecursive(At("link")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_TRUE(fs::is_empty(At("real")));
}

TEST_F(RemoveDirectoryRecursiveTest, TheFirstFailureEndsItAndLeavesTheRest) {
    const TUnprivileged dropped;
    fs::create_directories(At("tree/closed"));
    PutFile(At("tree/closed/file"));
    PutFile(At("tree/closed/other"));
    ::chmod(At("tree/closed").c_str(), 0555);
    EXPECT_FALSE(RemoveDirectoryRecursive(At("tree")));
    EXPECT_EQ(errno, EACCES);
    EXPECT_TRUE(fs::exists(At("tree/closed/file")));
    EXPECT_TRUE(fs::exists(At("tree/closed/other")));
    ::chmod(At("tree/closed").c_str(), 0755);
}

TEST_F(RemoveDirectoryRecursiveTest, RemovesWhatItCannotListWhenThatIsEmpty) {
    const TUnprivileged dropped;
    fs::create_directories(At("tree/closed"));
    ::chmod(At("tree/closed").c_str(), 0);
    EXPECT_TRUE(RemoveDirectoryRecursive(At("tree")));
    EXPECT_FALSE(fs::exists(At("tree")));
}

TEST_F(RemoveDirectoryRecursiveTest, FailsForWhatItCannotListWhenThatIsNotEmpty) {
    const TUnprivileged dropped;
    fs::create_directories(At("tree/closed/inner"));
    ::chmod(At("tree/closed").c_str(), 0);
    EXPECT_FALSE(RemoveDirectoryRecursive(At("tree")));
    EXPECT_EQ(errno, ENOTEMPTY);
    ::chmod(At("tree/closed").c_str(), 0755);
    EXPECT_TRUE(fs::exists(At("tree/closed/inner")));
}

class DirectorySizeTest : public TFileTest {};

TEST_F(DirectorySizeTest, AddsTheLengthsOfRegularFiles) {
    fs::create_directories(At("a/b"));
    PutFile(At("one"), "1");
    PutFile(At("a/two"), "22");
    PutFile(At("a/b/three"), "333");
    PutFile(At("a/b/with\nline"), "4444");
    ASSERT_EQ(::mkfifo(At("fifo").c_str(), 0600), 0);
    fs::create_symlink("missing", At("dangling"));
    EXPECT_EQ(GetDirectorySizeRecursive(dir), 10U);
    EXPECT_EQ(GetDirectorySizeRecursive(dir + "/"), 10U);
}

TEST_F(DirectorySizeTest, CountsLengthsAndNotBlocks) {
    PutFile(At("sparse"));
    ASSERT_EQ(::truncate(At("sparse").c_str(), 1000000), 0);
    EXPECT_EQ(GetDirectorySizeRecursive(dir), 1000000U);
}

TEST_F(DirectorySizeTest, FollowsLinks) {
    fs::create_directories(At("tree"));
    fs::create_directory(At("outside"));
    PutFile(At("outside/file"), "12345");
    fs::create_directory_symlink("../outside", At("tree/toDirectory"));
    fs::create_symlink("../outside/file", At("tree/toFile"));
    EXPECT_EQ(GetDirectorySizeRecursive(At("tree")), 10U);
}

TEST_F(DirectorySizeTest, IsZeroWithoutADirectory) {
    PutFile(At("file"), "text");
    EXPECT_EQ(GetDirectorySizeRecursive(At("file")), 0U);
    EXPECT_EQ(GetDirectorySizeRecursive(At("missing")), 0U);
    EXPECT_EQ(GetDirectorySizeRecursive(""), 0U);
}

TEST_F(DirectorySizeTest, CountsALinkBackIntoTheTreeUntilTheSystemRefuses) {
    PutFile(At("file"), "1");
    fs::create_symlink(".", At("self"));
    unsigned long long visits = 0;
    for (std::string path = dir; ::access(path.c_str(), F_OK) == 0; path += "/self") {
        ++visits;
    }
    EXPECT_GT(visits, 1U);
    EXPECT_EQ(GetDirectorySizeRecursive(dir), visits);
}

class IsDirEmptyTest : public TFileTest {};

TEST_F(IsDirEmptyTest, IsTrueWithoutEntries) {
    EXPECT_TRUE(IsDirEmpty(dir));
    PutFile(At(".hidden"));
    EXPECT_FALSE(IsDirEmpty(dir));
}

TEST_F(IsDirEmptyTest, IsTrueWhenTheDirectoryCannotBeOpened) {
    PutFile(At("file"), "text");
    EXPECT_TRUE(IsDirEmpty("/does/not/exist"));
    EXPECT_TRUE(IsDirEmpty(At("file")));
    EXPECT_TRUE(IsDirEmpty(""));
}

class GetFilesTest : public TFileTest {
protected:
    void SetUp() override {
        fs::create_directory(At("sub"));
        for (const char* name : {"b", "a", ".hidden", "sub/inner", "with\nline"}) {
            PutFile(At(name));
        }
        fs::create_symlink("missing", At("dangling"));
        fs::create_symlink("sub", At("toSub"));
    }
};

TEST_F(GetFilesTest, AddsWhatIsNoDirectoryWhenThePathEndsInASlash) {
    std::set<std::string> names{"kept"};
    EXPECT_TRUE(GetFiles(dir + "/", names));
    EXPECT_EQ(names, (std::set<std::string>{".hidden", "a", "b", "dangling", "kept", "with\nline"}));
}

TEST_F(GetFilesTest, AddsEveryNameWhenThePathHasNoSlash) {
    std::set<std::string> names;
    EXPECT_TRUE(GetFiles(dir, names));
    EXPECT_EQ(names, (std::set<std::string>{".", "..", ".hidden", "a", "b", "dangling", "sub", "toSub",
                                            "with\nline"}));
}

TEST_F(GetFilesTest, AddsNothingFromAnEmptyDirectory) {
    fs::create_directory(At("empty"));
    std::set<std::string> names{"kept"};
    EXPECT_TRUE(GetFiles(At("empty"), names));
    EXPECT_EQ(names, std::set<std::string>{"kept"});
}

TEST_F(GetFilesTest, SucceedsWhenTheDirectoryCannotBeOpened) {
    std::set<std::string> names{"kept"};
    EXPECT_TRUE(GetFiles(At("missing/"), names));
    EXPECT_TRUE(GetFiles(At("a"), names));
    EXPECT_EQ(names, std::set<std::string>{"kept"});
}

class SyncDirectoryTest : public TFileTest {};

TEST_F(SyncDirectoryTest, SucceedsForADirectory) {
    EXPECT_TRUE(SyncDirectory(dir));
    EXPECT_TRUE(SyncDirectory("/proc/self")); // which cannot be synced
}

TEST_F(SyncDirectoryTest, FailsWhenTheDirectoryCannotBeOpened) {
    PutFile(At("file"));
    EXPECT_FALSE(SyncDirectory(At("missing")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(SyncDirectory(At("file")));
    EXPECT_EQ(errno, ENOTDIR);
}

} // namespace
