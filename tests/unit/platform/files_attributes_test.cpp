#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;
using quillmark::test::OrUnderWine;
using quillmark::test::Ticks;

FILETIME Time(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

class AttributesTest : public FilesTestFolder {};

TEST_F(AttributesTest, TellsFilesFoldersAndReadOnlyFilesApart) {
    const WideText file = Make("a", "");
    MakeFolder("d");
    // Windows marks what is new for the archive.
    EXPECT_EQ(GetFileAttributesW(file.c_str()) & ~DWORD{FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NORMAL}, 0u);
    EXPECT_EQ(GetFileAttributesW(Path("d").c_str()), 0x10u);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY));
    // Wine keeps the mark whatever is set.
    EXPECT_THAT(GetFileAttributesW(file.c_str()), OrUnderWine<DWORD>(0x1, 0x21));
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_THAT(GetFileAttributesW(file.c_str()), OrUnderWine<DWORD>(0x80, 0x20));
}

TEST_F(AttributesTest, AFolderMarkedReadOnlyTakesNewEntries) {
    MakeFolder("d");
    EXPECT_TRUE(SetFileAttributesW(Path("d").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(OpenFile(Path("d/a"), GENERIC_WRITE, CREATE_NEW).IsOpen());
    EXPECT_TRUE(SetFileAttributesW(Path("d").c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(GetFileAttributesW(Path("d").c_str()), 0x10u);
}

TEST_F(AttributesTest, RefusesOtherLevels) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    EXPECT_FALSE(GetFileAttributesExW(Make("a", "").c_str(), GetFileExMaxInfoLevel, &data));
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(AttributesTest, TellsAMissingFileFromAMissingFolder) {
    EXPECT_EQ(GetFileAttributesW(Path("none").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 2u);
    EXPECT_EQ(GetFileAttributesW(Path("none/none").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_EQ(GetFileAttributesW(QM_W("")), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_EQ(GetFileAttributesW(nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_FALSE(SetFileAttributesW(Path("none").c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(GetLastError(), 2u);
}

TEST_F(AttributesTest, TimesHave100NanosecondsAndCountFrom1601) {
    const WideText path = Make("a", "");
    // 2001-09-09T01:46:40.1234567Z and one second later.
    quillmark::test::SetTimes(File("a"), 126'444'736'010'000'000u, 126'444'736'001'234'567u);
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

TEST_F(AttributesTest, SetFileTimeKeepsEveryTick) {
    const WideText path = Make("a", "");
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
    const WideText path = Make("a", "");
    const FILETIME negative = Time(UINT64_MAX - 2);
    const FILETIME good = Time(126'444'736'000'000'000u);
    const OpenFile writer(path, GENERIC_WRITE);
    EXPECT_FALSE(SetFileTime(writer, nullptr, nullptr, &negative));
    EXPECT_EQ(GetLastError(), 87u);
    // Wine asks for no right.
    SetLastError(0);
    EXPECT_THAT(SetFileTime(OpenFile(path, GENERIC_READ), nullptr, nullptr, &good), OrUnderWine<BOOL>(FALSE, TRUE));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(5, 0));
    EXPECT_TRUE(SetFileTime(OpenFile(path, FILE_WRITE_ATTRIBUTES), nullptr, nullptr, &good));
}

TEST_F(AttributesTest, SetsTheTimesOfAFolder) {
    MakeFolder("d");
    const OpenFile folder(Path("d"), GENERIC_WRITE, OPEN_EXISTING, FILE_SHARE_READ, FILE_FLAG_BACKUP_SEMANTICS);
    const FILETIME time = Time(126'444'736'000'000'000u);
    ASSERT_TRUE(SetFileTime(folder, nullptr, nullptr, &time));
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(GetFileAttributesExW(Path("d").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(Ticks(data.ftLastWriteTime), Ticks(time));
    EXPECT_EQ(data.nFileSizeLow, 0u);
}

}  // namespace
