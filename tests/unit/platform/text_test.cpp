#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/Wine.h"
#include "unit/platform/TextSamples.h"

namespace {

using quillmark::test::Malformed;
using quillmark::test::OrUnderWine;
using quillmark::test::TextSample;
using quillmark::test::ToNarrow;
using quillmark::test::ToWide;
using quillmark::test::WellFormed;

TEST(TextTest, ConvertsWellFormedTextBothWays) {
    for (const TextSample& sample : WellFormed) {
        EXPECT_EQ(ToWide(sample.narrow), sample.wide);
        EXPECT_EQ(ToWide(sample.narrow, MB_ERR_INVALID_CHARS), sample.wide);
        EXPECT_EQ(ToNarrow(sample.wide), sample.narrow);
        EXPECT_EQ(ToNarrow(sample.wide, WC_ERR_INVALID_CHARS), sample.narrow);
    }
}

// Which one it is, the system says: Wine takes it from the locale, this system has UTF-8.
TEST(TextTest, TheDefaultCodePageHasAscii) {
    EXPECT_EQ(ToWide("https://server/a?b=1", 0, CP_ACP), QM_W("https://server/a?b=1"));
    EXPECT_EQ(ToNarrow(QM_W("~ Quillmark 1.0 ~"), 0, CP_ACP), "~ Quillmark 1.0 ~");
}

// As long as nobody says how many replacements an ill-formed sequence gives.
WideText WithoutRepeatedReplacements(WideText text) {
    const auto isRepeated = [](WCHAR one, WCHAR next) { return one == 0xFFFD && next == 0xFFFD; };
    text.erase(std::unique(text.begin(), text.end(), isRepeated), text.end());
    return text;
}

TEST(TextTest, ReplacesWhatIsMalformedAndKeepsTheRest) {
    for (const TextSample& sample : Malformed) {
        EXPECT_EQ(WithoutRepeatedReplacements(ToWide(sample.narrow)), WithoutRepeatedReplacements(sample.wide))
            << testing::PrintToString(sample.narrow);
    }
}

TEST(TextTest, RefusesMalformedUtf8WhenAskedTo) {
    for (const TextSample& sample : Malformed) {
        SetLastError(0);
        EXPECT_EQ(ToWide(sample.narrow, MB_ERR_INVALID_CHARS), QM_W(""));
        EXPECT_EQ(GetLastError(), 1113u);
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, sample.narrow.data(),
                                      static_cast<int>(sample.narrow.size()), nullptr, 0),
                  0);
        EXPECT_EQ(GetLastError(), 1113u);
    }
}

TEST(TextTest, ReplacesSurrogatesWithoutPartner) {
    EXPECT_EQ(ToNarrow(QM_W("\xD800")), "\xEF\xBF\xBD");
    EXPECT_EQ(ToNarrow(QM_W("\xDC00")), "\xEF\xBF\xBD");
    EXPECT_EQ(ToNarrow(QM_W("\xD83D\xD83D\xDE00\xDE00")), "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
    EXPECT_EQ(ToNarrow(QM_W("\xDBFF") QM_W("a")),
              "\xEF\xBF\xBD"
              "a");
    for (const WideText text : {QM_W("\xD800"), QM_W("\xDFFF"), QM_W("a\xDBFF"), QM_W("\xD800\xD800")}) {
        SetLastError(0);
        EXPECT_EQ(ToNarrow(text, WC_ERR_INVALID_CHARS), "");
        EXPECT_EQ(GetLastError(), 1113u);
    }
}

TEST(TextTest, AnswersSizeQueriesWithoutABuffer) {
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4z", 3, nullptr, 0), 2);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xF0\x9F\x98\x80", 4, nullptr, 0), 2);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, QM_W("\u00E4z"), 2, nullptr, 0, nullptr, nullptr), 3);
    // A size of 0 asks for the size although there is a buffer, and leaves that alone.
    WCHAR wide = QM_W('#');
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", 3, &wide, 0), 3);
    EXPECT_EQ(wide, QM_W('#'));
}

TEST(TextTest, ConvertsAndCountsTheNullOfATextWithoutLength) {
    WCHAR wide[4] = {QM_W('#'), QM_W('#'), QM_W('#'), QM_W('#')};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4z", -1, nullptr, 0), 3);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4z", -1, wide, 4), 3);
    EXPECT_EQ(WideText(wide, 4), WideText(QM_W("\u00E4z\0#"), 4));
    char narrow[5] = {'#', '#', '#', '#', '#'};
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, QM_W("\u00E4z"), -1, narrow, 5, nullptr, nullptr), 4);
    EXPECT_EQ(std::string(narrow, 5), std::string("\xC3\xA4z\0#", 5));
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "", -1, nullptr, 0), 1);
}

TEST(TextTest, FillsABufferThatJustFitsAndRefusesASmallerOne) {
    WCHAR wide[2];
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xF0\x9F\x98\x80", 4, wide, 2), 2);
    SetLastError(0);
    // Wine converts the half that fits.
    EXPECT_THAT(MultiByteToWideChar(CP_UTF8, 0, "\xF0\x9F\x98\x80", 4, wide, 1), OrUnderWine(0, 1));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(122, 0));
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "ab", 2, wide, 1), 0);
    EXPECT_EQ(GetLastError(), 122u);
    char narrow[3];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, QM_W("\u20AC"), 1, narrow, 3, nullptr, nullptr), 3);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, QM_W("\u20AC"), 1, narrow, 2, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), 122u);
}

constexpr UINT NoCodePage = 12345;

TEST(TextTest, RefusesBadArguments) {
    WCHAR wide[4] = {QM_W('a'), 0, 0, 0};
    char narrow[4] = {'a', 0, 0, 0};
    const auto wideError = [&](UINT codePage, const char* source, int size, WCHAR* buffer, int room) {
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(codePage, 0, source, size, buffer, room), 0);
        return GetLastError();
    };
    EXPECT_EQ(wideError(NoCodePage, "a", 1, wide, 4), 87u);
    EXPECT_EQ(wideError(CP_UTF8, nullptr, 1, wide, 4), 87u);
    EXPECT_EQ(wideError(CP_UTF8, "a", 0, wide, 4), 87u);
    EXPECT_EQ(wideError(CP_UTF8, "a", 1, nullptr, 4), 87u);
    EXPECT_EQ(wideError(CP_UTF8, "a", 1, wide, -1), 87u);
    const auto narrowError = [&](UINT codePage, const WCHAR* source, int size, char* buffer, int room) {
        SetLastError(0);
        EXPECT_EQ(WideCharToMultiByte(codePage, 0, source, size, buffer, room, nullptr, nullptr), 0);
        return GetLastError();
    };
    EXPECT_EQ(narrowError(NoCodePage, QM_W("a"), 1, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, nullptr, 1, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, QM_W("a"), 0, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, QM_W("a"), 1, nullptr, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, QM_W("a"), 1, narrow, -1), 87u);
}

// Wine converts in place.
TEST(TextTest, RefusesTheSourceAsTheBuffer) {
    WCHAR text[4] = {QM_W('a'), 0, 0, 0};
    auto* bytes = reinterpret_cast<char*>(text);
    SetLastError(0);
    EXPECT_THAT(MultiByteToWideChar(CP_UTF8, 0, bytes, 1, text, 4), OrUnderWine(0, 1));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(87, 0));
    SetLastError(0);
    EXPECT_THAT(WideCharToMultiByte(CP_UTF8, 0, text, 1, bytes, 4, nullptr, nullptr), OrUnderWine(0, 1));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(87, 0));
}

// Wine does not look at them.
TEST(TextTest, RefusesFlagsThatUtf8DoesNotKnow) {
    WCHAR wide[4];
    char narrow[4];
    SetLastError(0);
    EXPECT_THAT(MultiByteToWideChar(CP_UTF8, 1, "a", 1, wide, 4), OrUnderWine(0, 1));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(1004, 0));
    SetLastError(0);
    EXPECT_THAT(WideCharToMultiByte(CP_UTF8, 0x400, QM_W("a"), 1, narrow, 4, nullptr, nullptr), OrUnderWine(0, 1));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(1004, 0));
}

// Wine has no use for one either, but says nothing.
TEST(TextTest, RefusesADefaultCharacterForUtf8) {
    char narrow[4];
    BOOL used = FALSE;
    SetLastError(0);
    EXPECT_THAT(WideCharToMultiByte(CP_UTF8, 0, QM_W("a"), 1, narrow, 4, "?", nullptr), OrUnderWine(0, 1));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(87, 0));
    SetLastError(0);
    EXPECT_THAT(WideCharToMultiByte(CP_UTF8, 0, QM_W("a"), 1, narrow, 4, nullptr, &used), OrUnderWine(0, 1));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(87, 0));
}

}  // namespace
