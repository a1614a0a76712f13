#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <barrier>
#include <filesystem>
#include <string>
#include <thread>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;

class DeleteTest : public FilesTestFolder {};

TEST_F(DeleteTest, RemovesAFile) {
    EXPECT_TRUE(DeleteFileW(Make("a", "abc").c_str()));
    EXPECT_FALSE(Exists("a"));
}

TEST_F(DeleteTest, SaysWhyItCannot) {
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    const std::u16string readOnly = Make("r", "");
    ASSERT_TRUE(SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY));
    const std::pair<std::u16string, DWORD> cases[] = {
        {Path(u"none"), 2}, {Path(u"none/none"), 3}, {Path(u"r/none"), 3}, {Path(u"d"), 5}, {readOnly, 5},
        {u"", 3},           {Path(u"\xD800"), 123}};
    for (const auto& [path, error] : cases) {
        EXPECT_FALSE(DeleteFileW(path.c_str()));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_FALSE(DeleteFileW(nullptr));
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_TRUE(Exists("r"));
}

TEST_F(DeleteTest, RemovesALinkAndNotItsTarget) {
    Make("a", "abc");
    ASSERT_EQ(::symlink("a", Bytes("link").c_str()), 0);
    EXPECT_TRUE(DeleteFileW(Path(u"link").c_str()));
    EXPECT_FALSE(Exists("link"));
    EXPECT_TRUE(Exists("a"));
}

TEST_F(DeleteTest, RespectsOpenHandles) {
    const std::u16string path = Make("a", "abc");
    {
        const OpenFile file(path, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ | FILE_SHARE_WRITE);
        EXPECT_FALSE(DeleteFileW(path.c_str()));
        EXPECT_EQ(GetLastError(), 32u);
    }
    const OpenFile file(path, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_DELETE);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    EXPECT_EQ(quillmark::test::ReadText(file, 3), "abc");
}

class CopyTest : public FilesTestFolder {};

TEST_F(CopyTest, CopiesContentsPermissionsAndWriteTime) {
    const std::u16string from = Make("a", std::string(1'000'000, 'a') + "end");
    ASSERT_EQ(::chmod(Bytes("a").c_str(), 0751), 0);
    const timespec times[] = {{1'000'000'000, 0}, {1'000'000'000, 123'456'700}};
    ASSERT_EQ(::utimensat(AT_FDCWD, Bytes("a").c_str(), times, 0), 0);
    EXPECT_TRUE(CopyFileW(from.c_str(), Path(u"b").c_str(), TRUE));
    EXPECT_EQ(Contents("b"), std::string(1'000'000, 'a') + "end");
    struct stat data {};
    ASSERT_EQ(::stat(Bytes("b").c_str(), &data), 0);
    EXPECT_EQ(data.st_mode & 0711u, 0711u);
    EXPECT_EQ(data.st_mtim.tv_sec, 1'000'000'000);
    EXPECT_EQ(data.st_mtim.tv_nsec, 123'456'700);
}

TEST_F(CopyTest, CopiesAnEmptyFileAndAReadOnlyOne) {
    EXPECT_TRUE(CopyFileW(Make("a", "").c_str(), Path(u"b").c_str(), FALSE));
    EXPECT_TRUE(Exists("b"));
    ASSERT_TRUE(SetFileAttributesW(Path(u"a").c_str(), FILE_ATTRIBUTE_READONLY));
    Make("c", "longer than the source");
    EXPECT_TRUE(CopyFileW(Path(u"a").c_str(), Path(u"c").c_str(), FALSE));
    EXPECT_EQ(Contents("c"), "");
    EXPECT_EQ(GetFileAttributesW(Path(u"c").c_str()), 1u);
}

TEST_F(CopyTest, CopiesWhatTheKernelMakesUpWhileItIsRead) {
    EXPECT_TRUE(CopyFileW(u"/proc/self/status", Path(u"b").c_str(), TRUE));
    EXPECT_EQ(Contents("b").substr(0, 5), "Name:");
}

TEST_F(CopyTest, OverwritesOrRefusesAnExistingTarget) {
    const std::u16string from = Make("a", "new");
    const std::u16string to = Make("b", "older and longer");
    EXPECT_FALSE(CopyFileW(from.c_str(), to.c_str(), TRUE));
    EXPECT_EQ(GetLastError(), 80u);
    EXPECT_EQ(Contents("b"), "older and longer");
    EXPECT_TRUE(CopyFileW(from.c_str(), to.c_str(), FALSE));
    EXPECT_EQ(Contents("b"), "new");
}

TEST_F(CopyTest, NeverCopiesAFileOntoItself) {
    const std::u16string path = Make("a", "kept");
    ASSERT_EQ(::link(Bytes("a").c_str(), Bytes("b").c_str()), 0);
    EXPECT_FALSE(CopyFileW(path.c_str(), path.c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 32u);
    EXPECT_FALSE(CopyFileW(path.c_str(), Path(u"b").c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 32u);
    EXPECT_EQ(Contents("a"), "kept");
}

TEST_F(CopyTest, SaysWhyItCannot) {
    const std::u16string from = Make("a", "abc");
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    const std::u16string readOnly = Make("r", "kept");
    ASSERT_TRUE(SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY));
    ASSERT_EQ(::mkfifo(Bytes("pipe").c_str(), 0600), 0);
    const std::tuple<std::u16string, std::u16string, DWORD> cases[] = {{Path(u"none"), Path(u"b"), 2},
                                                                       {from, Path(u"none/b"), 3},
                                                                       {Path(u"d"), Path(u"b"), 5},
                                                                       {from, Path(u"d"), 5},
                                                                       {from, readOnly, 5},
                                                                       {u"", Path(u"b"), 3},
                                                                       {from, u"", 3},
                                                                       {Path(u"pipe"), Path(u"b"), 50}};
    for (const auto& [source, target, error] : cases) {
        EXPECT_FALSE(CopyFileW(source.c_str(), target.c_str(), FALSE));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_FALSE(Exists("b"));
    EXPECT_EQ(Contents("r"), "kept");
}

TEST_F(CopyTest, AFullDeviceFailsWith112AndIsNotRemoved) {
    // Through a link, so that only the link could suffer.
    ASSERT_EQ(::symlink("/dev/full", Bytes("device").c_str()), 0);
    EXPECT_FALSE(CopyFileW(Make("a", "abc").c_str(), Path(u"device").c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 112u);
    EXPECT_TRUE(Exists("device"));
}

TEST_F(CopyTest, RemovesATargetThatItCouldNotComplete) {
    // Reading this file opens, and then fails with EIO.
    const char* unreadable = "/proc/self/mem";
    ASSERT_EQ(::access(unreadable, R_OK), 0);
    EXPECT_FALSE(CopyFileW(u"/proc/self/mem", Path(u"b").c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 1117u);
    EXPECT_FALSE(Exists("b"));
}

class MoveTest : public FilesTestFolder {};

TEST_F(MoveTest, RenamesFilesFoldersAndLinks) {
    const std::u16string file = Make("a", "abc");
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    ASSERT_EQ(::symlink("nowhere", Bytes("link").c_str()), 0);
    EXPECT_TRUE(MoveFileW(file.c_str(), Path(u"d/b").c_str()));
    EXPECT_EQ(Contents("d/b"), "abc");
    EXPECT_FALSE(Exists("a"));
    EXPECT_TRUE(MoveFileW(Path(u"d").c_str(), Path(u"e").c_str()));
    EXPECT_TRUE(Exists("e/b"));
    EXPECT_TRUE(MoveFileW(Path(u"link").c_str(), Path(u"moved").c_str()));
    EXPECT_TRUE(std::filesystem::is_symlink(Bytes("moved")));
}

TEST_F(MoveTest, RefusesAnExistingTarget) {
    const std::u16string from = Make("a", "abc");
    const std::u16string to = Make("b", "kept");
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    EXPECT_FALSE(MoveFileW(from.c_str(), to.c_str()));
    EXPECT_EQ(GetLastError(), 183u);
    EXPECT_FALSE(MoveFileW(from.c_str(), Path(u"d").c_str()));
    EXPECT_EQ(GetLastError(), 183u);
    EXPECT_EQ(Contents("b"), "kept");
    EXPECT_EQ(Contents("a"), "abc");
}

TEST_F(MoveTest, SaysWhyItCannot) {
    const std::u16string from = Make("a", "abc");
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    const std::tuple<std::u16string, std::u16string, DWORD> cases[] = {
        {Path(u"none"), Path(u"b"), 2}, {Path(u"none/none"), Path(u"b"), 3},
        {from, Path(u"none/b"), 3},     {Path(u"d"), Path(u"d/e"), 32},
        {u"", Path(u"b"), 3},           {from, u"", 3},
        {from, Path(u"\xDC00"), 123}};
    for (const auto& [source, target, error] : cases) {
        EXPECT_FALSE(MoveFileW(source.c_str(), target.c_str()));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_EQ(Contents("a"), "abc");
}

TEST_F(MoveTest, OfTwoThatMoveToOneNameAtOnceOneWins) {
    for (int round = 0; round < 200; ++round) {
        const std::u16string from[] = {Make("a", "a"), Make("b", "b")};
        BOOL moved[2] = {};
        std::barrier start(2);
        std::thread other([&] {
            start.arrive_and_wait();
            moved[1] = MoveFileW(from[1].c_str(), Path(u"target").c_str());
        });
        start.arrive_and_wait();
        moved[0] = MoveFileW(from[0].c_str(), Path(u"target").c_str());
        other.join();
        ASSERT_NE(moved[0], moved[1]);
        ASSERT_EQ(Contents("target"), moved[0] ? "a" : "b");
        ASSERT_TRUE(DeleteFileW(Path(u"target").c_str()));
    }
}

TEST_F(MoveTest, ToItsOwnNameChangesNothing) {
    const std::u16string path = Make("a", "abc");
    EXPECT_TRUE(MoveFileW(path.c_str(), path.c_str()));
    EXPECT_EQ(Contents("a"), "abc");
}

TEST_F(MoveTest, ReplacesAFileWhenAsked) {
    const std::u16string from = Make("a", "new");
    const std::u16string to = Make("b", "old");
    EXPECT_TRUE(MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
    EXPECT_EQ(Contents("b"), "new");
    EXPECT_FALSE(Exists("a"));
}

TEST_F(MoveTest, ReplacesNeitherFoldersNorReadOnlyFilesNorWhatIsInUse) {
    const std::u16string from = Make("a", "new");
    const std::u16string readOnly = Make("r", "kept");
    ASSERT_TRUE(SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY));
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(Path(u"e").c_str(), nullptr));
    const std::u16string inUse = Make("u", "kept");
    const OpenFile user(inUse, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ | FILE_SHARE_WRITE);
    for (const std::u16string& target : {readOnly, Path(u"d"), inUse}) {
        EXPECT_FALSE(MoveFileExW(from.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING));
        EXPECT_EQ(GetLastError(), 5u);
    }
    EXPECT_FALSE(MoveFileExW(Path(u"d").c_str(), Path(u"e").c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(GetLastError(), 5u);
    EXPECT_EQ(Contents("r"), "kept");
    EXPECT_EQ(Contents("u"), "kept");
}

TEST_F(MoveTest, RefusesToMoveWhatIsInUseAndFlagsItCannotHonour) {
    const std::u16string from = Make("a", "abc");
    const std::u16string to = Path(u"b");
    {
        const OpenFile user(from, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ);
        EXPECT_FALSE(MoveFileW(from.c_str(), to.c_str()));
        EXPECT_EQ(GetLastError(), 32u);
    }
    EXPECT_FALSE(MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_DELAY_UNTIL_REBOOT));
    EXPECT_EQ(GetLastError(), 50u);
    EXPECT_FALSE(MoveFileExW(from.c_str(), to.c_str(), 0x100));
    EXPECT_EQ(GetLastError(), 87u);
}

// From the test's folder to a memory file system, which every Linux machine has there.
class MoveAcrossTest : public FilesTestFolder {
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
    std::u16string Other(std::u16string_view name) const {
        return quillmark::platform::PathFromBytes(m_other) + u"/" + std::u16string(name);
    }
    std::size_t OtherCount() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(m_other), {}));
    }

    std::string m_other;
};

TEST_F(MoveAcrossTest, MovesAFileWithItsTimeAndPermissions) {
    const std::u16string from = Make("a", std::string(300'000, 'a'));
    const timespec times[] = {{1'000'000'000, 0}, {1'000'000'000, 123'456'700}};
    ASSERT_EQ(::chmod(Bytes("a").c_str(), 0640), 0);
    ASSERT_EQ(::utimensat(AT_FDCWD, Bytes("a").c_str(), times, 0), 0);
    EXPECT_TRUE(MoveFileW(from.c_str(), Other(u"b").c_str()));
    EXPECT_FALSE(Exists("a"));
    struct stat data {};
    ASSERT_EQ(::stat((m_other + "/b").c_str(), &data), 0);
    EXPECT_EQ(data.st_size, 300'000);
    EXPECT_EQ(data.st_mode & 0777u, 0640u);
    EXPECT_EQ(data.st_mtim.tv_nsec, 123'456'700);
    EXPECT_EQ(OtherCount(), 1u);
}

TEST_F(MoveAcrossTest, RefusesWithoutCopyAllowedAndForFoldersAndLinks) {
    const std::u16string from = Make("a", "abc");
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    ASSERT_EQ(::symlink("a", Bytes("link").c_str()), 0);
    EXPECT_FALSE(MoveFileExW(from.c_str(), Other(u"b").c_str(), 0));
    EXPECT_EQ(GetLastError(), 17u);
    EXPECT_FALSE(MoveFileW(Path(u"d").c_str(), Other(u"b").c_str()));
    EXPECT_EQ(GetLastError(), 5u);
    EXPECT_FALSE(MoveFileW(Path(u"link").c_str(), Other(u"b").c_str()));
    EXPECT_EQ(GetLastError(), 17u);
    EXPECT_EQ(Contents("a"), "abc");
    EXPECT_EQ(OtherCount(), 0u);
}

TEST_F(MoveAcrossTest, RefusesAnExistingTargetOrReplacesItWhenAsked) {
    const std::u16string from = Make("a", "new");
    ASSERT_TRUE(CopyFileW(from.c_str(), Other(u"b").c_str(), TRUE));
    EXPECT_FALSE(MoveFileW(from.c_str(), Other(u"b").c_str()));
    EXPECT_EQ(GetLastError(), 183u);
    EXPECT_TRUE(MoveFileExW(from.c_str(), Other(u"b").c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED));
    EXPECT_FALSE(Exists("a"));
    EXPECT_EQ(OtherCount(), 1u);
}

}  // namespace
