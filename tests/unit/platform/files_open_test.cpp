#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;
using quillmark::test::OrUnderWine;
using quillmark::test::ReadText;
using quillmark::test::UnderWine;
using quillmark::test::WriteText;

constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class CreateFileTest : public FilesTestFolder {};

TEST_F(CreateFileTest, CreateNewMakesTheFileAndRefusesOneThatExists) {
    {
        const OpenFile made(Path("a"), GENERIC_WRITE, CREATE_NEW);
        ASSERT_TRUE(made.IsOpen());
    }
    const OpenFile again(Path("a"), GENERIC_WRITE, CREATE_NEW);
    EXPECT_FALSE(again.IsOpen());
    EXPECT_EQ(again.Error(), 80u);
}

TEST_F(CreateFileTest, CreateAlwaysEmptiesAnExistingFileAndSays183) {
    const WideText path = Make("a", "old contents");
    const OpenFile file(path, GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Error(), 183u);
    EXPECT_EQ(Contents("a"), "");
}

TEST_F(CreateFileTest, CreateAlwaysWithReadAccessAloneEmptiesToo) {
    const WideText path = Make("a", "old contents");
    const OpenFile file(path, GENERIC_READ, CREATE_ALWAYS);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(Contents("a"), "");
    DWORD written = 0;
    EXPECT_FALSE(WriteFile(file, "x", 1, &written, nullptr));
    EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(CreateFileTest, CreateAlwaysAndOpenAlwaysOfANewFileSayZero) {
    for (const DWORD disposition : {CREATE_ALWAYS, OPEN_ALWAYS}) {
        SetLastError(87);
        const OpenFile file(Path("new" + std::string(disposition, 'x')), GENERIC_WRITE, disposition);
        ASSERT_TRUE(file.IsOpen());
        EXPECT_EQ(file.Error(), 0u);
    }
}

TEST_F(CreateFileTest, OpenAlwaysKeepsAnExistingFileAndSays183) {
    const WideText path = Make("a", "kept");
    const OpenFile file(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Error(), 183u);
    EXPECT_EQ(ReadText(file, 10), "kept");
}

TEST_F(CreateFileTest, TruncateExistingNeedsAFileAndWriteAccess) {
    const WideText path = Make("a", "old");
    // Wine takes any access.
    SetLastError(0);
    EXPECT_THAT(OpenFile(path, GENERIC_READ, TRUNCATE_EXISTING).Error(), OrUnderWine<DWORD>(87, 0));
    EXPECT_THAT(Contents("a"), OrUnderWine<std::string>("old", ""));
    EXPECT_EQ(OpenFile(Path("none"), GENERIC_WRITE, TRUNCATE_EXISTING).Error(), 2u);
    EXPECT_TRUE(OpenFile(path, GENERIC_WRITE, TRUNCATE_EXISTING).IsOpen());
    EXPECT_EQ(Contents("a"), "");
}

TEST_F(CreateFileTest, TellsAMissingFileFromAMissingFolder) {
    Make("file", "");
    EXPECT_EQ(OpenFile(Path("none"), GENERIC_READ).Error(), 2u);
    EXPECT_EQ(OpenFile(Path("none/file"), GENERIC_READ).Error(), 3u);
    EXPECT_EQ(OpenFile(Path("none/file"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 3u);
    EXPECT_EQ(OpenFile(Path("file/below"), GENERIC_READ).Error(), 3u);
}

TEST_F(CreateFileTest, RefusesNoPathAndAnEmptyOneWith3) {
    EXPECT_EQ(OpenFile(QM_W(""), GENERIC_READ).Error(), 3u);
    EXPECT_EQ(CreateFileW(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 3u);
}

TEST_F(CreateFileTest, RefusesWrongArgumentsBeforeItCreatesAnything) {
    EXPECT_EQ(OpenFile(Path("a"), GENERIC_WRITE, 0).Error(), 87u);
    EXPECT_EQ(OpenFile(Path("a"), GENERIC_WRITE, 6).Error(), 87u);
    EXPECT_FALSE(Exists("a"));
    // Wine does not look at the share modes.
    SetLastError(0);
    EXPECT_THAT(OpenFile(Path("a"), GENERIC_WRITE, CREATE_NEW, 8).Error(), OrUnderWine<DWORD>(87, 0));
    EXPECT_THAT(Exists("a"), OrUnderWine(false, true));
}

TEST_F(CreateFileTest, RefusesAFolderUnlessBackupSemanticsAskForIt) {
    MakeFolder("d");
    EXPECT_EQ(OpenFile(Path("d"), GENERIC_READ).Error(), 5u);
    EXPECT_EQ(OpenFile(Path("d"), GENERIC_WRITE).Error(), 5u);
    EXPECT_EQ(OpenFile(Path("d"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 5u);
    EXPECT_EQ(OpenFile(Path("d"), GENERIC_WRITE, CREATE_NEW).Error(), 80u);
    EXPECT_FALSE(OpenFile(Path("d"), GENERIC_WRITE, CREATE_ALWAYS, ShareAll, FILE_FLAG_BACKUP_SEMANTICS).IsOpen());
    const OpenFile folder(Path("d"), GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING, ShareAll, FILE_FLAG_BACKUP_SEMANTICS);
    ASSERT_TRUE(folder.IsOpen());
    EXPECT_TRUE(FlushFileBuffers(folder));
    char byte = 0;
    DWORD got = 7;
    EXPECT_FALSE(ReadFile(folder, &byte, 1, &got, nullptr));
    EXPECT_EQ(GetLastError(), 1u);
    EXPECT_EQ(got, 0u);
}

// Wine leaves it to the kernel, which refuses an administrator nothing.
TEST_F(CreateFileTest, RefusesToWriteAReadOnlyFileAndLeavesItWhole) {
    const WideText path = Make("a", "kept");
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    SetLastError(0);
    EXPECT_THAT(OpenFile(path, GENERIC_WRITE).Error(), OrUnderWine<DWORD>(5, 0));
    EXPECT_EQ(Contents("a"), "kept");
    EXPECT_THAT(OpenFile(path, GENERIC_WRITE, CREATE_ALWAYS).Error(), OrUnderWine<DWORD>(5, 183));
    EXPECT_THAT(OpenFile(path, GENERIC_READ, CREATE_ALWAYS).Error(), OrUnderWine<DWORD>(5, 183));
    EXPECT_TRUE(OpenFile(path, GENERIC_READ).IsOpen());
    EXPECT_THAT(Contents("a"), OrUnderWine<std::string>("kept", ""));
}

TEST_F(CreateFileTest, ANewReadOnlyFileCanBeWrittenThroughItsFirstHandle) {
    {
        const OpenFile file(Path("a"), GENERIC_WRITE, CREATE_NEW, 0, FILE_ATTRIBUTE_READONLY);
        ASSERT_TRUE(file.IsOpen());
        EXPECT_EQ(WriteText(file, "text"), 4u);
    }
    EXPECT_EQ(Contents("a"), "text");
    EXPECT_EQ(GetFileAttributesW(Path("a").c_str()) & FILE_ATTRIBUTE_READONLY, 1u);
}

TEST_F(CreateFileTest, DeletesOnCloseWhatItWasAskedTo) {
    OpenFile file(Path("a"), GENERIC_WRITE, CREATE_NEW, ShareAll, FILE_FLAG_DELETE_ON_CLOSE);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_TRUE(Exists("a"));
    file.Close();
    EXPECT_FALSE(Exists("a"));
}

TEST_F(CreateFileTest, DeletesOnCloseNothingThatTookTheNameMeanwhile) {
    OpenFile file(Path("a"), GENERIC_WRITE, CREATE_NEW, ShareAll, FILE_FLAG_DELETE_ON_CLOSE);
    std::filesystem::rename(File("a"), File("b"));
    Make("a", "another file");
    file.Close();
    EXPECT_EQ(Contents("a"), "another file");
}

struct SharingCase {
    DWORD access;
    DWORD share;
    DWORD otherAccess;
    DWORD otherShare;
    DWORD error;
};

TEST_F(CreateFileTest, HonoursShareModesInBothDirections) {
    const WideText path = Make("a", "kept");
    const SharingCase cases[] = {
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, 0},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, ShareAll, 32},
        {GENERIC_READ, 0, GENERIC_READ, ShareAll, 32},
        {GENERIC_WRITE, ShareAll, GENERIC_READ, FILE_SHARE_READ, 32},
        {GENERIC_WRITE, ShareAll, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, 0},
        {GENERIC_READ, FILE_SHARE_READ, DELETE, ShareAll, 32},
        {DELETE, ShareAll, GENERIC_READ, FILE_SHARE_READ, 32},
        {GENERIC_READ, 0, FILE_READ_ATTRIBUTES, 0, 0},
        {FILE_READ_ATTRIBUTES, 0, GENERIC_WRITE, 0, 0},
    };
    for (const SharingCase& sharing : cases) {
        SCOPED_TRACE(::testing::Message() << sharing.access << " " << sharing.share << " then " << sharing.otherAccess);
        const OpenFile first(path, sharing.access, OPEN_EXISTING, sharing.share);
        ASSERT_TRUE(first.IsOpen());
        SetLastError(0);
        EXPECT_EQ(OpenFile(path, sharing.otherAccess, OPEN_EXISTING, sharing.otherShare).Error(), sharing.error);
    }
}

TEST_F(CreateFileTest, DoesNotCutOffAFileThatSharingKeepsFromIt) {
    const WideText path = Make("a", "kept");
    const OpenFile reader(path, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ);
    EXPECT_EQ(OpenFile(path, GENERIC_WRITE, CREATE_ALWAYS, ShareAll).Error(), 32u);
    EXPECT_EQ(Contents("a"), "kept");
}

TEST_F(CreateFileTest, SharingHoldsWhateverNameLeadsToTheFileAndEndsWithTheHandle) {
    const WideText path = Make("a", "kept");
    std::filesystem::create_hard_link(File("a"), File("b"));
    {
        const OpenFile exclusive(path, GENERIC_READ, OPEN_EXISTING, 0);
        EXPECT_EQ(OpenFile(Path("b"), GENERIC_READ).Error(), 32u);
    }
    EXPECT_TRUE(OpenFile(Path("b"), GENERIC_READ).IsOpen());
}

TEST_F(CreateFileTest, OneOfManyThreadsCreatesTheFile) {
    constexpr int threads = 8;
    for (int round = 0; round < 20; ++round) {
        const WideText path = Path("round" + std::to_string(round));
        std::atomic<int> created = 0;
        std::atomic<int> existed = 0;
        std::vector<std::thread> workers;
        for (int i = 0; i < threads; ++i) {
            workers.emplace_back([&] {
                const OpenFile file(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
                EXPECT_TRUE(file.IsOpen());
                (file.Error() == 183 ? existed : created)++;
            });
        }
        for (std::thread& worker : workers) {
            worker.join();
        }
        // Wine looks for the file before it opens it, and so more than one may be told that it was not there.
        EXPECT_THAT(created.load(), ::testing::AnyOf(1, ::testing::Truly([](int) { return UnderWine(); })));
        EXPECT_EQ(created + existed, threads);
    }
}

}  // namespace
