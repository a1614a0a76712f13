#include "quillmark/platform/Text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"

namespace {

std::u16string ToWide(const std::string& text, DWORD flags = 0, UINT codePage = CP_UTF8) {
    std::u16string result(text.size(), u'#');
    const int length = MultiByteToWideChar(codePage, flags, text.data(), static_cast<int>(text.size()), result.data(),
                                           static_cast<int>(result.size()));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

std::string ToNarrow(const std::u16string& text, DWORD flags = 0, UINT codePage = CP_UTF8) {
    std::string result(text.size() * 3, '#');
    const int length = WideCharToMultiByte(codePage, flags, text.data(), static_cast<int>(text.size()), result.data(),
                                           static_cast<int>(result.size()), nullptr, nullptr);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

struct Sample {
    std::string narrow;
    std::u16string wide;
};

const Sample kSamples[] = {
    {"a", u"a"},
    {"\x7F", u"\u007F"},
    {"\xC2\x80", u"\u0080"},
    {"\xDF\xBF", u"\u07FF"},
    {"\xE0\xA0\x80", u"\u0800"},
    {"\xED\x9F\xBF", u"\uD7FF"},
    {"\xEE\x80\x80", u"\uE000"},
    {"\xEF\xBF\xBF", u"\uFFFF"},
    {"\xF0\x90\x80\x80", u"\U00010000"},
    {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
    {"Stra\xC3\x9F"
     "e \xE6\x96\x87 \xF0\x9F\x98\x80",
     u"Stra\u00DFe \u6587 \U0001F600"},
    {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
};

TEST(TextTest, ConvertsWellFormedTextBothWaysInBothCodePages) {
    for (const Sample& sample : kSamples) {
        for (const UINT codePage : {UINT{65001}, UINT{0}}) {
            EXPECT_EQ(ToWide(sample.narrow, 0, codePage), sample.wide);
            EXPECT_EQ(ToWide(sample.narrow, MB_ERR_INVALID_CHARS, codePage), sample.wide);
            EXPECT_EQ(ToNarrow(sample.wide, 0, codePage), sample.narrow);
            EXPECT_EQ(ToNarrow(sample.wide, WC_ERR_INVALID_CHARS, codePage), sample.narrow);
        }
    }
}

const Sample kMalformed[] = {
    {"\x80", u"\uFFFD"},
    {"\xBF\xBF", u"\uFFFD\uFFFD"},
    {"\xC0\x80", u"\uFFFD\uFFFD"},
    {"\xC1\xBF", u"\uFFFD\uFFFD"},
    {"\xC3", u"\uFFFD"},
    {"\xC3(", u"\uFFFD("},
    {"\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},
    {"\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD"},
    {"\xE2\x82", u"\uFFFD"},
    {"\xE2\x82z", u"\uFFFDz"},
    {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
    {"\xED\xBF\xBF", u"\uFFFD\uFFFD\uFFFD"},
    {"\xF0\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"\xF0\x90\x80", u"\uFFFD"},
    {"\xF0\x9F\x98\xC3\xA4", u"\uFFFD\u00E4"},
    {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"\xF5\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"\xFE\xFF", u"\uFFFD\uFFFD"},
    {"a\xF1\x80\x80\xE1\x80\xC2"
     "b\x80"
     "c\x80\xBF"
     "d",
     u"a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd"},
};

TEST(TextTest, ReplacesEachMaximalPartOfMalformedUtf8) {
    for (const Sample& sample : kMalformed) {
        EXPECT_EQ(ToWide(sample.narrow), sample.wide) << testing::PrintToString(sample.narrow);
    }
}

TEST(TextTest, RefusesMalformedUtf8WhenAskedTo) {
    for (const Sample& sample : kMalformed) {
        SetLastError(0);
        EXPECT_EQ(ToWide(sample.narrow, MB_ERR_INVALID_CHARS), u"");
        EXPECT_EQ(GetLastError(), 1113u);
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, sample.narrow.data(),
                                      static_cast<int>(sample.narrow.size()), nullptr, 0),
                  0);
        EXPECT_EQ(GetLastError(), 1113u);
    }
}

TEST(TextTest, ReplacesSurrogatesWithoutPartner) {
    EXPECT_EQ(ToNarrow(u"\xD800"), "\xEF\xBF\xBD");
    EXPECT_EQ(ToNarrow(u"\xDC00"), "\xEF\xBF\xBD");
    EXPECT_EQ(ToNarrow(u"\xD83D\xD83D\xDE00\xDE00"), "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
    EXPECT_EQ(ToNarrow(u"\xDBFF"
                       u"a"),
              "\xEF\xBF\xBD"
              "a");
    for (const std::u16string text : {u"\xD800", u"\xDFFF", u"a\xDBFF", u"\xD800\xD800"}) {
        SetLastError(0);
        EXPECT_EQ(ToNarrow(text, WC_ERR_INVALID_CHARS), "");
        EXPECT_EQ(GetLastError(), 1113u);
    }
}

TEST(TextTest, AnswersSizeQueriesWithoutABuffer) {
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4z", 3, nullptr, 0), 2);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xF0\x9F\x98\x80", 4, nullptr, 0), 2);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"\u00E4z", 2, nullptr, 0, nullptr, nullptr), 3);
    // A size of 0 asks for the size although there is a buffer, and leaves that alone.
    WCHAR wide = u'#';
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", 3, &wide, 0), 3);
    EXPECT_EQ(wide, u'#');
}

TEST(TextTest, ConvertsAndCountsTheNullOfATextWithoutLength) {
    WCHAR wide[4] = {u'#', u'#', u'#', u'#'};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4z", -1, nullptr, 0), 3);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4z", -1, wide, 4), 3);
    EXPECT_EQ(std::u16string(wide, 4), std::u16string(u"\u00E4z\0#", 4));
    char narrow[5] = {'#', '#', '#', '#', '#'};
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"\u00E4z", -1, narrow, 5, nullptr, nullptr), 4);
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
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"\u20AC", 1, narrow, 3, nullptr, nullptr), 3);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"\u20AC", 1, narrow, 2, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), 122u);
}

TEST(TextTest, RefusesBadArguments) {
    WCHAR wide[4] = {u'a', 0, 0, 0};
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
    EXPECT_EQ(narrowError(1252, u"a", 1, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, nullptr, 1, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, u"a", 0, narrow, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, u"a", 1, nullptr, 4), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, u"a", 1, narrow, -1), 87u);
    EXPECT_EQ(narrowError(CP_UTF8, wide, 1, reinterpret_cast<char*>(wide), 4), 87u);
}

TEST(TextTest, RefusesFlagsThatUtf8DoesNotKnow) {
    WCHAR wide[4];
    char narrow[4];
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 1, "a", 1, wide, 4), 0);
    EXPECT_EQ(GetLastError(), 1004u);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0x400, u"a", 1, narrow, 4, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), 1004u);
}

TEST(TextTest, RefusesADefaultCharacterForUtf8) {
    char narrow[4];
    BOOL used = FALSE;
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"a", 1, narrow, 4, "?", nullptr), 0);
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"a", 1, narrow, 4, nullptr, &used), 0);
    EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
