#include <set>
#include <string>
#include <utility>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenHandles;

using Names = std::multiset<WideText>;

class FindTest : public FilesTestFolder {
protected:
    // All names that a search gives, and the code that ended it.
    Names Find(WideView pattern, DWORD& error) const {
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
    Names Find(WideView pattern) const {
        DWORD error = 0;
        Names names = Find(pattern, error);
        EXPECT_EQ(error, 18u);
        return names;
    }
};

TEST_F(FindTest, StarGivesEveryEntryAndTheTwoDots) {
    Make("a", "");
    Make(".hidden", "");
    ASSERT_TRUE(CreateDirectoryW(Path("d").c_str(), nullptr));
    EXPECT_EQ(Find(QM_W("*")), (Names{QM_W("."), QM_W(".."), QM_W(".hidden"), QM_W("a"), QM_W("d")}));
    EXPECT_EQ(Find(QM_W("*.*")), (Names{QM_W("."), QM_W(".."), QM_W(".hidden"), QM_W("a"), QM_W("d")}));
}

TEST_F(FindTest, MatchesPatternsWithoutRegardToCase) {
    for (const char* name : {"Report.txt", "report.TXT.bak", "r", "ÄPFEL.txt", "a[b]"}) {
        Make(name, "");
    }
    EXPECT_EQ(Find(QM_W("*.TXT")), (Names{QM_W("Report.txt"), QM_W("ÄPFEL.txt")}));
    EXPECT_EQ(Find(QM_W("REPORT*")), (Names{QM_W("Report.txt"), QM_W("report.TXT.bak")}));
    EXPECT_EQ(Find(QM_W("äpf*")), (Names{QM_W("ÄPFEL.txt")}));
    EXPECT_EQ(Find(QM_W("a[b]*")), (Names{QM_W("a[b]")}));
    EXPECT_EQ(Find(QM_W("*o*t*")), (Names{QM_W("Report.txt"), QM_W("report.TXT.bak")}));
}

TEST_F(FindTest, QuestionMarkIsOneCharacterOrNoneAtTheEnd) {
    for (const char* name : {"ab", "abc", "abcd", "b"}) {
        Make(name, "");
    }
    EXPECT_EQ(Find(QM_W("a?c")), Names{QM_W("abc")});
    // Wine wants a character for each.
    EXPECT_THAT(Find(QM_W("ab??")),
                quillmark::test::OrUnderWine(Names{QM_W("ab"), QM_W("abc"), QM_W("abcd")}, Names{QM_W("abcd")}));
    Names one = Find(QM_W("?"));
    one.erase(QM_W("."));
    one.erase(QM_W(".."));
    EXPECT_EQ(one, Names{QM_W("b")});
}

TEST_F(FindTest, APlainNameGivesOneEntry) {
    Make("a", "abc");
    Make("ab", "");
    EXPECT_EQ(Find(QM_W("a")), (Names{QM_W("a")}));
    DWORD error = 0;
    EXPECT_EQ(Find(QM_W("abc"), error), Names{});
    EXPECT_EQ(error, 2u);
}

TEST_F(FindTest, SaysWhyNothingWasFound) {
    Make("file", "");
    const std::pair<WideText, DWORD> cases[] = {{QM_W("none"), 2},
                                                {QM_W("none*"), 2},
                                                {QM_W("none/*"), 3},
                                                {QM_W("none/none"), 3},
                                                {QM_W(""), 2 /* ends in '/' */}};
    for (const auto& [pattern, expected] : cases) {
        DWORD error = 0;
        EXPECT_EQ(Find(pattern, error), Names{});
        EXPECT_EQ(error, expected) << testing::PrintToString(pattern);
    }
    // Windows does not say what a file in the place of a folder is called.
    DWORD error = 0;
    EXPECT_EQ(Find(QM_W("file/*"), error), Names{});
    EXPECT_EQ(Find(QM_W("file/a"), error), Names{});
    WIN32_FIND_DATAW data{};
    EXPECT_EQ(FindFirstFileW(QM_W(""), &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 3u);
    EXPECT_EQ(FindFirstFileW(nullptr, &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 3u);
}

TEST_F(FindTest, GivesSizeTimesAndAttributes) {
    const WideText path = Make("a", "abc");
    quillmark::test::SetTimes(File("a"), 126'444'736'000'000'000u, 126'444'736'001'234'567u);
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    WIN32_FIND_DATAW data{};
    const HANDLE search = FindFirstFileW(path.c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    // Wine keeps the mark for the archive whatever is set.
    EXPECT_THAT(data.dwFileAttributes, quillmark::test::OrUnderWine<DWORD>(0x1, 0x21));
    EXPECT_EQ(data.nFileSizeLow, 3u);
    EXPECT_EQ(data.nFileSizeHigh, 0u);
    EXPECT_EQ(data.dwReserved0, 0u);
    EXPECT_EQ(quillmark::test::Ticks(data.ftLastWriteTime), 126'444'736'001'234'567u);
    EXPECT_EQ(data.cAlternateFileName[0], QM_W('\0'));
    EXPECT_TRUE(FindClose(search));
}

TEST_F(FindTest, WhatIsNoSearchIsNeitherContinuedNorClosed) {
    WIN32_FIND_DATAW data{};
    EXPECT_FALSE(FindClose(INVALID_HANDLE_VALUE));
    EXPECT_EQ(GetLastError(), 6u);
    SetLastError(0);
    EXPECT_FALSE(FindNextFileW(INVALID_HANDLE_VALUE, &data));
    EXPECT_EQ(GetLastError(), 6u);
}

TEST_F(FindTest, GoesThroughAFolderOfManyEntries) {
    for (int i = 0; i < 1'000; ++i) {
        Make(std::to_string(i), "");
    }
    EXPECT_EQ(Find(QM_W("*")).size(), 1'002u);
    EXPECT_EQ(Find(QM_W("19*")).size(), 11u);
}

TEST_F(FindTest, FailedSearchesLeaveNoHandleOpen) {
    const std::size_t before = OpenHandles();
    WIN32_FIND_DATAW data{};
    EXPECT_EQ(FindFirstFileW(Path("none*").c_str(), &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstFileW(Path("none").c_str(), &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(OpenHandles(), before);
}

}  // namespace
