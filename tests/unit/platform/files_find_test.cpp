#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <string>

#include "handles/HandleTable.h"
#include "quillmark/platform/Events.h"
#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::platform::PathFromBytes;
using quillmark::platform::PathToBytes;
using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;

using Names = std::multiset<std::u16string>;

class FindTest : public FilesTestFolder {
protected:
    // All names that a search gives, and the code that ended it.
    Names Find(std::u16string_view pattern, DWORD& error) const {
        Names names;
        WIN32_FIND_DATAW data{};
        const HANDLE search = FindFirstFileW(Path(pattern).c_str(), &data);
        if (search == INVALID_HANDLE_VALUE) {
            error = GetLastError();
            return names;
        }
        do {
            names.insert(data.cFileName);
        } while (FindNextFileW(search, &data));
        error = GetLastError();
        EXPECT_TRUE(FindClose(search));
        return names;
    }
    Names Find(std::u16string_view pattern) const {
        DWORD error = 0;
        Names names = Find(pattern, error);
        EXPECT_EQ(error, 18u);
        return names;
    }
};

TEST_F(FindTest, StarGivesEveryEntryAndTheTwoDots) {
    Make("a", "");
    Make(".hidden", "");
    ASSERT_TRUE(CreateDirectoryW(Path(u"d").c_str(), nullptr));
    EXPECT_EQ(Find(u"*"), (Names{u".", u"..", u".hidden", u"a", u"d"}));
    EXPECT_EQ(Find(u"*.*"), (Names{u".", u"..", u".hidden", u"a", u"d"}));
}

TEST_F(FindTest, MatchesPatternsWithoutRegardToCase) {
    for (const char* name : {"Report.txt", "report.TXT.bak", "r", "ÄPFEL.txt", "a[b]*"}) {
        Make(name, "");
    }
    EXPECT_EQ(Find(u"*.TXT"), (Names{u"Report.txt", u"ÄPFEL.txt"}));
    EXPECT_EQ(Find(u"REPORT*"), (Names{u"Report.txt", u"report.TXT.bak"}));
    EXPECT_EQ(Find(u"äpf*"), (Names{u"ÄPFEL.txt"}));
    EXPECT_EQ(Find(u"a[b]*"), (Names{u"a[b]*"}));
    EXPECT_EQ(Find(u"*o*t*"), (Names{u"Report.txt", u"report.TXT.bak"}));
}

TEST_F(FindTest, QuestionMarkIsOneCharacterOrNoneAtTheEnd) {
    for (const char* name : {"ab", "abc", "abcd", "a😀c", "b"}) {
        Make(name, "");
    }
    EXPECT_EQ(Find(u"a?c"), (Names{u"abc", u"a😀c"}));
    EXPECT_EQ(Find(u"ab??"), (Names{u"ab", u"abc", u"abcd"}));
    EXPECT_EQ(Find(u"?"), (Names{u".", u"b"}));
}

TEST_F(FindTest, APlainNameGivesOneEntry) {
    Make("a", "abc");
    Make("ab", "");
    EXPECT_EQ(Find(u"a"), (Names{u"a"}));
    DWORD error = 0;
    EXPECT_EQ(Find(u"A", error), Names{});
    EXPECT_EQ(error, 2u);
}

TEST_F(FindTest, SaysWhyNothingWasFound) {
    Make("file", "");
    const std::pair<std::u16string, DWORD> cases[] = {{u"none", 2},
                                                      {u"none*", 2},
                                                      {u"none/*", 3},
                                                      {u"none/none", 3},
                                                      {u"file/*", 3},
                                                      {u"file/a", 3},
                                                      {u"", 2 /* ends in '/' */}};
    for (const auto& [pattern, expected] : cases) {
        DWORD error = 0;
        EXPECT_EQ(Find(pattern, error), Names{});
        EXPECT_EQ(error, expected);
    }
    WIN32_FIND_DATAW data{};
    EXPECT_EQ(FindFirstFileW(u"", &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_EQ(FindFirstFileW(nullptr, &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_EQ(FindFirstFileW(Path(u"*").c_str(), nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(FindTest, GivesSizeTimesAndAttributes) {
    const std::u16string path = Make("a", "abc");
    const timespec times[] = {{1'000'000'000, 0}, {1'000'000'000, 123'456'700}};
    ASSERT_EQ(::utimensat(AT_FDCWD, Bytes("a").c_str(), times, 0), 0);
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    WIN32_FIND_DATAW data{};
    const HANDLE search = FindFirstFileW(path.c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(data.dwFileAttributes, 1u);
    EXPECT_EQ(data.nFileSizeLow, 3u);
    EXPECT_EQ(data.nFileSizeHigh, 0u);
    EXPECT_EQ(data.dwReserved0, 0u);
    EXPECT_EQ((std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32) | data.ftLastWriteTime.dwLowDateTime,
              126'444'736'001'234'567u);
    EXPECT_EQ(data.cAlternateFileName[0], u'\0');
    EXPECT_TRUE(FindClose(search));
}

TEST_F(FindTest, ShowsLinksByTheirTargetsWithAMark) {
    Make("a", "abc");
    ASSERT_EQ(::symlink("a", Bytes("good").c_str()), 0);
    ASSERT_EQ(::symlink("none", Bytes("nowhere").c_str()), 0);
    ASSERT_EQ(::symlink(".", Bytes("folder").c_str()), 0);
    const std::tuple<std::u16string, DWORD, DWORD> cases[] = {
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

TEST_F(FindTest, ReachesNamesOfAllBytes) {
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
        Make(name, name);
    }
    const Names found = Find(u"*");
    EXPECT_EQ(found.size(), std::size(names) + 2);
    EXPECT_TRUE(found.contains(u"latin-\xDCE4"));
    EXPECT_TRUE(found.contains(u"cut-\xDCF0\xDC9F\xDC98"));
    EXPECT_TRUE(found.contains(u"over-\xDCC0\xDCAF"));
    EXPECT_TRUE(found.contains(u"half-\xDCED\xDCA0\xDC80"));
    EXPECT_TRUE(found.contains(u"emoji-\xD83D\xDE00"));
    for (const std::u16string& name : found) {
        std::string bytes;
        ASSERT_TRUE(PathToBytes(name, bytes));
        if (name != u"." && name != u"..") {
            const OpenFile file(Path(name), GENERIC_READ);
            EXPECT_EQ(quillmark::test::ReadText(file, 100), bytes);
        }
    }
}

TEST_F(FindTest, HandlesAreClosedByFindCloseAlone) {
    WIN32_FIND_DATAW data{};
    const HANDLE search = FindFirstFileW(Path(u"*").c_str(), &data);
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

TEST_F(FindTest, FailedSearchesLeaveNoHandleOpen) {
    const std::size_t before = quillmark::platform::OpenHandleCount();
    WIN32_FIND_DATAW data{};
    EXPECT_EQ(FindFirstFileW(Path(u"none*").c_str(), &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstFileW(Path(u"none").c_str(), &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(quillmark::platform::OpenHandleCount(), before);
}

TEST_F(FindTest, StreamsAFolderOf100000Entries) {
    constexpr int entries = 100'000;
    constexpr int namesPerFile = 50'000;  // some file systems allow a file 65,000 names
    Make("file0", "");
    Make("file1", "");
    const int folder = ::open(Root().c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < entries; ++i) {
        const std::string file = "file" + std::to_string(i / namesPerFile);
        ASSERT_EQ(::linkat(folder, file.c_str(), folder, std::to_string(i).c_str(), 0), 0);
    }
    ::close(folder);
    EXPECT_EQ(Find(u"*").size(), 100'004u);
    EXPECT_EQ(Find(u"99*").size(), 1'111u);
}

}  // namespace
