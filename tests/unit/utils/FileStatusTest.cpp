#include "FileTestSupport.h"

#include "zelto/ZeltoFileUtils.h"

#include <cstring>

#include <sys/socket.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

using namespace ZeltoFileUtils;
using namespace zelto_test;

namespace {

class FileStatusTest : public TFileTest {
protected:
    void SetUp() override {
        PutFile(At("file"), "12345");
        std::filesystem::create_directory(At("directory"));
        std::filesystem::create_symlink("file", At("link"));
        std::filesystem::create_symlink("missing", At("dangling"));
        std::filesystem::create_symlink("loop", At("loop"));
        ASSERT_EQ(::mkfifo(At("fifo").c_str(), 0644), 0);
    }

    void PutSocket(const std::string& name) const {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, At(name).c_str(), sizeof address.sun_path - 1);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        EXPECT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ::close(fd);
    }
};

TEST(GetError, IsTheTextOfErrno) {
    errno = ENOENT;
    EXPECT_EQ(GetError(), std::strerror(ENOENT));
    errno = 0;
    EXPECT_EQ(GetError(), std::strerror(0));
}

TEST_F(FileStatusTest, GetErrorExplainsAFailure) {
    EXPECT_FALSE(Remove(At("missing")));
    EXPECT_EQ(GetError(), std::strerror(ENOENT));
}

TEST_F(FileStatusTest, ExistsWhenThePathLeadsSomewhere) {
    EXPECT_TRUE(Exists(At("file")));
    EXPECT_TRUE(Exists(At("directory")));
    EXPECT_TRUE(Exists(At("link")));
    EXPECT_TRUE(Exists(At("fifo")));
}

TEST_F(FileStatusTest, DoesNotExistWhenThePathLeadsNowhere) {
    EXPECT_FALSE(Exists(At("dangling")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(Exists(At("loop")));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(Exists(At("file/below")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(Exists(""));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(Exists(At(std::string(300, 'n'))));
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(FileStatusTest, DoesNotSeeIntoAClosedDirectory) {
    PutFile(At("directory/inside"));
    ::chmod(At("directory").c_str(), 0);
    {
        const TUnprivileged dropped;
        EXPECT_FALSE(Exists(At("directory/inside")));
        EXPECT_EQ(errno, EACCES);
    }
    ::chmod(At("directory").c_str(), 0755);
}

TEST_F(FileStatusTest, TellsTheTypes) {
    PutSocket("socket");
    std::filesystem::create_symlink("directory", At("toDirectory"));
    std::filesystem::create_symlink("fifo", At("toFifo"));
    std::filesystem::create_symlink("socket", At("toSocket"));
    std::filesystem::create_symlink("/dev/null", At("toDevice"));
    // One letter for each test that holds: directory, regular, fifo, socket, device, link, block.
    const struct {
        std::string path;
        const char* types;
    } cases[] = {
        {At("directory"), "d"},    {At("file"), "r"},      {At("fifo"), "f"},
        {At("socket"), "s"},       {"/dev/null", "c"},     {At("link"), "rl"},
        {At("toDirectory"), "dl"}, {At("toFifo"), "fl"},   {At("toSocket"), "sl"},
        {At("toDevice"), "cl"},    {At("dangling"), "l"},  {At("loop"), "l"},
        {At("missing"), ""},       {At("file/below"), ""}, {"", ""},
    };
    for (const auto& item : cases) {
        std::string types;
        types += IsDirectory(item.path) ? "d" : "";
        types += IsRegular(item.path) ? "r" : "";
        types += IsFifo(item.path) ? "f" : "";
        types += IsSocket(item.path) ? "s" : "";
        types += IsDevice(item.path) ? "c" : "";
        types += IsSymbolicLink(item.path) ? "l" : "";
        types += IsBlock(item.path) ? "b" : "";
        EXPECT_EQ(types, item.types) << item.path;
    }
}

TEST_F(FileStatusTest, TellsABlockDeviceButNotALinkToOne) {
    if (::mknod(At("block").c_str(), S_IFBLK | 0600, makedev(7, 0)) != 0) {
        GTEST_SKIP() << "device nodes need root";
    }
    std::filesystem::create_symlink("block", At("toBlock"));
    EXPECT_TRUE(IsBlock(At("block")));
    EXPECT_FALSE(IsDevice(At("block")));
    EXPECT_FALSE(IsBlock(At("toBlock")));
    EXPECT_TRUE(IsSymbolicLink(At("toBlock")));
}

TEST_F(FileStatusTest, IsSameForAllNamesOfAFile) {
    ASSERT_EQ(::link(At("file").c_str(), At("hard").c_str()), 0);
    EXPECT_TRUE(IsSame(At("file"), At("file")));
    EXPECT_TRUE(IsSame(At("file"), At("hard")));
    EXPECT_TRUE(IsSame(At("link"), At("hard")));
    EXPECT_TRUE(IsSame(At("directory"), At("directory/../directory/.")));
}

TEST_F(FileStatusTest, IsNotSameForOtherFilesOrNone) {
    PutFile(At("other"), "12345");
    EXPECT_FALSE(IsSame(At("file"), At("other")));
    EXPECT_FALSE(IsSame(At("file"), At("missing")));
    EXPECT_FALSE(IsSame(At("missing"), At("file")));
    EXPECT_FALSE(IsSame(At("missing"), At("missing")));
}

TEST_F(FileStatusTest, PermissionsIncludeTheSpecialBits) {
    unsigned mode = 0;
    for (const unsigned bits : {0644U, 0U, 07777U, 04755U, 01777U}) {
        EXPECT_TRUE(ChangePermissions(At("directory"), bits));
        EXPECT_TRUE(GetPermissions(At("directory"), mode));
        EXPECT_EQ(mode, bits);
    }
    EXPECT_TRUE(ChangePermissions(At("directory"), 0755));
}

TEST_F(FileStatusTest, PermissionsAreThoseBehindALink) {
    EXPECT_TRUE(ChangePermissions(At("link"), 0640));
    unsigned mode = 0;
    EXPECT_TRUE(GetPermissions(At("link"), mode));
    EXPECT_EQ(mode, 0640U);
    EXPECT_EQ(ModeOf(At("file")), 0640U);
}

TEST_F(FileStatusTest, StatusQueriesMatchTheSystem) {
    struct stat status {};
    ASSERT_EQ(::stat(At("file").c_str(), &status), 0);
    unsigned long long device = 0;
    unsigned uid = ~0U;
    unsigned gid = ~0U;
    EXPECT_TRUE(GetDevice(At("file"), device));
    EXPECT_TRUE(GetOwner(At("file"), uid));
    EXPECT_TRUE(GetGroup(At("file"), gid));
    EXPECT_EQ(device, status.st_dev);
    EXPECT_EQ(uid, status.st_uid);
    EXPECT_EQ(gid, status.st_gid);
}

TEST_F(FileStatusTest, TimesAreWholeSeconds) {
    const timespec times[] = {{1000000001, 900000000}, {1200000002, 900000000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, At("file").c_str(), times, 0), 0);
    struct stat status {};
    ASSERT_EQ(::stat(At("file").c_str(), &status), 0);
    long access = 0;
    long modification = 0;
    long change = 0;
    EXPECT_TRUE(GetAccessTime(At("link"), access));
    EXPECT_TRUE(GetModificationTime(At("link"), modification));
    EXPECT_TRUE(GetStatusChangeTime(At("link"), change));
    EXPECT_EQ(access, 1000000001);
    EXPECT_EQ(modification, 1200000002);
    EXPECT_EQ(change, status.st_ctim.tv_sec);
    EXPECT_GT(change, modification);
}

TEST_F(FileStatusTest, FailedQueriesLeaveTheirOutputsUntouched) {
    unsigned number = 99;
    unsigned long long wide = 99;
    long time = 99;
    const std::string missing = At("missing");
    EXPECT_FALSE(GetPermissions(missing, number));
    EXPECT_FALSE(GetOwner(missing, number));
    EXPECT_FALSE(GetGroup(missing, number));
    EXPECT_FALSE(GetDevice(missing, wide));
    EXPECT_FALSE(GetAvailableSpace(missing, wide));
    EXPECT_FALSE(GetModificationTime(missing, time));
    EXPECT_FALSE(GetStatusChangeTime(missing, time));
    EXPECT_FALSE(GetAccessTime(missing, time));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(number, 99U);
    EXPECT_EQ(wide, 99U);
    EXPECT_EQ(time, 99);
}

TEST_F(FileStatusTest, SizeIsTheLengthOrZero) {
    EXPECT_EQ(GetSize(At("file")), 5U);
    EXPECT_EQ(GetSize(At("link")), 5U);
    EXPECT_EQ(GetSize(At("missing")), 0U);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(GetSize(At("dangling")), 0U);
}

TEST_F(FileStatusTest, LinkCountIsThatOfTheFileOrZero) {
    EXPECT_EQ(GetHardLinkCount(At("file")), 1U);
    ASSERT_EQ(::link(At("file").c_str(), At("hard").c_str()), 0);
    EXPECT_EQ(GetHardLinkCount(At("link")), 2U);
    EXPECT_EQ(GetHardLinkCount(At("missing")), 0U);
}

TEST_F(FileStatusTest, ChangePermissionsFailsWhereTheSystemDoes) {
    EXPECT_FALSE(ChangePermissions(At("missing"), 0644));
    EXPECT_EQ(errno, ENOENT);
    const TUnprivileged dropped;
    EXPECT_FALSE(ChangePermissions("/etc/passwd", 0644));
    EXPECT_EQ(errno, EPERM);
}

TEST_F(FileStatusTest, ChangeLinkOwnerChangesTheLinkOnly) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "changing owners needs root";
    }
    EXPECT_TRUE(ChangeLinkOwner(At("link"), 1001));
    EXPECT_TRUE(ChangeLinkGroup(At("link"), 1002));
    struct stat status {};
    ASSERT_EQ(::lstat(At("link").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1001U);
    EXPECT_EQ(status.st_gid, 1002U);
    ASSERT_EQ(::stat(At("file").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
    EXPECT_EQ(status.st_gid, ::getegid());
}

TEST_F(FileStatusTest, ChangeLinkOwnerToItselfNeedsNoPrivilege) {
    PutFile(At("own"));
    EXPECT_TRUE(ChangeLinkOwner(At("own"), ::geteuid()));
    EXPECT_TRUE(ChangeLinkGroup(At("own"), ::getegid()));
}

TEST_F(FileStatusTest, ChangeLinkOwnerFailsWhereTheSystemDoes) {
    EXPECT_FALSE(ChangeLinkOwner(At("missing"), 0));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(ChangeLinkGroup(At("missing"), 0));
    EXPECT_EQ(errno, ENOENT);
    const TUnprivileged dropped;
    EXPECT_FALSE(ChangeLinkOwner("/etc/passwd", 1001));
    EXPECT_EQ(errno, EPERM);
}

TEST_F(FileStatusTest, SetCreationMaskReturnsThePreviousMask) {
    const TCreationMask restored(022);
    EXPECT_EQ(SetCreationMask(077), 022U);
    EXPECT_EQ(SetCreationMask(0), 077U);
}

TEST_F(FileStatusTest, AvailableSpaceCountsInBlocks) {
    struct statvfs before {};
    struct statvfs after {};
    unsigned long long bytes = 0;
    // Others write to the same disk: a measurement counts when nothing changed around it.
    for (int attempt = 0; attempt < 1000; ++attempt) {
        ASSERT_EQ(::statvfs(dir.c_str(), &before), 0);
        ASSERT_TRUE(GetAvailableSpace(dir, bytes));
        ASSERT_EQ(::statvfs(dir.c_str(), &after), 0);
        if (before.f_bavail == after.f_bavail) {
            break;
        }
    }
    EXPECT_EQ(bytes, static_cast<unsigned long long>(after.f_bsize) * after.f_bavail);
}

} // namespace
