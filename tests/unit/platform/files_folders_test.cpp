#include <array>
#include <set>
#include <string>
#include <utility>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OrUnderWine;

class FoldersTest : public FilesTestFolder {};

TEST_F(FoldersTest, MakesAndRemovesAFolder) {
    EXPECT_TRUE(CreateDirectoryW(Path("ö").c_str(), nullptr));
    EXPECT_TRUE(std::filesystem::is_directory(File("ö")));
    EXPECT_TRUE(RemoveDirectoryW(Path("ö").c_str()));
    EXPECT_FALSE(Exists("ö"));
}

TEST_F(FoldersTest, SaysWhyItCannotMakeOne) {
    Make("file", "");
    const std::pair<WideText, DWORD> cases[] = {
        {Path("file"), 183}, {Path("."), 183}, {Path("none/d"), 3}, {Path("file/d"), 3}, {QM_W(""), 3}};
    for (const auto& [path, error] : cases) {
        EXPECT_FALSE(CreateDirectoryW(path.c_str(), nullptr));
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_FALSE(CreateDirectoryW(nullptr, nullptr));
    EXPECT_EQ(GetLastError(), 3u);
}

TEST_F(FoldersTest, SaysWhyItCannotRemoveOne) {
    Make("file", "");
    MakeFolder("full");
    MakeFolder("full/d");
    const std::pair<WideText, DWORD> cases[] = {
        {Path("full"), 145}, {Path("file"), 267}, {Path("none"), 2}, {Path("none/d"), 3}, {Path("file/d"), 3}};
    for (const auto& [path, error] : cases) {
        EXPECT_FALSE(RemoveDirectoryW(path.c_str()));
        EXPECT_EQ(GetLastError(), error);
    }
    // Wine calls them names that nothing can have.
    EXPECT_FALSE(RemoveDirectoryW(QM_W("")));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(3, 123));
    EXPECT_FALSE(RemoveDirectoryW(nullptr));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(3, 123));
}

TEST_F(FoldersTest, GivesTheCurrentFolderOrTheSizeItNeeds) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(Root());
    const WideText expected = std::filesystem::current_path().string<WCHAR>();
    const auto length = static_cast<DWORD>(expected.size());
    EXPECT_EQ(GetCurrentDirectoryW(0, nullptr), length + 1);
    WideText buffer(length + 1, QM_W('x'));
    EXPECT_EQ(GetCurrentDirectoryW(length, buffer.data()), length + 1);
    EXPECT_EQ(GetCurrentDirectoryW(length + 1, buffer.data()), length);
    EXPECT_EQ(WideText(buffer.c_str()), expected);
    std::filesystem::current_path(before);
}

TEST_F(FoldersTest, TheTemporaryFolderExistsAndEndsInASeparator) {
    std::array<WCHAR, 300> buffer{};
    const DWORD length = GetTempPathW(300, buffer.data());
    ASSERT_GT(length, 1u);
    const WideText path = buffer.data();
    ASSERT_EQ(path.size(), length);
    EXPECT_EQ(path.back(), static_cast<WCHAR>(std::filesystem::path::preferred_separator));
    EXPECT_TRUE(std::filesystem::is_directory(path));
    EXPECT_EQ(GetTempPathW(length, buffer.data()), length + 1);
    EXPECT_EQ(GetTempPathW(length + 1, buffer.data()), length);
    EXPECT_EQ(GetTempPathW(0, nullptr), length + 1);
}

class TempFileNameTest : public FilesTestFolder {
protected:
    WideText Root16() const { return Root().string<WCHAR>(); }
    std::array<WCHAR, MAX_PATH> m_name{};
};

// Windows says nothing of the case of digits and extension, and makes no difference.
WideText InUpperCase(WideText text) {
    for (WCHAR& unit : text) {
        unit = unit >= 'a' && unit <= 'z' ? static_cast<WCHAR>(unit - 'a' + 'A') : unit;
    }
    return text;
}

TEST_F(TempFileNameTest, MakesTheNameOfAGivenNumberAndNoFile) {
    EXPECT_EQ(GetTempFileNameW(Root16().c_str(), QM_W("prefix"), 0x1A2B, m_name.data()), 0x1A2Bu);
    EXPECT_EQ(InUpperCase(m_name.data()), InUpperCase(Path("pre1A2B.tmp")));
    EXPECT_EQ(GetTempFileNameW((Root16() + static_cast<WCHAR>(std::filesystem::path::preferred_separator)).c_str(),
                               QM_W(""), 0xABC0005, m_name.data()),
              5u);
    EXPECT_EQ(InUpperCase(m_name.data()), InUpperCase(Path("5.tmp")));
    EXPECT_EQ(GetTempFileNameW(Root16().c_str(), nullptr, 0xF, m_name.data()), 15u);
    EXPECT_EQ(InUpperCase(m_name.data()), InUpperCase(Path("F.tmp")));
    EXPECT_TRUE(std::filesystem::is_empty(Root()));
}

TEST_F(TempFileNameTest, CreatesAFileOfAFreeNumber) {
    std::set<WideText> names;
    for (int i = 0; i < 100; ++i) {
        const UINT number = GetTempFileNameW(Root16().c_str(), QM_W("qm"), 0, m_name.data());
        ASSERT_NE(number, 0u);
        ASSERT_LE(number, 0xFFFFu);
        names.insert(m_name.data());
        ASSERT_EQ(std::filesystem::file_size(m_name.data()), 0u);
    }
    EXPECT_EQ(names.size(), 100u);
}

TEST_F(TempFileNameTest, SaysWhyItCannot) {
    Make("file", "");
    EXPECT_EQ(GetTempFileNameW(Path("none").c_str(), QM_W("qm"), 0, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 267u);
    EXPECT_EQ(GetTempFileNameW(Path("file").c_str(), QM_W("qm"), 0, m_name.data()), 0u);
    EXPECT_EQ(GetLastError(), 267u);
    EXPECT_EQ(GetTempFileNameW(nullptr, QM_W("qm"), 0, m_name.data()), 0u);
    EXPECT_EQ(GetTempFileNameW(Root16().c_str(), QM_W("qm"), 0, nullptr), 0u);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(TempFileNameTest, AFolderMayHaveSoManyCharactersThatTheNameHasRoom) {
    // Folders below each other, so that the last one has a path of the length.
    const auto folderOf = [this](std::size_t length) {
        std::filesystem::path folder = Root();
        while (folder.string<WCHAR>().size() + 1 < length) {
            const std::size_t left = length - folder.string<WCHAR>().size() - 1;
            folder /= std::string(left < 100 ? left : 50, 'a');
        }
        std::filesystem::create_directories(folder);
        return folder.string<WCHAR>();
    };
    const WideText longest = folderOf(MAX_PATH - 14);
    ASSERT_EQ(longest.size(), 246u);
    EXPECT_EQ(GetTempFileNameW(longest.c_str(), QM_W("qmx"), 0xFFFF, m_name.data()), 0xFFFFu);
    EXPECT_EQ(WideText(m_name.data()).size(), 246u + 12);
    const WideText tooLong = folderOf(MAX_PATH - 13);
    ASSERT_EQ(tooLong.size(), 247u);
    // Wine takes any length.
    SetLastError(0);
    EXPECT_THAT(GetTempFileNameW(tooLong.c_str(), QM_W("qm"), 1, m_name.data()), OrUnderWine<UINT>(0, 1));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(111, 0));
}

class FolderPathTest : public FilesTestFolder {
protected:
    HRESULT Get(int csidl, HANDLE token = nullptr, DWORD flags = SHGFP_TYPE_CURRENT) {
        m_path.fill(QM_W('x'));
        return SHGetFolderPathW(nullptr, csidl, token, flags, m_path.data());
    }
    WideText Result() const { return m_path.data(); }
    std::array<WCHAR, MAX_PATH> m_path{};
};

TEST_F(FolderPathTest, GivesTheUsersFolders) {
    EXPECT_EQ(Get(CSIDL_PROFILE), 0);
    EXPECT_TRUE(std::filesystem::is_directory(Result()));
    for (const int csidl : {CSIDL_APPDATA, CSIDL_LOCAL_APPDATA, CSIDL_PERSONAL}) {
        EXPECT_EQ(Get(csidl | CSIDL_FLAG_DONT_VERIFY), 0);
        EXPECT_TRUE(std::filesystem::path(Result()).is_absolute());
        EXPECT_FALSE(Result().ends_with(static_cast<WCHAR>(std::filesystem::path::preferred_separator)));
    }
}

TEST_F(FolderPathTest, RefusesWhatIsNoFolderOrNoKindOfAnswer) {
    const HRESULT invalid = static_cast<HRESULT>(0x80070057u);
    EXPECT_EQ(Get(0x7F), invalid);
    EXPECT_EQ(Result(), QM_W(""));
    EXPECT_EQ(Get(CSIDL_PROFILE, nullptr, 2), invalid);
}

}  // namespace
