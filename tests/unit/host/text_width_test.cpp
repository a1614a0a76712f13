// Columns of a text, and cutting it to so many.
#include <gtest/gtest.h>

#include "Paths.h"
#include "terminal/TextWidth.h"

namespace quillmark::cli {
namespace {

TEST(TextWidthTest, LettersTakeOneColumn) {
    EXPECT_EQ(0u, Columns(""));
    EXPECT_EQ(5u, Columns("hello"));
    EXPECT_EQ(5u, Columns("Größe"));
    EXPECT_EQ(6u, Columns("Привет"));
    EXPECT_EQ(1u, Columns("…"));
}

TEST(TextWidthTest, EastAsianLettersTakeTwo) {
    EXPECT_EQ(6u, Columns("日本語"));
    EXPECT_EQ(4u, Columns("한글"));
    EXPECT_EQ(4u, Columns("ＡＢ"));
    EXPECT_EQ(2u, Columns("ｱｲ"));  // of half width
    EXPECT_EQ(2u, Columns("\xF0\xA0\x80\x80"));
}

TEST(TextWidthTest, MarksAndWhatIsNotSeenTakeNone) {
    EXPECT_EQ(1u, Columns("e\xCC\x81"));   // e, acute accent
    EXPECT_EQ(2u, Columns("a\xE2\x80\x8B"  // zero width space
                          "b"));
    EXPECT_EQ(2u, Columns("\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB"));  // one syllable out of three Hangul parts
    EXPECT_EQ(3u, Columns("a\xC2\xAD"                                // soft hyphen, which terminals show
                          "b"));
}

TEST(TextWidthTest, EmojiTakeTwo) {
    EXPECT_EQ(2u, Columns("\xF0\x9F\x9A\x80"));                  // rocket
    EXPECT_EQ(2u, Columns("\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA"));  // a flag of two halves
    EXPECT_EQ(1u, Columns("\xE2\x9D\xA4"));                      // a heart as text
    EXPECT_EQ(2u, Columns("\xE2\x9D\xA4\xEF\xB8\x8F"));          // as emoji
}

TEST(TextWidthTest, ControlCharactersTakeTheColumnOfTheSignInTheirPlace) {
    EXPECT_EQ(3u, Columns("a\x1B"
                          "b"));
    EXPECT_EQ("a?b", Printable(WideString(QM_W("a\x1B")) + WideString(QM_W("b"))));
}

TEST(TextWidthTest, NoDirectionOfWritingOrLineBreakIsLeftInAName) {
    EXPECT_EQ("a????b", Printable(QM_W("a\u202E\u2066\u2069\u2028b")));
}

TEST(TextWidthTest, BytesThatAreNoCharacterTakeOneEach) {
    EXPECT_EQ(3u, Columns("a\xFF"
                          "b"));
    EXPECT_EQ(2u, Columns("\xE6\x97"));  // a character's beginning
    EXPECT_EQ(2u, Columns("\xC0\x80"));  // not the shortest form
    EXPECT_EQ(2u, Columns("\x80\x80"));
}

TEST(TextWidthTest, WhatFitsIsNotCut) {
    EXPECT_EQ("report.pdf", CutMiddle("report.pdf", 10));
    EXPECT_EQ("日本", CutFront("日本", 4));
    EXPECT_EQ("", CutMiddle("", 0));
}

TEST(TextWidthTest, CutsInTheMiddle) {
    EXPECT_EQ("repo….pdf", CutMiddle("report.pdf", 9));
    EXPECT_EQ("ab…ef", CutMiddle("abcdef", 5));
    EXPECT_EQ("ab…f", CutMiddle("abcdef", 4));
    EXPECT_EQ("…", CutMiddle("abcdef", 1));
    EXPECT_EQ("", CutMiddle("abcdef", 0));
}

TEST(TextWidthTest, CutsTheFront) {
    EXPECT_EQ("…/b/c.txt", CutFront("/folder/b/c.txt", 9));
    EXPECT_EQ("…", CutFront("abc", 1));
}

TEST(TextWidthTest, CutsNoCharacterInTwo) {
    EXPECT_EQ("日…語", CutMiddle("日本の言語", 6));  // two of three columns before, two of three behind
    EXPECT_EQ("…語", CutFront("日本語", 4));
    EXPECT_EQ("a…e\xCC\x81", CutMiddle("abcde\xCC\x81", 3));
    EXPECT_EQ("…e\xCC\x81", CutFront("abcde\xCC\x81", 2));
    const std::string flag = "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA";
    EXPECT_EQ("…", CutFront("abc" + flag, 2));
    EXPECT_EQ("…" + flag, CutFront("abc" + flag, 3));
    // A woman, a joiner, a rocket: an astronaut, who may be shown as one of them or as both.
    const std::string astronaut = "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x9A\x80";
    EXPECT_EQ("…", CutFront("abc" + astronaut, 4));
    EXPECT_EQ("…" + astronaut, CutFront("abc" + astronaut, 5));
}

TEST(TextWidthTest, PadsByColumns) {
    EXPECT_EQ("日  ", PadRight("日", 4));
    EXPECT_EQ("  日", PadLeft("日", 4));
    EXPECT_EQ("abc", PadRight("abc", 2));
    EXPECT_EQ("abc", PadLeft("abc", 3));
}

}  // namespace
}  // namespace quillmark::cli
