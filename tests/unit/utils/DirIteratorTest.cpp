#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

#include <set>
#include <type_traits>
#include <vector>

using namespace ZeltoFileUtils;
using namespace zelto_test;

namespace {

using TNames = std::set<std::string>;

std::vector<std::string> NamesIn(const std::string& directory) {
    std::vector<std::string> names;
    for (TDirIterator it(directory); it != TDirIterator::End(); ++it) {
        names.push_back(it.GetName());
    }
    return names;
}

// What the system lists, in its order.
std::vector<std::string> ListedNames(const std::string& directory) {
    std::vector<std::string> names;
    DIR* stream = ::opendir(directory.c_str());
    while (const dirent* entry = ::readdir(stream)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    ::closedir(stream);
    return names;
}

class TDirIteratorTest : public TFileTest {
protected:
    void PutFiles(int count) const {
        for (int i = 0; i < count; ++i) {
            PutFile(At("file" + std::to_string(i)));
        }
    }
};

static_assert(!std::is_polymorphic<TDirIterator>::value, "the layout has no table of virtual functions");
static_assert(sizeof(TDirIterator) == 2 * sizeof(void*) + sizeof(std::string), "the layout is fixed");
static_assert(!std::is_copy_assignable<TDirIterator>::value, "two iterators never share a stream");

TEST_F(TDirIteratorTest, WalksTheEntriesInTheOrderOfTheSystem) {
    PutFiles(50);
    EXPECT_EQ(NamesIn(dir), ListedNames(dir));
    EXPECT_EQ(NamesIn(dir).size(), 50U);
}

TEST_F(TDirIteratorTest, SkipsOnlyDotAndDotDot) {
    for (const char* name : {".hidden", "..", "...", "..x", ".x"}) {
        if (std::string(name) != "..") {
            PutFile(At(name));
        }
    }
    const auto names = NamesIn(dir);
    EXPECT_EQ(TNames(names.begin(), names.end()), (TNames{".hidden", "...", "..x", ".x"}));
}

TEST_F(TDirIteratorTest, KeepsUnusualNames) {
    const TNames unusual{"with space", "new\nline",  "\xff\xfe\x80",       "*",
                         "tab\t",      "\"quoted\"", std::string(255, 'n')};
    for (const std::string& name : unusual) {
        PutFile(At(name));
    }
    const auto names = NamesIn(dir);
    EXPECT_EQ(TNames(names.begin(), names.end()), unusual);
}

TEST_F(TDirIteratorTest, GivesNameAndFullPath) {
    PutFile(At("only"));
    const TDirIterator it(dir);
    EXPECT_EQ(it.GetName(), "only");
    EXPECT_EQ(it.GetFullPath(), dir + "/only");
}

TEST_F(TDirIteratorTest, AlwaysAppendsASlashToTheDirectory) {
    PutFile(At("only"));
    EXPECT_EQ(TDirIterator(dir + "/").GetFullPath(), dir + "//only");
}

TEST_F(TDirIteratorTest, GivesEmptyTextsPastTheLastEntry) {
    PutFile(At("only"));
    TDirIterator it(dir);
    it.Next();
    EXPECT_EQ(it.GetName(), "");
    EXPECT_EQ(it.GetFullPath(), "");
    it.Next();
    EXPECT_EQ(it.GetName(), "");
}

TEST_F(TDirIteratorTest, HasNoEntryWhenTheDirectoryCannotBeOpened) {
    PutFile(At("file"));
    for (const std::string& path : {At("missing"), At("file"), std::string()}) {
        errno = 0;
        TDirIterator it(path);
        EXPECT_EQ(errno, path == At("file") ? ENOTDIR : ENOENT);
        EXPECT_EQ(it.GetName(), "");
        EXPECT_TRUE(it == TDirIterator::End());
        it.Next();
        EXPECT_EQ(it.GetFullPath(), "");
    }
}

TEST_F(TDirIteratorTest, FollowsALinkToADirectory) {
    std::filesystem::create_directory(At("real"));
    PutFile(At("real/file"));
    std::filesystem::create_symlink("real", At("link"));
    EXPECT_EQ(TDirIterator(At("link")).GetFullPath(), At("link/file"));
}

TEST_F(TDirIteratorTest, PrefixFormAdvancesAndReturnsItself) {
    PutFiles(2);
    const auto names = NamesIn(dir);
    TDirIterator it(dir);
    EXPECT_EQ(&++it, &it);
    EXPECT_EQ(it.GetName(), names[1]);
}

TEST_F(TDirIteratorTest, PostfixFormReturnsACopyAtTheFirstEntry) {
    PutFiles(3);
    const auto names = NamesIn(dir);
    TDirIterator it(dir);
    ++it;
    const TDirIterator copy = it++;
    EXPECT_EQ(copy.GetName(), names[0]);
    EXPECT_EQ(it.GetName(), names[2]);
}

TEST_F(TDirIteratorTest, ACopyStandsAtTheFirstEntry) {
    PutFiles(3);
    const auto names = NamesIn(dir);
    TDirIterator it(dir);
    ++it;
    const TDirIterator copy(it);
    EXPECT_EQ(copy.GetFullPath(), dir + "/" + names[0]);
    EXPECT_EQ(it.GetName(), names[1]);
}

TEST_F(TDirIteratorTest, ACopyWalksOnItsOwn) {
    PutFiles(3);
    const auto names = NamesIn(dir);
    TDirIterator it(dir);
    {
        TDirIterator copy(it);
        ++copy;
        EXPECT_EQ(copy.GetName(), names[1]);
    }
    EXPECT_EQ(it.GetName(), names[0]);
    ++it;
    EXPECT_EQ(it.GetName(), names[1]);
}

TEST_F(TDirIteratorTest, ACopyOfTheEndIsTheEnd) {
    const TDirIterator copy(TDirIterator::End());
    EXPECT_TRUE(copy == TDirIterator::End());
    EXPECT_TRUE(TDirIterator::End() == copy);
}

TEST_F(TDirIteratorTest, ACopyOfAnIteratorOverTheEmptyNameDoesNotOpenTheRoot) {
    const TDirIterator it("");
    const TDirIterator copy(it);
    EXPECT_EQ(copy.GetName(), "");
    EXPECT_TRUE(TDirIterator::End() == copy);
}

TEST_F(TDirIteratorTest, AnExhaustedIteratorEqualsTheEndOnlyOnTheLeft) {
    const TDirIterator exhausted(dir);
    EXPECT_TRUE(exhausted == TDirIterator::End());
    EXPECT_FALSE(exhausted != TDirIterator::End());
    EXPECT_FALSE(TDirIterator::End() == exhausted);
    EXPECT_TRUE(TDirIterator::End() != exhausted);
}

TEST_F(TDirIteratorTest, AnIteratorAtAnEntryDiffersFromTheEnd) {
    PutFiles(1);
    const TDirIterator it(dir);
    EXPECT_TRUE(it != TDirIterator::End());
    EXPECT_TRUE(TDirIterator::End() != it);
}

TEST_F(TDirIteratorTest, IteratorsAtEntriesAreEqualWhenTheirPathsAre) {
    PutFiles(2);
    const TDirIterator first(dir);
    TDirIterator other(dir);
    EXPECT_TRUE(first == other);
    ++other;
    EXPECT_TRUE(first != other);
    const TDirIterator spelledOtherwise(dir + "/");
    EXPECT_TRUE(first != spelledOtherwise);
}

TEST_F(TDirIteratorTest, ExhaustedIteratorsOfDifferentDirectoriesAreEqual) {
    std::filesystem::create_directory(At("empty"));
    TDirIterator it(dir);
    ++it;
    EXPECT_TRUE(it == TDirIterator(At("empty")));
}

TEST_F(TDirIteratorTest, AnExhaustedIteratorDiffersFromOneAtAnEntry) {
    std::filesystem::create_directory(At("empty"));
    const TDirIterator exhausted(At("empty"));
    const TDirIterator atEntry(dir);
    EXPECT_FALSE(exhausted == atEntry);
    EXPECT_FALSE(atEntry == exhausted);
}

TEST_F(TDirIteratorTest, TheEndIsOneObject) {
    EXPECT_EQ(&TDirIterator::End(), &TDirIterator::End());
    EXPECT_EQ(TDirIterator::End().GetName(), "");
    EXPECT_EQ(TDirIterator::End().GetFullPath(), "");
    EXPECT_TRUE(TDirIterator() == TDirIterator::End());
}

TEST_F(TDirIteratorTest, GoesOnWhenEntriesVanish) {
    PutFiles(20);
    TDirIterator it(dir);
    for (int i = 0; i < 20; ++i) {
        std::filesystem::remove(At("file" + std::to_string(i)));
    }
    int steps = 0;
    while (it != TDirIterator::End() && steps < 100) {
        ++it;
        ++steps;
    }
    EXPECT_LE(steps, 20);
    EXPECT_EQ(it.GetName(), "");
}

TEST_F(TDirIteratorTest, HoldsOneDescriptorWhileItLives) {
    {
        const TDirIterator it(dir);
        EXPECT_EQ(CountOpenDescriptors(), descriptors + 1);
    }
    EXPECT_EQ(CountOpenDescriptors(), descriptors);
}

} // namespace
