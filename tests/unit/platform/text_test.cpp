#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "unit/platform/WideText.h"

namespace {

WideText ToWide(const std::string& text, DWORD flags = 0, UINT codePage = CP_UTF8) {
    WideText result(text.size(), QM_W('#'));
    const int length = MultiByteToWideChar(codePage, flags, text.data(), static_cast<int>(text.size()), result.data(),
                                           static_cast<int>(result.size()));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

std::string ToNarrow(const WideText& text, DWORD flags = 0, UINT codePage = CP_UTF8) {
    std::string result(text.size() * 3, '#');
    const int length = WideCharToMultiByte(codePage, flags, text.data(), static_cast<int>(text.size()), result.data(),
                                           static_cast<int>(result.size()), nullptr, nullptr);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

struct Sample {
    std::string narrow;
    WideText wide;
};

const Sample Samples[] = {
    {"a", QM_W("a")},
    {"\x7F", QM_W("\u007F")},
    {"\xC2\x80", QM_W("\u0080")},
    {"\xDF\xBF", QM_W("\u07FF")},
    {"\xE0\xA0\x80", QM_W("\u0800")},
    {"\xED\x9F\xBF", QM_W("\uD7FF")},
    {"\xEE\x80\x80", QM_W("\uE000")},
    {"\xEF\xBF\xBF", QM_W("\uFFFF")},
    {"\xF0\x90\x80\x80", QM_W("\U00010000")},
    {"\xF4\x8F\xBF\xBF", QM_W("\U0010FFFF")},
    {"Stra\xC3\x9F"
     "e \xE6\x96\x87 \xF0\x9F\x98\x80",
     QM_W("Stra\u00DFe \u6587 \U0001F600")},
    {std::string("a\0b", 3), WideText(QM_W("a\0b"), 3)},
};

TEST(TextTest, ConvertsWellFormedTextBothWaysInBothCodePages) {
    for (const Sample& sample : Samples) {
        for (const UINT codePage : {UINT{65001}, UINT{0}}) {
            EXPECT_EQ(ToWide(sample.narrow, 0, codePage), sample.wide);
            EXPECT_EQ(ToWide(sample.narrow, MB_ERR_INVALID_CHARS, codePage), sample.wide);
            EXPECT_EQ(ToNarrow(sample.wide, 0, codePage), sample.narrow);
            EXPECT_EQ(ToNarrow(sample.wide, WC_ERR_INVALID_CHARS, codePage), sample.narrow);
        }
    }
}

const Sample Malformed[] = {
    {"\x80", QM_W("\uFFFD")},
    {"\xBF\xBF", QM_W("\uFFFD\uFFFD")},
    {"\xC0\x80", QM_W("\uFFFD\uFFFD")},
    {"\xC1\xBF", QM_W("\uFFFD\uFFFD")},
    {"\xC3", QM_W("\uFFFD")},
    {"\xC3(", QM_W("\uFFFD(")},
    {"\xE0\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD")},
    {"\xE0\x9F\xBF", QM_W("\uFFFD\uFFFD\uFFFD")},
    {"\xE2\x82", QM_W("\uFFFD")},
    {"\xE2\x82z", QM_W("\uFFFDz")},
    {"\xED\xA0\x80", QM_W("\uFFFD\uFFFD\uFFFD")},
    {"\xED\xBF\xBF", QM_W("\uFFFD\uFFFD\uFFFD")},
    {"\xF0\x80\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xF0\x8F\xBF\xBF", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xF0\x90\x80", QM_W("\uFFFD")},
    {"\xF0\x9F\x98\xC3\xA4", QM_W("\uFFFD\u00E4")},
    {"\xF4\x90\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xF5\x80\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xFE\xFF", QM_W("\uFFFD\uFFFD")},
    {"a\xF1\x80\x80\xE1\x80\xC2"
     "b\x80"
     "c\x80\xBF"
     "d",
     QM_W("a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd")},
};

TEST(TextTest, ReplacesEachMaximalPartOfMalformedUtf8) {
    for (const Sample& sample : Malformed) {
        EXPECT_EQ(ToWide(sample.narrow), sample.wide) << testing::PrintToString(sample.narrow);
    }
}

TEST(TextTest, RefusesMalformedUtf8WhenAskedTo) {
    for (const Sample& sample : Malformed) {
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
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xF0\x9F\x98\x80", 4, wide, 1), 0);
    EXPECT_EQ(GetLastError(), 122u);
    char narrow[3];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, QM_W("\u20AC"), 1, narrow, 3, nullptr, nullptr), 3);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, QM_W("\u20AC"), 1, narrow, 2, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), 122u);
}

TEST(TextTest, RefusesBadArguments) {
    WCHAR wide[4] = {QM_W('a'), 0, 0, 0};
    char narrow[4] = {'a', 0, 0, 0};
    const auto wideError = [&](UINT codePage, const char* source, int size, WCHAR* buffer, int room) {
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(codePage, 0, source, size, buffer, room), 0);
        return GetLastError();
    };
    EXPECT_EQ(wideError(1252, "a", 1, wide, 4), 87u);
    EXPECT_EQ(wideError(CP_UTF8, nullptr, 1, wide, 4), 87u);
    EXPECT_EQ(wideError(CP_UTF8, "a", 0, wide, 4), 87u);
    EXPECT_EQ(wideError(CP_UTF8, "a", 1, nullptr, 4), 87u);
    EXPECT_EQ(wideError(CP_UTF8, "a", 1, wide, -1), 87u);
    EXPECT_EQ(wideError(CP_UTF8, reinterpret_cast<const char*>(wide), 1, wide, 4), 87u);
    const auto narrowError = [&](UINT codePage, const WCHAR* source, int size, char* buffer, int room) {
        SetLastError(0);
        EXPECT_EQ(WideCharToMultiByte(codePage, 0, source, size, buffer, room, nullptr, nullptr), 0);
        return GetLastError();
    };
    EXPECT_EQ(narrowError(1252, QM_W("a"), 1, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, nullptr, 1, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, QM_W("a"), 0, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, QM_W("a"), 1, nullptr, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, QM_W("a"), 1, narrow, -1), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, wide, 1, reinterpret_cast<char*>(wide), 4), 87u);
}

TEST(TextTest, RefusesFlagsThatUtf8DoesNotKnow) {
    WCHAR wide[4];
    char narrow[4];
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 1, "a", 1, wide, 4), 0);
    EXPECT_EQ(GetLastError(), 1004u);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0x400, QM_W("a"), 1, narrow, 4, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), 1004u);
}

TEST(TextTest, RefusesADefaultCharacterForUtf8) {
    char narrow[4];
    BOOL used = FALSE;
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, QM_W("a"), 1, narrow, 4, "?", nullptr), 0);
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, QM_W("a"), 1, narrow, 4, nullptr, &used), 0);
    EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
