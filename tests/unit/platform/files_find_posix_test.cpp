// Searches among what only POSIX has: links, names of any bytes, names that differ by case.
#include <unistd.h>

#include <fstream>
#include <set>
#include <string>
#include <tuple>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::platform::PathToBytes;
using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;

using Names = std::multiset<WideText>;

class FindPosixTest : public FilesTestFolder {
protected:
    Names Find(WideView pattern) const {
        Names names;
        WIN32_FIND_DATAW data{};
        const HANDLE search = FindFirstFileW(Path(pattern).c_str(), &data);
        for (BOOL found = search != INVALID_HANDLE_VALUE; found; found = FindNextFileW(search, &data)) {
            names.insert(data.cFileName);
        }
        FindClose(search);
        return names;
    }
};

TEST_F(FindPosixTest, APlainNameIsLookedUpWithItsCase) {
    Make("a", "");
    EXPECT_EQ(Find(u"a"), Names{u"a"});
    EXPECT_EQ(Find(u"A"), Names{});
}

TEST_F(FindPosixTest, AQuestionMarkIsOneCharacterOfAnyLengthAndMatchesTheDot) {
    Make("abc", "");
    Make("a😀c", "");
    Make("b", "");
    EXPECT_EQ(Find(u"a?c"), (Names{u"abc", u"a😀c"}));
    EXPECT_EQ(Find(u"?"), (Names{u".", u"b"}));
}

TEST_F(FindPosixTest, AFileInThePlaceOfAFolderIsNoPathToAnything) {
    Make("file", "");
    for (const char* pattern : {"file/*", "file/a"}) {
        WIN32_FIND_DATAW data{};
        EXPECT_EQ(FindFirstFileW(Path(pattern).c_str(), &data), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), 3u);
    }
}

TEST_F(FindPosixTest, NeedsAPlaceForTheEntry) {
    EXPECT_EQ(FindFirstFileW(Path("*").c_str(), nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(FindPosixTest, StarsAndQuestionMarksMatchInNamesThatWindowsDoesNotAllow) {
    Make("a[b]*", "");
    Make("a?c", "");
    EXPECT_EQ(Find(u"a[b]*"), Names{u"a[b]*"});
    EXPECT_EQ(Find(u"a?c"), Names{u"a?c"});
}

TEST_F(FindPosixTest, ShowsLinksByTheirTargetsWithAMark) {
    Make("a", "abc");
    ASSERT_EQ(::symlink("a", File("good").c_str()), 0);
    ASSERT_EQ(::symlink("none", File("nowhere").c_str()), 0);
    ASSERT_EQ(::symlink(".", File("folder").c_str()), 0);
    const std::tuple<WideText, DWORD, DWORD> cases[] = {
        {u"good", 0x400, 3}, {u"nowhere", 0x400, 0}, {u"folder", 0x410, 0}};
    for (const auto& [name, attributes, size] : cases) {
        WIN32_FIND_DATAW data{};
        const HANDLE search = FindFirstFileW(Path(name).c_str(), &data);
        ASSERT_NE(search, INVALID_HANDLE_VALUE);
        EXPECT_EQ(data.dwFileAttributes, attributes);
        EXPECT_EQ(data.nFileSizeLow, size);
        EXPECT_EQ(data.dwReserved0, 0xA000000Cu);
        EXPECT_TRUE(FindClose(search));
    }
    EXPECT_EQ(Find(u"*").size(), 6u);
}

TEST_F(FindPosixTest, ReachesNamesOfAllBytes) {
    const char* names[] = {"latin-\xE4",
                           "\xFF\xFE",
                           "cut-\xF0\x9F\x98",
                           "over-\xC0\xAF",
                           "half-\xED\xA0\x80",
                           "new\nline",
                           "decomposed-a\xCC\x88",
                           "chinese-\xE4\xB8\xAD",
                           "emoji-\xF0\x9F\x98\x80",
                           "space end "};
    for (const char* name : names) {
        std::ofstream(Root() / name, std::ios::binary) << name;
    }
    const Names found = Find(u"*");
    EXPECT_EQ(found.size(), std::size(names) + 2);
    EXPECT_TRUE(found.contains(u"latin-\xDCE4"));
    EXPECT_TRUE(found.contains(u"cut-\xDCF0\xDC9F\xDC98"));
    EXPECT_TRUE(found.contains(u"over-\xDCC0\xDCAF"));
    EXPECT_TRUE(found.contains(u"half-\xDCED\xDCA0\xDC80"));
    EXPECT_TRUE(found.contains(u"emoji-\xD83D\xDE00"));
    for (const WideText& name : found) {
        std::string bytes;
        ASSERT_TRUE(PathToBytes(name, bytes));
        if (name != u"." && name != u"..") {
            const OpenFile file(Path(name), GENERIC_READ);
            EXPECT_EQ(quillmark::test::ReadText(file, 100), bytes);
        }
    }
}

TEST_F(FindPosixTest, HandlesAreClosedByFindCloseAlone) {
    WIN32_FIND_DATAW data{};
    const HANDLE search = FindFirstFileW(Path("*").c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(CloseHandle(search));
    EXPECT_EQ(GetLastError(), 6u);
    EXPECT_TRUE(FindNextFileW(search, &data));
    EXPECT_FALSE(FindNextFileW(search, nullptr));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_TRUE(FindClose(search));
    EXPECT_FALSE(FindClose(search));
    EXPECT_EQ(GetLastError(), 6u);
    EXPECT_FALSE(FindNextFileW(search, &data));
    EXPECT_EQ(GetLastError(), 6u);
    EXPECT_FALSE(FindClose(INVALID_HANDLE_VALUE));
    EXPECT_EQ(GetLastError(), 6u);
    const OpenFile file(Make("a", ""), GENERIC_READ);
    EXPECT_FALSE(FindClose(file));
    EXPECT_EQ(GetLastError(), 6u);
}

TEST_F(FindPosixTest, StreamsAFolderOf100000Entries) {
    constexpr int entries = 100'000;
    constexpr int namesPerFile = 50'000;  // some file systems allow a file 65,000 names
    Make("file0", "");
    Make("file1", "");
    for (int i = 0; i < entries; ++i) {
        const std::string file = "file" + std::to_string(i / namesPerFile);
        std::filesystem::create_hard_link(File(file), File(std::to_string(i)));
    }
    EXPECT_EQ(Find(u"*").size(), 100'004u);
    EXPECT_EQ(Find(u"99*").size(), 1'111u);
}

}  // namespace
