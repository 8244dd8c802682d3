// Files are read from below one folder and from nowhere else, whoever resolves the names.

#include "tools/zelto-remoted/FileRoot.h"

#include "tools/zelto-remoted/BeneathPath.h"

#include "support/Eventually.h"
#include "support/ProcessStats.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using remoted::TFileRoot;

namespace {

constexpr char LEADS_OUT[] = "the name leads out of the folder of files";
constexpr char NO_FILE[] = "there is no such file";
constexpr char NOT_REGULAR[] = "not a regular file";

} // namespace

class FileRoot : public testing::TestWithParam<TFileRoot::TResolver> {
protected:
    FileRoot() {
        std::filesystem::create_directories(outer.File("root/sub/deep"));
        outer.Write("secret", "secret");
        outer.Write("root/file", "content");
        outer.Write("root/sub/file", "below");
    }

    // The content, or the reason in brackets.
    std::string Read(const std::string& name) const {
        std::string content;
        const std::string fault = TFileRoot(outer.File("root"), GetParam()).Read(name, content);
        return fault.empty() ? content : "(" + fault + ")";
    }

    void Link(const std::string& target, const std::string& name) const {
        std::filesystem::create_symlink(target, outer.File("root/" + name));
    }

    static std::string Fault(const std::string& text) { return "(" + text + ")"; }

    support::TTempDir outer;
};

TEST_P(FileRoot, GivesWhatIsBelowIt) {
    EXPECT_EQ(Read("file"), "content");
    EXPECT_EQ(Read("sub/file"), "below");
    EXPECT_EQ(Read("./sub//./file"), "below");
}

TEST_P(FileRoot, HasNoFileOfAnUnknownName) {
    for (const std::string name : {"none", "none/file", "file/x", "file/", "FILE", "sub/none"}) {
        EXPECT_EQ(Read(name), Fault(NO_FILE)) << name;
    }
    EXPECT_EQ(Read(std::string(300, 'n')), Fault(NO_FILE));
    EXPECT_EQ(Read("sub/" + std::string(60000, '/') + "file"), Fault(NO_FILE));
}

TEST_P(FileRoot, IsNotLeftByTheName) {
    for (const std::string name :
         {"", "/", "..", "../secret", "sub/../../secret", "sub/..", "sub/../file", "/etc/passwd",
          "//etc/passwd", "./../secret", "sub/deep/../../../secret"}) {
        EXPECT_EQ(Read(name), Fault(LEADS_OUT)) << name;
    }
    EXPECT_EQ(Read(outer.File("root/file")), Fault(LEADS_OUT));
}

TEST_P(FileRoot, IsNotLeftByALink) {
    Link("../secret", "up");
    Link(outer.File("secret"), "absolute");
    Link(outer.File("root/file"), "home");
    Link("..", "parent");
    Link("/", "top");
    Link("sub/../../secret", "around");
    Link("up", "chain");
    for (const std::string name :
         {"up", "absolute", "home", "parent/secret", "top/etc/passwd", "around", "chain"}) {
        EXPECT_EQ(Read(name), Fault(LEADS_OUT)) << name;
    }
}

TEST_P(FileRoot, FollowsLinksThatStayInside) {
    Link("sub/file", "inner");
    Link("../file", "sub/back");
    Link("sub/deep", "folder");
    Link("inner", "chain");
    EXPECT_EQ(Read("inner"), "below");
    EXPECT_EQ(Read("sub/back"), "content");
    EXPECT_EQ(Read("chain"), "below");
    Link("../../file", "sub/deep/up");
    EXPECT_EQ(Read("folder/up"), "content");
    Link("folder/../file", "through"); // ".." of a folder is its own, not that of the link to it
    EXPECT_EQ(Read("through"), "below");
}

TEST_P(FileRoot, EndsInACircleOfLinks) {
    Link("b", "a");
    Link("a", "b");
    EXPECT_EQ(Read("a"), Fault(LEADS_OUT));
    EXPECT_EQ(Read("a/x"), Fault(LEADS_OUT));
}

TEST_P(FileRoot, HasNoFileBehindALinkThatDangles) {
    Link("none", "dangling");
    EXPECT_EQ(Read("dangling"), Fault(NO_FILE));
}

TEST_P(FileRoot, GivesRegularFilesOnly) {
    ASSERT_EQ(mkfifo(outer.File("root/fifo").c_str(), 0600), 0);
    for (const std::string name : {"fifo", "sub", "sub/", ".", "./"}) {
        EXPECT_EQ(Read(name), Fault(NOT_REGULAR)) << name;
    }
}

TEST_P(FileRoot, GivesNoSocket) {
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    outer.File("root/socket").copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(Read("socket"), Fault(NOT_REGULAR));
    close(listener);
}

TEST_P(FileRoot, IsNotLeftByTheLinksOfProc) {
    const int secret = open(outer.File("secret").c_str(), O_RDONLY | O_CLOEXEC);
    const TFileRoot proc("/proc", GetParam());
    std::string content;
    const std::string self = std::to_string(getpid());
    for (const std::string& name : {self + "/fd/" + std::to_string(secret), self + "/root" + "/etc/passwd",
                                    self + "/cwd/none", self + "/exe", std::string("self/exe")}) {
        EXPECT_EQ(proc.Read(name, content), LEADS_OUT) << name;
    }
    EXPECT_EQ(proc.Read("self/status", content), ""); // an ordinary link
    EXPECT_NE(content.find("Pid:"), std::string::npos);
    close(secret);
}

TEST_P(FileRoot, GivesAFileOfTheLargestSizeAndNoLargerOne) {
    const std::string largest(1048575, 'l');
    outer.Write("root/largest", largest);
    outer.Write("root/larger", largest + "l");
    outer.Write("root/empty", "");
    outer.Write("root/one", "1");
    EXPECT_TRUE(Read("largest") == largest);
    EXPECT_EQ(Read("larger"), Fault("the file is larger than 1048575 bytes"));
    EXPECT_EQ(Read("empty"), "");
    EXPECT_EQ(Read("one"), "1");
}

TEST_P(FileRoot, KnowsASizeOfMoreThan32Bits) {
    ASSERT_EQ(truncate64(outer.File("root/file").c_str(), (int64_t{1} << 32U) + 7), 0); // takes no room
    EXPECT_EQ(Read("file"), Fault("the file is larger than 1048575 bytes"));
}

TEST_P(FileRoot, LeavesNoDescriptorBehind) {
    Link("../secret", "up");
    const std::size_t before = support::OpenDescriptors(getpid());
    for (const char* name : {"file", "sub/file", "none", "up", "sub", "../secret"}) {
        (void)Read(name);
    }
    EXPECT_EQ(support::OpenDescriptors(getpid()), before);
}

TEST_P(FileRoot, MustBeThere) {
    EXPECT_THROW(TFileRoot(outer.File("none"), GetParam()), std::runtime_error);
    EXPECT_THROW(TFileRoot(outer.File("secret"), GetParam()), std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(Resolvers, FileRoot,
                         testing::Values(TFileRoot::KERNEL_RESOLVER, TFileRoot::OWN_RESOLVER),
                         [](const auto& testCase) {
                             return testCase.param == TFileRoot::KERNEL_RESOLVER ? "Kernel" : "Own";
                         });
