#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

#include <string>

using namespace ZeltoFileUtils;
using namespace zelto_test;
namespace fs = std::filesystem;

namespace {

class CreateDirectoryTest : public TFileTest {};

TEST_F(CreateDirectoryTest, AppliesModeAndMask) {
    const TCreationMask mask(027);
    EXPECT_TRUE(CreateDirectory(At("new"), 0777));
    EXPECT_EQ(ModeOf(At("new")), 0750U);
}

TEST_F(CreateDirectoryTest, FailsWhereTheSystemDoes) {
    EXPECT_FALSE(CreateDirectory(dir, 0755));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_FALSE(CreateDirectory(At("a/b"), 0755));
    EXPECT_EQ(errno, ENOENT);
    const TUnprivileged dropped;
    EXPECT_FALSE(CreateDirectory("/proc/new", 0755));
    EXPECT_TRUE(errno == EACCES || errno == ENOENT) << GetError();
}

class CreateDirectoryRecursiveTest : public TFileTest {};

TEST_F(CreateDirectoryRecursiveTest, CreatesAllLevelsAndSucceedsAgain) {
    const TWorkingDirectory here(dir);
    EXPECT_TRUE(CreateDirectoryRecursive("a/b/c", 0755));
    EXPECT_TRUE(fs::is_directory("a/b/c"));
    EXPECT_TRUE(CreateDirectoryRecursive("a/b/c", 0755));
}

TEST_F(CreateDirectoryRecursiveTest, GivesEveryLevelTheMode) {
    const TCreationMask mask(0);
    EXPECT_TRUE(CreateDirectoryRecursive(At("a/b"), 0711));
    EXPECT_EQ(ModeOf(At("a")), 0711U);
    EXPECT_EQ(ModeOf(At("a/b")), 0711U);
}

TEST_F(CreateDirectoryRecursiveTest, AcceptsSlashesAtTheEndAndInARow) {
    EXPECT_TRUE(CreateDirectoryRecursive(At("a//b///c//"), 0755));
    EXPECT_TRUE(fs::is_directory(At("a/b/c")));
}

TEST_F(CreateDirectoryRecursiveTest, TakesAnExistingFileForSuccess) {
    PutFile(At("file"));
    EXPECT_TRUE(CreateDirectoryRecursive(At("file"), 0755));
    EXPECT_TRUE(fs::is_regular_file(At("file")));
}

TEST_F(CreateDirectoryRecursiveTest, FailsBelowAFile) {
    fs::create_directory(At("a"));
    PutFile(At("a/b"));
    EXPECT_TRUE(CreateDirectoryRecursive(At("a/b"), 0755));
    EXPECT_FALSE(CreateDirectoryRecursive(At("a/b/c"), 0755));
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(CreateDirectoryRecursiveTest, FailsBelowADanglingLink) {
    fs::create_symlink("missing", At("link"));
    EXPECT_FALSE(CreateDirectoryRecursive(At("link/c"), 0755));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(fs::exists(At("missing")));
}

TEST_F(CreateDirectoryRecursiveTest, FailsForTheEmptyPath) {
    EXPECT_FALSE(CreateDirectoryRecursive("", 0755));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(CreateDirectoryRecursiveTest, LeavesTheLevelsMadeBeforeAFailure) {
    EXPECT_FALSE(CreateDirectoryRecursive(At("a/" + std::string(300, 'n')), 0755));
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_TRUE(fs::is_directory(At("a")));
    EXPECT_FALSE(CreateDirectoryRecursive(At("a/b/."), 0755));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(fs::is_directory(At("a/b")));
}

TEST_F(CreateDirectoryRecursiveTest, FailsWithoutPermission) {
    const TUnprivileged dropped;
    ASSERT_EQ(::mkdir(At("closed").c_str(), 0555), 0);
    EXPECT_FALSE(CreateDirectoryRecursive(At("closed/a/b"), 0755));
    EXPECT_EQ(errno, EACCES);
}

class CreateTemporaryDirectoryTest : public TFileTest {};

TEST_F(CreateTemporaryDirectoryTest, AppendsSixCharactersToThePrefix) {
    const std::string prefix = At("work");
    std::string path = prefix;
    EXPECT_TRUE(CreateTemporaryDirectory(path, 0700));
    EXPECT_EQ(path.size(), prefix.size() + 7);
    EXPECT_EQ(path.substr(0, prefix.size() + 1), prefix + "_");
    EXPECT_NE(path.substr(prefix.size()), "_XXXXXX");
    EXPECT_TRUE(fs::is_directory(path));
    EXPECT_EQ(ModeOf(path), 0700U);
}

TEST_F(CreateTemporaryDirectoryTest, MakesAnotherDirectoryEachTime) {
    std::string first = At("work");
    std::string second = At("work");
    EXPECT_TRUE(CreateTemporaryDirectory(first, 0700));
    EXPECT_TRUE(CreateTemporaryDirectory(second, 0700));
    EXPECT_NE(first, second);
}

TEST_F(CreateTemporaryDirectoryTest, SetsTheModeWhateverTheMask) {
    const TCreationMask mask(077);
    std::string path = At("work");
    EXPECT_TRUE(CreateTemporaryDirectory(path, 01777));
    EXPECT_EQ(ModeOf(path), 01777U);
}

TEST_F(CreateTemporaryDirectoryTest, LeavesThePrefixUnchangedOnFailure) {
    const std::string prefix = At("missing/work");
    std::string path = prefix;
    EXPECT_FALSE(CreateTemporaryDirectory(path, 0700));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(path, prefix);
}

class LinksTest : public TFileTest {};

TEST_F(LinksTest, ASymbolicLinkHoldsItsTargetAsGiven) {
    EXPECT_TRUE(CreateSymbolicLink("no/such \n\xff", At("link")));
    EXPECT_EQ(fs::read_symlink(At("link")).string(), "no/such \n\xff");
    EXPECT_FALSE(CreateSymbolicLink("other", At("link")));
    EXPECT_EQ(errno, EEXIST);
}

TEST_F(LinksTest, AHardLinkIsTheSameFile) {
    PutFile(At("file"), "text");
    EXPECT_TRUE(CreateHardLink(At("file"), At("hard")));
    EXPECT_TRUE(fs::equivalent(At("file"), At("hard")));
    EXPECT_FALSE(CreateHardLink(At("missing"), At("other")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(CreateHardLink(At("file"), At("hard")));
    EXPECT_EQ(errno, EEXIST);
}

TEST_F(LinksTest, AHardLinkToASymbolicLinkIsASymbolicLink) {
    fs::create_symlink("missing", At("link"));
    EXPECT_TRUE(CreateHardLink(At("link"), At("hard")));
    EXPECT_TRUE(fs::is_symlink(At("hard")));
}

} // namespace
