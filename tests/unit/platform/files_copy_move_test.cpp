#include <atomic>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;
using quillmark::test::OrUnderWine;

class DeleteTest : public FilesTestFolder {};

TEST_F(DeleteTest, RemovesAFile) {
    EXPECT_TRUE(DeleteFileW(Make("a", "abc").c_str()));
    EXPECT_FALSE(Exists("a"));
}

TEST_F(DeleteTest, SaysWhyItCannot) {
    MakeFolder("d");
    const WideText readOnly = Make("r", "");
    ASSERT_TRUE(SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY));
    const std::pair<WideText, DWORD> cases[] = {{Path("none"), 2}, {Path("none/none"), 3}, {Path("r/none"), 3},
                                                {Path("d"), 5},    {readOnly, 5},          {QM_W(""), 3}};
    for (const auto& [path, error] : cases) {
        EXPECT_FALSE(DeleteFileW(path.c_str()));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_FALSE(DeleteFileW(nullptr));
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_TRUE(Exists("r"));
}

TEST_F(DeleteTest, RespectsOpenHandles) {
    const WideText path = Make("a", "abc");
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

TEST_F(CopyTest, CopiesContentsAndWriteTime) {
    const WideText from = Make("a", std::string(1'000'000, 'a') + "end");
    quillmark::test::SetTimes(File("a"), 126'444'736'000'000'000u, 126'444'736'001'234'567u);
    EXPECT_TRUE(CopyFileW(from.c_str(), Path("b").c_str(), TRUE));
    EXPECT_EQ(Contents("b"), std::string(1'000'000, 'a') + "end");
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(GetFileAttributesExW(Path("b").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(quillmark::test::Ticks(data.ftLastWriteTime), 126'444'736'001'234'567u);
}

TEST_F(CopyTest, CopiesAnEmptyFileAndAReadOnlyOne) {
    EXPECT_TRUE(CopyFileW(Make("a", "").c_str(), Path("b").c_str(), FALSE));
    EXPECT_TRUE(Exists("b"));
    ASSERT_TRUE(SetFileAttributesW(Path("a").c_str(), FILE_ATTRIBUTE_READONLY));
    Make("c", "longer than the source");
    EXPECT_TRUE(CopyFileW(Path("a").c_str(), Path("c").c_str(), FALSE));
    EXPECT_EQ(Contents("c"), "");
    // Wine leaves the attributes of a file that it overwrites.
    EXPECT_THAT(GetFileAttributesW(Path("c").c_str()) & FILE_ATTRIBUTE_READONLY, OrUnderWine<DWORD>(1, 0));
}

TEST_F(CopyTest, OverwritesOrRefusesAnExistingTarget) {
    const WideText from = Make("a", "new");
    const WideText to = Make("b", "older and longer");
    EXPECT_FALSE(CopyFileW(from.c_str(), to.c_str(), TRUE));
    EXPECT_EQ(GetLastError(), 80u);
    EXPECT_EQ(Contents("b"), "older and longer");
    EXPECT_TRUE(CopyFileW(from.c_str(), to.c_str(), FALSE));
    EXPECT_EQ(Contents("b"), "new");
}

TEST_F(CopyTest, NeverCopiesAFileOntoItself) {
    const WideText path = Make("a", "kept");
    std::filesystem::create_hard_link(File("a"), File("b"));
    EXPECT_FALSE(CopyFileW(path.c_str(), path.c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 32u);
    EXPECT_FALSE(CopyFileW(path.c_str(), Path("b").c_str(), FALSE));
    EXPECT_EQ(GetLastError(), 32u);
    EXPECT_EQ(Contents("a"), "kept");
}

TEST_F(CopyTest, SaysWhyItCannot) {
    const WideText from = Make("a", "abc");
    MakeFolder("d");
    const std::tuple<WideText, WideText, DWORD> cases[] = {{Path("none"), Path("b"), 2}, {from, Path("none/b"), 3},
                                                           {Path("d"), Path("b"), 5},    {from, Path("d"), 5},
                                                           {QM_W(""), Path("b"), 3},     {from, QM_W(""), 3}};
    for (const auto& [source, target, error] : cases) {
        EXPECT_FALSE(CopyFileW(source.c_str(), target.c_str(), FALSE));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_FALSE(Exists("b"));
}

// Wine leaves it to the kernel, which refuses an administrator nothing.
TEST_F(CopyTest, DoesNotOverwriteAReadOnlyFile) {
    const WideText from = Make("a", "abc");
    const WideText readOnly = Make("r", "kept");
    ASSERT_TRUE(SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY));
    SetLastError(0);
    EXPECT_THAT(CopyFileW(from.c_str(), readOnly.c_str(), FALSE), OrUnderWine<BOOL>(FALSE, TRUE));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(5, 0));
    EXPECT_THAT(Contents("r"), OrUnderWine<std::string>("kept", "abc"));
}

class MoveTest : public FilesTestFolder {};

TEST_F(MoveTest, RenamesFilesAndFolders) {
    const WideText file = Make("a", "abc");
    MakeFolder("d");
    EXPECT_TRUE(MoveFileW(file.c_str(), Path("d/b").c_str()));
    EXPECT_EQ(Contents("d/b"), "abc");
    EXPECT_FALSE(Exists("a"));
    EXPECT_TRUE(MoveFileW(Path("d").c_str(), Path("e").c_str()));
    EXPECT_TRUE(Exists("e/b"));
}

TEST_F(MoveTest, RefusesAnExistingTarget) {
    const WideText from = Make("a", "abc");
    const WideText to = Make("b", "kept");
    MakeFolder("d");
    EXPECT_FALSE(MoveFileW(from.c_str(), to.c_str()));
    EXPECT_EQ(GetLastError(), 183u);
    EXPECT_FALSE(MoveFileW(from.c_str(), Path("d").c_str()));
    EXPECT_EQ(GetLastError(), 183u);
    EXPECT_EQ(Contents("b"), "kept");
    EXPECT_EQ(Contents("a"), "abc");
}

TEST_F(MoveTest, SaysWhyItCannot) {
    const WideText from = Make("a", "abc");
    MakeFolder("d");
    const std::tuple<WideText, WideText, DWORD> cases[] = {{Path("none"), Path("b"), 2},
                                                           {Path("none/none"), Path("b"), 3},
                                                           {from, Path("none/b"), 3},
                                                           {QM_W(""), Path("b"), 3},
                                                           {from, QM_W(""), 3}};
    for (const auto& [source, target, error] : cases) {
        EXPECT_FALSE(MoveFileW(source.c_str(), target.c_str()));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_EQ(Contents("a"), "abc");
    EXPECT_FALSE(MoveFileW(Path("d").c_str(), Path("d/e").c_str()));
    // Wine says what the kernel does.
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(32, 87));
}

TEST_F(MoveTest, OfTwoThatMoveToOneNameAtOnceOneWins) {
    for (int round = 0; round < 200; ++round) {
        const WideText from[] = {Make("a", "a"), Make("b", "b")};
        BOOL moved[2] = {};
        std::atomic<int> ready = 0;
        const auto startTogether = [&ready] {
            for (++ready; ready < 2;) {
                std::this_thread::yield();
            }
        };
        std::thread other([&] {
            startTogether();
            moved[1] = MoveFileW(from[1].c_str(), Path("target").c_str());
        });
        startTogether();
        moved[0] = MoveFileW(from[0].c_str(), Path("target").c_str());
        other.join();
        ASSERT_NE(moved[0], moved[1]);
        ASSERT_EQ(Contents("target"), moved[0] ? "a" : "b");
        ASSERT_TRUE(DeleteFileW(Path("target").c_str()));
    }
}

TEST_F(MoveTest, ToItsOwnNameChangesNothing) {
    const WideText path = Make("a", "abc");
    EXPECT_TRUE(MoveFileW(path.c_str(), path.c_str()));
    EXPECT_EQ(Contents("a"), "abc");
}

TEST_F(MoveTest, ReplacesAFileWhenAsked) {
    const WideText from = Make("a", "new");
    const WideText to = Make("b", "old");
    EXPECT_TRUE(MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
    EXPECT_EQ(Contents("b"), "new");
    EXPECT_FALSE(Exists("a"));
}

TEST_F(MoveTest, ReplacesNeitherFoldersNorWhatIsInUse) {
    const WideText from = Make("a", "new");
    MakeFolder("d");
    MakeFolder("e");
    const WideText inUse = Make("u", "kept");
    const OpenFile user(inUse, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ | FILE_SHARE_WRITE);
    for (const WideText& target : {Path("d"), inUse}) {
        EXPECT_FALSE(MoveFileExW(from.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING));
        EXPECT_EQ(GetLastError(), 5u);
    }
    EXPECT_FALSE(MoveFileExW(Path("d").c_str(), Path("e").c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(GetLastError(), 5u);
    EXPECT_EQ(Contents("u"), "kept");
}

// Wine leaves it to the kernel, which refuses an administrator nothing.
TEST_F(MoveTest, DoesNotReplaceAReadOnlyFile) {
    const WideText from = Make("a", "new");
    const WideText readOnly = Make("r", "kept");
    ASSERT_TRUE(SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY));
    SetLastError(0);
    EXPECT_THAT(MoveFileExW(from.c_str(), readOnly.c_str(), MOVEFILE_REPLACE_EXISTING), OrUnderWine<BOOL>(FALSE, TRUE));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(5, 0));
    EXPECT_THAT(Contents("r"), OrUnderWine<std::string>("kept", "new"));
}

TEST_F(MoveTest, RefusesToMoveWhatIsInUse) {
    const WideText from = Make("a", "abc");
    const WideText to = Path("b");
    {
        const OpenFile user(from, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ);
        EXPECT_FALSE(MoveFileW(from.c_str(), to.c_str()));
        EXPECT_EQ(GetLastError(), 32u);
    }
}

}  // namespace
