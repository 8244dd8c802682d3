#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

#include <string>

using namespace ZeltoFileUtils;
using namespace zelto_test;

namespace {

struct TPathCase {
    const char* path;
    const char* result;
};

TEST(GetDirName, IsThePosixDirname) {
    const TPathCase cases[] = {
        {"/a/b", "/a"}, {"/a/b/", "/a"}, {"/a", "/"}, {"/", "/"}, {"a", "."},
        {"", "."},      {"a/b", "a"},    {"..", "."}, {".", "."}, {"a//b", "a"},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(GetDirName(item.path), item.result) << item.path;
    }
}

TEST(GetBaseName, IsThePosixBasename) {
    const TPathCase cases[] = {
        {"/a/b", "b"}, {"/a/b/", "b"}, {"/a", "a"},  {"/", "/"},  {"a", "a"},           {"", "."},
        {"..", ".."},  {".", "."},     {"a//", "a"}, {"//", "/"}, {"a b/c\nd", "c\nd"},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(GetBaseName(item.path), item.result) << item.path;
    }
}

TEST(GetBaseName, LeavesItsArgumentAlone) {
    const std::string path = "/a/b/";
    GetBaseName(path);
    GetDirName(path);
    EXPECT_EQ(path, "/a/b/");
}

TEST(GetFileExtension, RunsFromTheLastDotOfTheBaseName) {
    const TPathCase cases[] = {
        {"a.tar.gz", ".gz"}, {".profile", ".profile"},
        {"dir.d/file", ""},  {"dir.d/file.c", ".c"},
        {".", ""},           {"..", ""},
        {"a/..", ""},        {"file", ""},
        {"file.", "."},      {"...", "."},
        {"a.d/", ".d"},      {"", ""},
        {"/", ""},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(GetFileExtension(item.path), item.result) << item.path;
    }
}

TEST(AppendFilePath, AlwaysInsertsTheSeparator) {
    EXPECT_EQ(AppendFilePath("a", "b"), "a/b");
    EXPECT_EQ(AppendFilePath("a/", "/b"), "a///b");
    EXPECT_EQ(AppendFilePath("", ""), "/");
}

TEST(GetFileNameFromPath, IsTheLastItem) {
    const TPathCase cases[] = {
        {"a/b", "b"}, {"a/b/", "b"}, {"/a", "a"}, {"a", "a"}, {"a//", ""}, {"a/b.c", "b.c"}, {"..", ".."},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(GetFileNameFromPath(item.path), item.result) << item.path;
    }
}

TEST(GetFileNameFromPath, IsEmptyWithoutAComponent) {
    EXPECT_EQ(GetFileNameFromPath(""), "");
    EXPECT_EQ(GetFileNameFromPath("/"), "");
}

class ReadLinkTest : public TFileTest {};

TEST_F(ReadLinkTest, GivesTheTextOfTheLink) {
    std::filesystem::create_symlink("../no where", At("link"));
    std::string target = "before";
    EXPECT_TRUE(ReadLink(At("link"), target));
    EXPECT_EQ(target, "../no where");
}

TEST_F(ReadLinkTest, ReadsTheLongestTarget) {
    const std::string longest(4095, 't');
    std::string target;
    if (::symlink(longest.c_str(), At("link").c_str()) != 0) {
        GTEST_SKIP() << "the file system refuses links of 4095 bytes";
    }
    EXPECT_TRUE(ReadLink(At("link"), target));
    EXPECT_EQ(target, longest);
}

TEST_F(ReadLinkTest, LeavesTheTargetUntouchedOnFailure) {
    PutFile(At("file"));
    std::string target = "before";
    EXPECT_FALSE(ReadLink(At("file"), target));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(ReadLink(At("missing"), target));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(target, "before");
}

class RealPathTest : public TFileTest {
protected:
    // The directory for temporary files may itself be reached by a link.
    std::string Canonical(const std::string& name) const {
        return std::filesystem::canonical(dir).string() + name;
    }
};

TEST_F(RealPathTest, ResolvesLinksAndDots) {
    std::filesystem::create_directory(At("real"));
    PutFile(At("real/file"));
    std::filesystem::create_symlink("real", At("link"));
    std::string resolved;
    EXPECT_TRUE(RealPath(At("./link/../link//file"), resolved));
    EXPECT_EQ(resolved, Canonical("/real/file"));
}

TEST_F(RealPathTest, MakesARelativePathAbsolute) {
    PutFile(At("file"));
    const TWorkingDirectory here(dir);
    std::string resolved;
    EXPECT_TRUE(RealPath("file", resolved));
    EXPECT_EQ(resolved, Canonical("/file"));
}

TEST_F(RealPathTest, LeavesTheResultUntouchedOnFailure) {
    std::filesystem::create_symlink("b", At("a"));
    std::filesystem::create_symlink("a", At("b"));
    std::string resolved = "before";
    EXPECT_FALSE(RealPath(At("missing"), resolved));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(RealPath(At("a"), resolved));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(resolved, "before");
}

class CurrentDirectoryTest : public TFileTest {};

TEST_F(CurrentDirectoryTest, ChangesAndIsRead) {
    const TWorkingDirectory restored(".");
    EXPECT_TRUE(ChangeDirectory(dir));
    EXPECT_EQ(GetCurrentDirectory(), std::filesystem::canonical(dir).string());
}

TEST_F(CurrentDirectoryTest, StaysWhenTheNewOneCannotBeEntered) {
    const std::string before = GetCurrentDirectory();
    PutFile(At("file"));
    EXPECT_FALSE(ChangeDirectory(At("missing")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(ChangeDirectory(At("file")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(GetCurrentDirectory(), before);
}

TEST_F(CurrentDirectoryTest, IsEmptyWhenItHasBeenRemoved) {
    std::filesystem::create_directory(At("gone"));
    const TWorkingDirectory restored(".");
    ASSERT_TRUE(ChangeDirectory(At("gone")));
    std::filesystem::remove(At("gone"));
    EXPECT_EQ(GetCurrentDirectory(), "");
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(CurrentDirectoryTest, IsEmptyWhenItIsTooLong) {
    const std::string component(250, 'c');
    {
        const TWorkingDirectory restored(dir);
        for (int level = 0; level < 20; ++level) {
            ASSERT_EQ(::mkdir(component.c_str(), 0755), 0);
            ASSERT_TRUE(ChangeDirectory(component));
        }
        EXPECT_EQ(GetCurrentDirectory(), "");
        EXPECT_EQ(errno, ERANGE);
    }
}

} // namespace
