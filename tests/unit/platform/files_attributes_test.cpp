#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;

constexpr std::uint64_t TicksPerSecond = 10'000'000;

std::uint64_t Ticks(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

FILETIME Time(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

class AttributesTest : public FilesTestFolder {};

TEST_F(AttributesTest, TellsFilesFoldersAndReadOnlyFilesApart) {
    const std::u16string file = Make("a", "");
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    EXPECT_EQ(GetFileAttributesW(file.c_str()), 0x80u);
    EXPECT_EQ(GetFileAttributesW(Path(u"d").c_str()), 0x10u);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(GetFileAttributesW(file.c_str()), 0x1u);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(GetFileAttributesW(file.c_str()), 0x80u);
}

TEST_F(AttributesTest, ReadOnlyTakesAllWritePermissionsAndGivesBackTheOwners) {
    const std::u16string file = Make("a", "");
    struct stat data {};
    ASSERT_EQ(::chmod(Bytes("a").c_str(), 0775), 0);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    ASSERT_EQ(::stat(Bytes("a").c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & 0777u, 0555u);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_ARCHIVE));
    ASSERT_EQ(::stat(Bytes("a").c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & 0777u, 0755u);
}

TEST_F(AttributesTest, LeavesFoldersWritable) {
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    EXPECT_TRUE(SetFileAttributesW(Path(u"d").c_str(), FILE_ATTRIBUTE_READONLY));
    struct stat data {};
    ASSERT_EQ(::stat(Bytes("d").c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & S_IWUSR, static_cast<mode_t>(S_IWUSR));
    EXPECT_EQ(GetFileAttributesW(Path(u"d").c_str()), 0x10u);
}

TEST_F(AttributesTest, FollowsLinks) {
    Make("a", "abc");
    ASSERT_EQ(::symlink("a", Bytes("link").c_str()), 0);
    ASSERT_EQ(::symlink("none", Bytes("nowhere").c_str()), 0);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(GetFileAttributesExW(Path(u"link").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(data.dwFileAttributes, 0x80u);
    EXPECT_EQ(data.nFileSizeLow, 3u);
    EXPECT_EQ(GetFileAttributesW(Path(u"nowhere").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 2u);
}

TEST_F(AttributesTest, TellsAMissingFileFromAMissingFolder) {
    EXPECT_EQ(GetFileAttributesW(Path(u"none").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 2u);
    EXPECT_EQ(GetFileAttributesW(Path(u"none/none").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_EQ(GetFileAttributesW(u""), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_EQ(GetFileAttributesW(nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_FALSE(SetFileAttributesW(Path(u"none").c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(GetLastError(), 2u);
}

TEST_F(AttributesTest, RefusesOtherLevelsAndNoBuffer) {
    const std::u16string file = Make("a", "");
    WIN32_FILE_ATTRIBUTE_DATA data{};
    EXPECT_FALSE(GetFileAttributesExW(file.c_str(), GetFileExMaxInfoLevel, &data));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_FALSE(GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, nullptr));
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(AttributesTest, TimesHave100NanosecondsAndCountFrom1601) {
    const std::u16string path = Make("a", "");
    // 2001-09-09T01:46:40.1234567Z and one second later.
    const timespec times[] = {{1'000'000'001, 0}, {1'000'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, Bytes("a").c_str(), times, 0), 0);
    const OpenFile file(path, GENERIC_READ);
    FILETIME creation{};
    FILETIME access{};
    FILETIME write{};
    ASSERT_TRUE(GetFileTime(file, &creation, &access, &write));
    EXPECT_EQ(Ticks(write), 126'444'736'001'234'567u);
    EXPECT_EQ(Ticks(access), 126'444'736'010'000'000u);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(Ticks(data.ftLastWriteTime), 126'444'736'001'234'567u);
    EXPECT_EQ(Ticks(data.ftCreationTime), Ticks(creation));
    EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, nullptr));
}

TEST_F(AttributesTest, CreationTimeIsWhenTheFileWasMadeNotWhenItWasChanged) {
    struct statx data {};
    const std::u16string path = Make("a", "");
    if (::statx(AT_FDCWD, Bytes("a").c_str(), 0, STATX_BTIME, &data) != 0 || (data.stx_mask & STATX_BTIME) == 0) {
        GTEST_SKIP() << "this file system keeps no creation times";
    }
    WIN32_FILE_ATTRIBUTE_DATA before{};
    ASSERT_TRUE(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &before));
    const auto seconds = static_cast<std::uint64_t>(data.stx_btime.tv_sec) + 11'644'473'600u;
    EXPECT_EQ(Ticks(before.ftCreationTime), seconds * TicksPerSecond + data.stx_btime.tv_nsec / 100);
}

TEST_F(AttributesTest, SetFileTimeKeepsEveryTick) {
    const std::u16string path = Make("a", "");
    const OpenFile file(path, GENERIC_WRITE);
    const FILETIME access = Time(126'444'736'001'234'567u);
    // 1969-12-31T23:59:59.9999999Z: before the epoch of POSIX.
    const FILETIME write = Time(116'444'735'999'999'999u);
    ASSERT_TRUE(SetFileTime(file, &access, &access, &write));
    FILETIME gotAccess{};
    FILETIME gotWrite{};
    ASSERT_TRUE(GetFileTime(file, nullptr, &gotAccess, &gotWrite));
    EXPECT_EQ(Ticks(gotAccess), 126'444'736'001'234'567u);
    EXPECT_EQ(Ticks(gotWrite), 116'444'735'999'999'999u);
}

TEST_F(AttributesTest, SetFileTimeLeavesAloneWhatItIsNotGiven) {
    const OpenFile file(Make("a", ""), GENERIC_WRITE);
    const FILETIME first = Time(126'444'736'000'000'000u);
    const FILETIME second = Time(126'444'737'000'000'000u);
    const FILETIME none = Time(0);
    const FILETIME keep = Time(UINT64_MAX);
    ASSERT_TRUE(SetFileTime(file, nullptr, &first, &first));
    ASSERT_TRUE(SetFileTime(file, nullptr, nullptr, &second));
    ASSERT_TRUE(SetFileTime(file, &keep, &keep, &none));
    FILETIME access{};
    FILETIME write{};
    ASSERT_TRUE(GetFileTime(file, nullptr, &access, &write));
    EXPECT_EQ(Ticks(access), Ticks(first));
    EXPECT_EQ(Ticks(write), Ticks(second));
}

TEST_F(AttributesTest, SetFileTimeRefusesNegativeTimesAndHandlesWithoutTheRight) {
    const std::u16string path = Make("a", "");
    const FILETIME negative = Time(UINT64_MAX - 1);
    const FILETIME good = Time(126'444'736'000'000'000u);
    const OpenFile writer(path, GENERIC_WRITE);
    EXPECT_FALSE(SetFileTime(writer, nullptr, nullptr, &negative));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_FALSE(SetFileTime(OpenFile(path, GENERIC_READ), nullptr, nullptr, &good));
    EXPECT_EQ(GetLastError(), 5u);
    EXPECT_TRUE(SetFileTime(OpenFile(path, FILE_WRITE_ATTRIBUTES), nullptr, nullptr, &good));
}

TEST_F(AttributesTest, SetsTheTimesOfAFolder) {
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    const OpenFile folder(Path(u"d"), GENERIC_WRITE, OPEN_EXISTING, FILE_SHARE_READ, FILE_FLAG_BACKUP_SEMANTICS);
    const FILETIME time = Time(126'444'736'000'000'000u);
    ASSERT_TRUE(SetFileTime(folder, nullptr, nullptr, &time));
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(GetFileAttributesExW(Path(u"d").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(Ticks(data.ftLastWriteTime), Ticks(time));
    EXPECT_EQ(data.nFileSizeLow, 0u);
}

TEST_F(AttributesTest, SecurityCannotBeSetAndSaysSo) {
    const OpenFile file(Make("a", ""), GENERIC_WRITE);
    EXPECT_EQ(SetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr),
              50u);
    EXPECT_EQ(SetSecurityInfo(nullptr, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr),
              6u);
}

}  // namespace
