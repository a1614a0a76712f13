// What a terminal shows after the painter's frames.
#include <gtest/gtest.h>

#include "support/ScreenModel.h"
#include "terminal/BarsPainter.h"

namespace quillmark::cli {
namespace {

using testing::ScreenModel;
using Rows = std::vector<std::string>;

class BarsPainterTest : public ::testing::Test {
protected:
    BarsPainterTest() { m_screen.Write("$ quillmark put\r\n"); }

    void Frame(const Rows& texts, const Rows& lines) { m_screen.Write(m_painter.Frame(texts, lines, m_size)); }
    void Resize(std::size_t columns) {
        m_size.columns = columns;
        m_screen.Resize(columns, m_size.rows);
    }
    void Expect(const Rows& below) const {
        Rows rows = {"$ quillmark put"};
        rows.insert(rows.end(), below.begin(), below.end());
        EXPECT_EQ(rows, m_screen.AllRows());
        EXPECT_EQ(Rows{}, m_screen.UnknownSequences());
    }

    TerminalSize m_size{20, 6};
    ScreenModel m_screen{20, 6};
    BarsPainter m_painter;
};

TEST_F(BarsPainterTest, DrawsInOnePlace) {
    Frame({}, {"one 10%", "two 10%", "all 10%"});
    Expect({"one 10%", "two 10%", "all 10%"});
    Frame({}, {"one 20%", "two 5%", "all 12%"});
    Expect({"one 20%", "two 5%", "all 12%"});
    EXPECT_EQ(4u, m_screen.CursorRow());
    EXPECT_EQ(0u, m_screen.CursorColumn());
}

TEST_F(BarsPainterTest, LinesComeAndGo) {
    Frame({}, {"one", "all"});
    Frame({}, {"one", "two", "three", "all"});
    Expect({"one", "two", "three", "all"});
    Frame({}, {"all"});
    Expect({"all"});
    Frame({}, {});
    Expect({});
    EXPECT_EQ(1u, m_screen.CursorRow());
}

TEST_F(BarsPainterTest, TextsStayAbove) {
    Frame({"first note"}, {"one", "all"});
    Frame({"failed: a\nnext step", "failed: b"}, {"one", "all"});
    Expect({"first note", "failed: a", "next step", "failed: b", "one", "all"});
    Frame({"summary"}, {});
    Expect({"first note", "failed: a", "next step", "failed: b", "summary"});
}

TEST_F(BarsPainterTest, TextsMayBeLongerThanTheTerminalIsWide) {
    Frame({}, {"one", "all"});
    Frame({"a note of twenty-four columns"}, {"one", "all"});
    Expect({"a note of twenty-fou", "r columns", "one", "all"});
    Frame({}, {"two", "all"});
    Expect({"a note of twenty-fou", "r columns", "two", "all"});
}

TEST_F(BarsPainterTest, NothingIsWrittenWhenNothingChanges) {
    Frame({}, {"one", "all"});
    EXPECT_EQ("", m_painter.Frame({}, {"one", "all"}, m_size));
    EXPECT_NE("", m_painter.Frame({"note"}, {"one", "all"}, m_size));
}

TEST_F(BarsPainterTest, NothingIsWrittenWhenThereNeverWasALine) {
    EXPECT_EQ("", m_painter.Frame({}, {}, m_size));
}

TEST_F(BarsPainterTest, WhatTheTerminalEchoesBelowIsTakenAway) {
    Frame({}, {"one", "all"});
    m_screen.Write("^C");
    Expect({"one", "all", "^C"});
    Frame({"cancelled"}, {});
    Expect({"cancelled"});
}

TEST_F(BarsPainterTest, ATerminalMadeNarrowerLosesNothingAndKeepsNothing) {
    Frame({}, {"nineteen columns...", "short", "nineteen columns..."});
    Resize(10);
    Frame({}, {"nine c...", "short", "nine c..."});
    EXPECT_EQ((Rows{"$ quillmar", "k put", "nine c...", "short", "nine c..."}), m_screen.AllRows());
    Frame({}, {});
    EXPECT_EQ((Rows{"$ quillmar", "k put"}), m_screen.AllRows());
}

TEST_F(BarsPainterTest, ATerminalMadeWiderKeepsItsLines) {
    Frame({}, {"nineteen columns...", "all"});
    Resize(40);
    Frame({}, {"nineteen columns and more", "all"});
    Expect({"nineteen columns and more", "all"});
}

TEST_F(BarsPainterTest, RowsThatLeaveAtTheTopStayAsTheyWere) {
    for (int count = 1; count <= 10; ++count) {
        Frame({"note " + std::to_string(count)}, {"one", "two", "all"});
    }
    Expect({"note 1", "note 2", "note 3", "note 4", "note 5", "note 6", "note 7", "note 8", "note 9", "note 10", "one",
            "two", "all"});
}

}  // namespace
}  // namespace quillmark::cli
