// The terminal without glass that other suites look at.
#include <gtest/gtest.h>

#include "support/ScreenModel.h"

namespace quillmark::testing {
namespace {

using Rows = std::vector<std::string>;

TEST(ScreenModelTest, ShowsLinesOneBelowTheOther) {
    ScreenModel screen(10, 4);
    screen.Write("one\r\ntwo");
    EXPECT_EQ((Rows{"one", "two"}), screen.Rows());
    EXPECT_EQ(1u, screen.CursorRow());
    EXPECT_EQ(3u, screen.CursorColumn());
}

TEST(ScreenModelTest, ALineFeedAloneKeepsTheColumn) {
    ScreenModel screen(10, 4);
    screen.Write("one\ntwo");
    EXPECT_EQ((Rows{"one", "   two"}), screen.Rows());
}

TEST(ScreenModelTest, BreaksALineOnlyWhenAnotherCharacterComes) {
    ScreenModel screen(3, 4);
    screen.Write("abc");
    EXPECT_EQ(0u, screen.CursorRow());
    screen.Write("\r\nd");
    EXPECT_EQ((Rows{"abc", "d"}), screen.Rows());
    screen.Write("efg");
    EXPECT_EQ((Rows{"abc", "def", "g"}), screen.Rows());
}

TEST(ScreenModelTest, RowsLeaveAtTheTop) {
    ScreenModel screen(10, 2);
    screen.Write("one\r\ntwo\r\nthree");
    EXPECT_EQ((Rows{"two", "three"}), screen.Rows());
    EXPECT_EQ((Rows{"one", "two", "three"}), screen.AllRows());
}

TEST(ScreenModelTest, MovesAndClears) {
    ScreenModel screen(10, 4);
    screen.Write("first\r\nsecond\r\nthird\r\n");
    screen.Write("\x1B[2Anew\x1B[K");
    EXPECT_EQ((Rows{"first", "new", "third"}), screen.Rows());
    screen.Write("\r\x1B[J");
    EXPECT_EQ((Rows{"first"}), screen.Rows());
    screen.Write("\x1B[9Ax\x1B[2Cy\x1B[4Dz");
    EXPECT_EQ((Rows{"ziryt"}), screen.Rows());
    EXPECT_TRUE(screen.UnknownSequences().empty());
}

TEST(ScreenModelTest, WideCharactersTakeTwoColumnsAndMarksNone) {
    ScreenModel screen(5, 4);
    screen.Write("日本");
    EXPECT_EQ(4u, screen.CursorColumn());
    screen.Write("語");  // does not fit into the one column that is left
    EXPECT_EQ((Rows{"日本", "語"}), screen.Rows());
    screen.Write("\r\ne\xCC\x81!");
    EXPECT_EQ(2u, screen.CursorColumn());
    EXPECT_EQ("e\xCC\x81!", screen.Rows()[2]);
}

TEST(ScreenModelTest, HalfAWideCharacterIsNone) {
    ScreenModel screen(10, 4);
    screen.Write("日本\r\x1B[Cx");
    EXPECT_EQ((Rows{" x本"}), screen.Rows());
}

TEST(ScreenModelTest, TakesPiecesOfCharactersAndSequences) {
    ScreenModel screen(10, 4);
    screen.Write("ab\xE6\x97");
    screen.Write("\xA5\x1B");
    screen.Write("[");
    screen.Write("4D");
    screen.Write("x");
    EXPECT_EQ((Rows{"xb日"}), screen.Rows());
}

TEST(ScreenModelTest, KeepsWhatItDoesNotKnow) {
    ScreenModel screen(10, 4);
    screen.Write("a\x1B[?25lb\x1B[5Z\x1B[1;31mc");
    EXPECT_EQ((Rows{"\x1B[?25l", "\x1B[5Z", "\x1B[1;31m"}), screen.UnknownSequences());
    EXPECT_EQ((Rows{"abc"}), screen.Rows());
}

TEST(ScreenModelTest, MadeNarrowerItBreaksItsLinesAnewAndJoinsThemAgain) {
    ScreenModel screen(8, 5);
    screen.Write("12345678\r\nab\r\n");
    screen.Resize(5, 5);
    EXPECT_EQ((Rows{"12345", "678", "ab"}), screen.Rows());
    EXPECT_EQ(3u, screen.CursorRow());
    screen.Resize(8, 5);
    EXPECT_EQ((Rows{"12345678", "ab"}), screen.Rows());
    EXPECT_EQ(2u, screen.CursorRow());
}

}  // namespace
}  // namespace quillmark::testing
