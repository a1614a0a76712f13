// Deleting, copying and moving what only POSIX has: links, permissions, devices, a second file system at a known place.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;

class DeletePosixTest : public FilesTestFolder {};
class CopyPosixTest : public FilesTestFolder {};
class MovePosixTest : public FilesTestFolder {};

TEST_F(DeletePosixTest, ANameThatNothingCanHaveIsRefusedWith123) {
    EXPECT_FALSE(DeleteFileW(Path(u"\xD800").c_str()));
    EXPECT_EQ(GetLastError(), 123u);
}

TEST_F(DeletePosixTest, RemovesALinkAndNotItsTarget) {
    Make("a", "abc");
    ASSERT_EQ(::symlink("a", File("link").c_str()), 0);
    EXPECT_TRUE(DeleteFileW(Path("link").c_str()));
    EXPECT_FALSE(Exists("link"));
    EXPECT_TRUE(Exists("a"));
}

TEST_F(CopyPosixTest, CopiesPermissions) {
    const WideText from = Make("a", "abc");
    ASSERT_EQ(::chmod(File("a").c_str(), 0751), 0);
    EXPECT_TRUE(CopyFileW(from.c_str(), Path("b").c_str(), TRUE));
    struct stat data {};
    ASSERT_EQ(::stat(File("b").c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & 0711u, 0711u);
}

TEST_F(CopyPosixTest, CopiesWhatTheKernelMakesUpWhileItIsRead) {
    EXPECT_TRUE(CopyFileW(u"/proc/self/status", Path("b").c_str(), TRUE));
    EXPECT_EQ(Contents("b").substr(0, 5), "Name:");
}

TEST_F(CopyPosixTest, AFullDeviceFailsWith112AndIsNotRemoved) {
    // Through a link, so that only the link could suffer.
    ASSERT_EQ(::symlink("/dev/full", File("device").c_str()), 0);
    EXPECT_FALSE(CopyFileW(Make("a", "abc").c_str(), Path("device").c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 112u);
    EXPECT_TRUE(Exists("device"));
}

TEST_F(CopyPosixTest, RemovesATargetThatItCouldNotComplete) {
    // Reading this file opens, and then fails with EIO.
    const char* unreadable = "/proc/self/mem";
    ASSERT_EQ(::access(unreadable, R_OK), 0);
    EXPECT_FALSE(CopyFileW(u"/proc/self/mem", Path("b").c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 1117u);
    EXPECT_FALSE(Exists("b"));
}

TEST_F(CopyPosixTest, RefusesPipes) {
    ASSERT_EQ(::mkfifo(File("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(CopyFileW(Path("pipe").c_str(), Path("b").c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 50u);
    EXPECT_FALSE(Exists("b"));
}

TEST_F(MovePosixTest, RenamesALinkThatLeadsNowhere) {
    ASSERT_EQ(::symlink("nowhere", File("link").c_str()), 0);
    EXPECT_TRUE(MoveFileW(Path("link").c_str(), Path("moved").c_str()));
    EXPECT_TRUE(std::filesystem::is_symlink(File("moved")));
}

TEST_F(MovePosixTest, RefusesANameThatNothingCanHaveAndFlagsThatItDoesNotHonour) {
    const WideText from = Make("a", "abc");
    EXPECT_FALSE(MoveFileW(from.c_str(), Path(u"\xDC00").c_str()));
    EXPECT_EQ(GetLastError(), 123u);
    EXPECT_FALSE(MoveFileExW(from.c_str(), Path("b").c_str(), MOVEFILE_DELAY_UNTIL_REBOOT));
    EXPECT_EQ(GetLastError(), 50u);
    EXPECT_FALSE(MoveFileExW(from.c_str(), Path("b").c_str(), 0x100));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_EQ(Contents("a"), "abc");
}

// From the test's folder to a memory file system, which every Linux machine has there.
class MoveAcrossPosixTest : public FilesTestFolder {
protected:
    void SetUp() override {
        std::string pattern = "/dev/shm/files_test_XXXXXX";
        struct stat here {};
        struct stat there {};
        if (::mkdtemp(pattern.data()) == nullptr) {
            GTEST_SKIP() << "no second file system to move to";
        }
        m_other = pattern;
        ASSERT_EQ(::stat(Root().c_str(), &here), 0);
        ASSERT_EQ(::stat(m_other.c_str(), &there), 0);
        if (here.st_dev == there.st_dev) {
            GTEST_SKIP() << "temporary files and /dev/shm are one file system";
        }
    }
    void TearDown() override { std::filesystem::remove_all(m_other); }
    WideText Other(WideView name) const { return quillmark::platform::PathFromBytes(m_other) + u"/" + WideText(name); }
    std::size_t OtherCount() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(m_other), {}));
    }

    std::string m_other;
};

TEST_F(MoveAcrossPosixTest, MovesAFileWithItsTimeAndPermissions) {
    const WideText from = Make("a", std::string(300'000, 'a'));
    const timespec times[] = {{1'000'000'000, 0}, {1'000'000'000, 123'456'700}};
    ASSERT_EQ(::chmod(File("a").c_str(), 0640), 0);
    ASSERT_EQ(::utimensat(AT_FDCWD, File("a").c_str(), times, 0), 0);
    EXPECT_TRUE(MoveFileW(from.c_str(), Other(u"b").c_str()));
    EXPECT_FALSE(Exists("a"));
    struct stat data {};
    ASSERT_EQ(::stat((m_other + "/b").c_str(), &data), 0);
    EXPECT_EQ(data.st_size, 300'000);
    EXPECT_EQ(data.st_mode & 0777u, 0640u);
    EXPECT_EQ(data.st_mtim.tv_nsec, 123'456'700);
    EXPECT_EQ(OtherCount(), 1u);
}

TEST_F(MoveAcrossPosixTest, RefusesWithoutCopyAllowedAndForFoldersAndLinks) {
    const WideText from = Make("a", "abc");
    ASSERT_TRUE(CreateDirectoryW(Path("d").c_str(), nullptr));
    ASSERT_EQ(::symlink("a", File("link").c_str()), 0);
    EXPECT_FALSE(MoveFileExW(from.c_str(), Other(u"b").c_str(), 0));
    EXPECT_EQ(GetLastError(), 17u);
    EXPECT_FALSE(MoveFileW(Path("d").c_str(), Other(u"b").c_str()));
    EXPECT_EQ(GetLastError(), 5u);
    EXPECT_FALSE(MoveFileW(Path("link").c_str(), Other(u"b").c_str()));
    EXPECT_EQ(GetLastError(), 17u);
    EXPECT_EQ(Contents("a"), "abc");
    EXPECT_EQ(OtherCount(), 0u);
}

TEST_F(MoveAcrossPosixTest, RefusesAnExistingTargetOrReplacesItWhenAsked) {
    const WideText from = Make("a", "new");
    ASSERT_TRUE(CopyFileW(from.c_str(), Other(u"b").c_str(), TRUE));
    EXPECT_FALSE(MoveFileW(from.c_str(), Other(u"b").c_str()));
    EXPECT_EQ(GetLastError(), 183u);
    EXPECT_TRUE(MoveFileExW(from.c_str(), Other(u"b").c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED));
    EXPECT_FALSE(Exists("a"));
    EXPECT_EQ(OtherCount(), 1u);
}

}  // namespace
