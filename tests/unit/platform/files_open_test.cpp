#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;
using quillmark::test::ReadText;
using quillmark::test::WriteText;

constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class CreateFileTest : public FilesTestFolder {};

TEST_F(CreateFileTest, CreateNewMakesTheFileAndRefusesOneThatExists) {
    {
        const OpenFile made(Path(u"a"), GENERIC_WRITE, CREATE_NEW);
        ASSERT_TRUE(made.IsOpen());
    }
    const OpenFile again(Path(u"a"), GENERIC_WRITE, CREATE_NEW);
    EXPECT_FALSE(again.IsOpen());
    EXPECT_EQ(again.Error(), 80u);
}

TEST_F(CreateFileTest, CreateAlwaysEmptiesAnExistingFileAndSays183) {
    const std::u16string path = Make("a", "old contents");
    const OpenFile file(path, GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Error(), 183u);
    EXPECT_EQ(Contents("a"), "");
}

TEST_F(CreateFileTest, CreateAlwaysWithReadAccessAloneEmptiesToo) {
    const std::u16string path = Make("a", "old contents");
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
        const OpenFile file(Path(u"new" + std::u16string(disposition, u'x')), GENERIC_WRITE, disposition);
        ASSERT_TRUE(file.IsOpen());
        EXPECT_EQ(file.Error(), 0u);
    }
}

TEST_F(CreateFileTest, OpenAlwaysKeepsAnExistingFileAndSays183) {
    const std::u16string path = Make("a", "kept");
    const OpenFile file(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Error(), 183u);
    EXPECT_EQ(ReadText(file, 10), "kept");
}

TEST_F(CreateFileTest, OpenExistingLeavesTheLastErrorAlone) {
    const std::u16string path = Make("a", "kept");
    SetLastError(1234);
    const OpenFile file(path, GENERIC_READ);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Error(), 1234u);
}

TEST_F(CreateFileTest, TruncateExistingNeedsAFileAndWriteAccess) {
    const std::u16string path = Make("a", "old");
    EXPECT_EQ(OpenFile(path, GENERIC_READ, TRUNCATE_EXISTING).Error(), 87u);
    EXPECT_EQ(Contents("a"), "old");
    EXPECT_EQ(OpenFile(Path(u"none"), GENERIC_WRITE, TRUNCATE_EXISTING).Error(), 2u);
    EXPECT_TRUE(OpenFile(path, GENERIC_WRITE, TRUNCATE_EXISTING).IsOpen());
    EXPECT_EQ(Contents("a"), "");
}

TEST_F(CreateFileTest, TellsAMissingFileFromAMissingFolder) {
    Make("file", "");
    EXPECT_EQ(OpenFile(Path(u"none"), GENERIC_READ).Error(), 2u);
    EXPECT_EQ(OpenFile(Path(u"none/file"), GENERIC_READ).Error(), 3u);
    EXPECT_EQ(OpenFile(Path(u"none/file"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 3u);
    EXPECT_EQ(OpenFile(Path(u"file/below"), GENERIC_READ).Error(), 3u);
}

TEST_F(CreateFileTest, RefusesNoPathAndAnEmptyOneWith3) {
    EXPECT_EQ(OpenFile(u"", GENERIC_READ).Error(), 3u);
    EXPECT_EQ(CreateFileW(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 3u);
}

TEST_F(CreateFileTest, RefusesNamesThatNothingCanHaveWith123) {
    EXPECT_EQ(OpenFile(Path(u"a\xD800"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 123u);
    EXPECT_EQ(OpenFile(Path(u"\xDC00"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 123u);
    EXPECT_EQ(OpenFile(Path(u"\xDC2F"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 123u);
}

TEST_F(CreateFileTest, RefusesNamesThatAreTooLongWith206) {
    EXPECT_EQ(OpenFile(Path(std::u16string(256, u'a')), GENERIC_WRITE, CREATE_ALWAYS).Error(), 206u);
    EXPECT_TRUE(OpenFile(Path(std::u16string(255, u'a')), GENERIC_WRITE, CREATE_ALWAYS).IsOpen());
}

TEST_F(CreateFileTest, RefusesWrongArgumentsBeforeItCreatesAnything) {
    EXPECT_EQ(OpenFile(Path(u"a"), GENERIC_WRITE, 0).Error(), 87u);
    EXPECT_EQ(OpenFile(Path(u"a"), GENERIC_WRITE, 6).Error(), 87u);
    EXPECT_EQ(OpenFile(Path(u"a"), GENERIC_WRITE, CREATE_NEW, 8).Error(), 87u);
    EXPECT_EQ(OpenFile(Path(u"a"), GENERIC_WRITE, CREATE_NEW, 0, FILE_FLAG_OVERLAPPED).Error(), 50u);
    EXPECT_EQ(OpenFile(Path(u"a"), GENERIC_WRITE, CREATE_NEW, 0, FILE_FLAG_OPEN_REPARSE_POINT).Error(), 50u);
    EXPECT_FALSE(Exists("a"));
}

TEST_F(CreateFileTest, RefusesAFolderUnlessBackupSemanticsAskForIt) {
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    EXPECT_EQ(OpenFile(Path(u"d"), GENERIC_READ).Error(), 5u);
    EXPECT_EQ(OpenFile(Path(u"d"), GENERIC_WRITE).Error(), 5u);
    EXPECT_EQ(OpenFile(Path(u"d"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 5u);
    EXPECT_EQ(OpenFile(Path(u"d"), GENERIC_WRITE, CREATE_NEW).Error(), 80u);
    EXPECT_EQ(OpenFile(Path(u"d"), GENERIC_WRITE, CREATE_ALWAYS, ShareAll, FILE_FLAG_BACKUP_SEMANTICS).Error(), 5u);
    const OpenFile folder(Path(u"d"), GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING, ShareAll,
                          FILE_FLAG_BACKUP_SEMANTICS);
    ASSERT_TRUE(folder.IsOpen());
    EXPECT_TRUE(FlushFileBuffers(folder));
    char byte = 0;
    DWORD got = 7;
    EXPECT_FALSE(ReadFile(folder, &byte, 1, &got, nullptr));
    EXPECT_EQ(GetLastError(), 1u);
    EXPECT_EQ(got, 0u);
}

TEST_F(CreateFileTest, RefusesToWriteAReadOnlyFileAndLeavesItWhole) {
    const std::u16string path = Make("a", "kept");
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(OpenFile(path, GENERIC_WRITE).Error(), 5u);
    EXPECT_EQ(OpenFile(path, GENERIC_WRITE, CREATE_ALWAYS).Error(), 5u);
    EXPECT_EQ(OpenFile(path, GENERIC_READ, CREATE_ALWAYS).Error(), 5u);
    EXPECT_TRUE(OpenFile(path, GENERIC_READ).IsOpen());
    EXPECT_EQ(Contents("a"), "kept");
}

TEST_F(CreateFileTest, ANewReadOnlyFileCanBeWrittenThroughItsFirstHandle) {
    {
        const OpenFile file(Path(u"a"), GENERIC_WRITE, CREATE_NEW, 0, FILE_ATTRIBUTE_READONLY);
        ASSERT_TRUE(file.IsOpen());
        EXPECT_EQ(WriteText(file, "text"), 4u);
    }
    EXPECT_EQ(Contents("a"), "text");
    EXPECT_EQ(GetFileAttributesW(Path(u"a").c_str()), 1u);
}

TEST_F(CreateFileTest, CreatesTheTargetOfALinkThatLeadsNowhere) {
    ASSERT_EQ(::symlink("target", Bytes("link").c_str()), 0);
    EXPECT_EQ(OpenFile(Path(u"link"), GENERIC_READ).Error(), 2u);
    EXPECT_TRUE(OpenFile(Path(u"link"), GENERIC_WRITE, CREATE_ALWAYS).IsOpen());
    EXPECT_TRUE(Exists("target"));
}

TEST_F(CreateFileTest, ReportsLinksInACircleWith1921) {
    ASSERT_EQ(::symlink("circle", Bytes("circle").c_str()), 0);
    EXPECT_EQ(OpenFile(Path(u"circle"), GENERIC_READ).Error(), 1921u);
}

TEST_F(CreateFileTest, DeletesOnCloseWhatItWasAskedTo) {
    OpenFile file(Path(u"a"), GENERIC_WRITE, CREATE_NEW, ShareAll, FILE_FLAG_DELETE_ON_CLOSE);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_TRUE(Exists("a"));
    file.Close();
    EXPECT_FALSE(Exists("a"));
}

TEST_F(CreateFileTest, DeletesOnCloseTheTargetOfALinkWhereverTheProcessIsThen) {
    Make("a", "");
    ASSERT_EQ(::symlink("a", Bytes("link").c_str()), 0);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(Root());
    OpenFile file(u"link", GENERIC_READ, OPEN_EXISTING, ShareAll, FILE_FLAG_DELETE_ON_CLOSE);
    std::filesystem::current_path(before);
    ASSERT_TRUE(file.IsOpen());
    file.Close();
    EXPECT_FALSE(Exists("a"));
    EXPECT_TRUE(Exists("link"));
}

TEST_F(CreateFileTest, DeletesOnCloseNothingThatTookTheNameMeanwhile) {
    OpenFile file(Path(u"a"), GENERIC_WRITE, CREATE_NEW, ShareAll, FILE_FLAG_DELETE_ON_CLOSE);
    ASSERT_EQ(::rename(Bytes("a").c_str(), Bytes("b").c_str()), 0);
    Make("a", "another file");
    file.Close();
    EXPECT_EQ(Contents("a"), "another file");
}

TEST_F(CreateFileTest, ABackslashIsACharacterOfTheName) {
    ASSERT_TRUE(OpenFile(Path(u"a\\b"), GENERIC_WRITE, CREATE_NEW).IsOpen());
    EXPECT_TRUE(Exists("a\\b"));
}

struct SharingCase {
    DWORD access;
    DWORD share;
    DWORD otherAccess;
    DWORD otherShare;
    DWORD error;
};

TEST_F(CreateFileTest, HonoursShareModesInBothDirections) {
    const std::u16string path = Make("a", "kept");
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
    const std::u16string path = Make("a", "kept");
    const OpenFile reader(path, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ);
    EXPECT_EQ(OpenFile(path, GENERIC_WRITE, CREATE_ALWAYS, ShareAll).Error(), 32u);
    EXPECT_EQ(Contents("a"), "kept");
}

TEST_F(CreateFileTest, SharingHoldsWhateverNameLeadsToTheFileAndEndsWithTheHandle) {
    const std::u16string path = Make("a", "kept");
    ASSERT_EQ(::link(Bytes("a").c_str(), Bytes("b").c_str()), 0);
    {
        const OpenFile exclusive(path, GENERIC_READ, OPEN_EXISTING, 0);
        EXPECT_EQ(OpenFile(Path(u"b"), GENERIC_READ).Error(), 32u);
    }
    EXPECT_TRUE(OpenFile(Path(u"b"), GENERIC_READ).IsOpen());
}

TEST_F(CreateFileTest, OneOfManyThreadsCreatesTheFile) {
    constexpr int threads = 8;
    for (int round = 0; round < 20; ++round) {
        const std::u16string path = Path(u"round" + std::u16string(static_cast<std::size_t>(round), u'x'));
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
        EXPECT_EQ(created, 1);
        EXPECT_EQ(existed, threads - 1);
    }
}

}  // namespace
