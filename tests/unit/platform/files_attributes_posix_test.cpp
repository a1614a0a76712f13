// Attributes and times as POSIX has them: permissions, links, the time of birth.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;
using quillmark::test::Ticks;

constexpr std::uint64_t TicksPerSecond = 10'000'000;

class AttributesPosixTest : public FilesTestFolder {};

TEST_F(AttributesPosixTest, AFileWithoutAttributesIsNormal) {
    EXPECT_EQ(GetFileAttributesW(Make("a", "").c_str()), 0x80u);
    ASSERT_TRUE(SetFileAttributesW(Path("a").c_str(), FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN));
    EXPECT_EQ(GetFileAttributesW(Path("a").c_str()), 0x80u);
}

TEST_F(AttributesPosixTest, ReadOnlyTakesAllWritePermissionsAndGivesBackTheOwners) {
    const WideText file = Make("a", "");
    struct stat data {};
    ASSERT_EQ(::chmod(File("a").c_str(), 0775), 0);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    ASSERT_EQ(::stat(File("a").c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & 0777u, 0555u);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_ARCHIVE));
    ASSERT_EQ(::stat(File("a").c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & 0777u, 0755u);
}

TEST_F(AttributesPosixTest, LeavesFoldersWritableAndUnmarked) {
    ASSERT_TRUE(CreateDirectoryW(Path("d").c_str(), nullptr));
    EXPECT_TRUE(SetFileAttributesW(Path("d").c_str(), FILE_ATTRIBUTE_READONLY));
    struct stat data {};
    ASSERT_EQ(::stat(File("d").c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & S_IWUSR, static_cast<mode_t>(S_IWUSR));
    EXPECT_EQ(GetFileAttributesW(Path("d").c_str()), 0x10u);
}

TEST_F(AttributesPosixTest, FollowsLinks) {
    Make("a", "abc");
    ASSERT_EQ(::symlink("a", File("link").c_str()), 0);
    ASSERT_EQ(::symlink("none", File("nowhere").c_str()), 0);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(GetFileAttributesExW(Path("link").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(data.dwFileAttributes, 0x80u);
    EXPECT_EQ(data.nFileSizeLow, 3u);
    EXPECT_EQ(GetFileAttributesW(Path("nowhere").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 2u);
}

TEST_F(AttributesPosixTest, RefusesNoBuffer) {
    const WideText file = Make("a", "");
    EXPECT_FALSE(GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, nullptr));
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(AttributesPosixTest, CreationTimeIsWhenTheFileWasMadeNotWhenItWasChanged) {
    struct statx data {};
    const WideText path = Make("a", "");
    if (::statx(AT_FDCWD, File("a").c_str(), 0, STATX_BTIME, &data) != 0 || (data.stx_mask & STATX_BTIME) == 0) {
        GTEST_SKIP() << "this file system keeps no creation times";
    }
    WIN32_FILE_ATTRIBUTE_DATA before{};
    ASSERT_TRUE(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &before));
    const auto seconds = static_cast<std::uint64_t>(data.stx_btime.tv_sec) + 11'644'473'600u;
    EXPECT_EQ(Ticks(before.ftCreationTime), seconds * TicksPerSecond + data.stx_btime.tv_nsec / 100);
}

TEST_F(AttributesPosixTest, SecurityCannotBeSetAndSaysSo) {
    const OpenFile file(Make("a", ""), GENERIC_WRITE);
    EXPECT_EQ(SetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr),
              50u);
    EXPECT_EQ(SetSecurityInfo(nullptr, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr),
              6u);
}

}  // namespace
