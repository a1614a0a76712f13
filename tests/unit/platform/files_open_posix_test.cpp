// Opening what only POSIX has: links, names of other characters; and what this system does not offer.
#include <unistd.h>

#include <filesystem>
#include <string>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;

constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class CreateFilePosixTest : public FilesTestFolder {};

TEST_F(CreateFilePosixTest, RefusesWhatItDoesNotOfferBeforeItCreatesAnything) {
    EXPECT_EQ(OpenFile(Path("a"), GENERIC_WRITE, CREATE_NEW, 0, FILE_FLAG_OVERLAPPED).Error(), 50u);
    EXPECT_EQ(OpenFile(Path("a"), GENERIC_WRITE, CREATE_NEW, 0, FILE_FLAG_OPEN_REPARSE_POINT).Error(), 50u);
    EXPECT_FALSE(Exists("a"));
}

TEST_F(CreateFilePosixTest, NeverEmptiesAFolder) {
    MakeFolder("d");
    EXPECT_EQ(OpenFile(Path("d"), GENERIC_WRITE, CREATE_ALWAYS, ShareAll, FILE_FLAG_BACKUP_SEMANTICS).Error(), 5u);
}

TEST_F(CreateFilePosixTest, OpenExistingLeavesTheLastErrorAlone) {
    const WideText path = Make("a", "kept");
    SetLastError(1234);
    const OpenFile file(path, GENERIC_READ);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Error(), 1234u);
}

TEST_F(CreateFilePosixTest, RefusesNamesThatNothingCanHaveWith123) {
    EXPECT_EQ(OpenFile(Path(u"a\xD800"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 123u);
    EXPECT_EQ(OpenFile(Path(u"\xDC00"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 123u);
    EXPECT_EQ(OpenFile(Path(u"\xDC2F"), GENERIC_WRITE, CREATE_ALWAYS).Error(), 123u);
}

TEST_F(CreateFilePosixTest, RefusesNamesThatAreTooLongWith206) {
    EXPECT_EQ(OpenFile(Path(WideText(256, u'a')), GENERIC_WRITE, CREATE_ALWAYS).Error(), 206u);
    EXPECT_TRUE(OpenFile(Path(WideText(255, u'a')), GENERIC_WRITE, CREATE_ALWAYS).IsOpen());
}

TEST_F(CreateFilePosixTest, CreatesTheTargetOfALinkThatLeadsNowhere) {
    ASSERT_EQ(::symlink("target", File("link").c_str()), 0);
    EXPECT_EQ(OpenFile(Path("link"), GENERIC_READ).Error(), 2u);
    EXPECT_TRUE(OpenFile(Path("link"), GENERIC_WRITE, CREATE_ALWAYS).IsOpen());
    EXPECT_TRUE(Exists("target"));
}

TEST_F(CreateFilePosixTest, ReportsLinksInACircleWith1921) {
    ASSERT_EQ(::symlink("circle", File("circle").c_str()), 0);
    EXPECT_EQ(OpenFile(Path("circle"), GENERIC_READ).Error(), 1921u);
}

TEST_F(CreateFilePosixTest, DeletesOnCloseTheTargetOfALinkWhereverTheProcessIsThen) {
    Make("a", "");
    ASSERT_EQ(::symlink("a", File("link").c_str()), 0);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(Root());
    OpenFile file(u"link", GENERIC_READ, OPEN_EXISTING, ShareAll, FILE_FLAG_DELETE_ON_CLOSE);
    std::filesystem::current_path(before);
    ASSERT_TRUE(file.IsOpen());
    file.Close();
    EXPECT_FALSE(Exists("a"));
    EXPECT_TRUE(Exists("link"));
}

TEST_F(CreateFilePosixTest, ABackslashIsACharacterOfTheName) {
    ASSERT_TRUE(OpenFile(Path("a\\b"), GENERIC_WRITE, CREATE_NEW).IsOpen());
    EXPECT_TRUE(Exists("a\\b"));
}

}  // namespace
