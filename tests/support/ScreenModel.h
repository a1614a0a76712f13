// ScreenModel: a small terminal without glass. It is given what a program writes and tells what a person would see.
//
// It knows characters of one and of two columns and marks without a column, line breaks, the breaking of lines that are
// too long, and the sequences that move the cursor and clear. A sequence that it does not know is kept for the test to
// complain about. Made narrower or wider it breaks its lines anew, as most terminals do.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::testing {

class ScreenModel {
public:
    ScreenModel(std::size_t columns, std::size_t rows);

    // May end in the middle of a character or of a sequence.
    void Write(std::string_view bytes);
    void Resize(std::size_t columns, std::size_t rows);

    // The rows of the screen down to the last one with anything on it, without the spaces at their ends.
    [[nodiscard]] std::vector<std::string> Rows() const;
    // The same with the rows that have left the screen at the top.
    [[nodiscard]] std::vector<std::string> AllRows() const;
    [[nodiscard]] std::size_t CursorRow() const { return m_row - m_top; }
    [[nodiscard]] std::size_t CursorColumn() const { return m_column; }
    [[nodiscard]] const std::vector<std::string>& UnknownSequences() const { return m_unknown; }

private:
    struct Cell {
        std::string text = " ";  // empty: the right half of the character before
    };
    struct Line {
        std::vector<Cell> cells;
        bool goesOn = false;  // the next line is its continuation
    };

    // The bytes of the next character or sequence at the start of m_input, 0 when it is not whole yet.
    [[nodiscard]] std::size_t NextLength() const;
    void Take(const std::string& piece);
    void Control(char unit);
    void Sequence(const std::string& sequence);
    void Put(const std::string& character);
    void LineFeed();
    void MoveTo(std::size_t row, std::size_t column);
    void ClearLine(std::size_t row, std::size_t first, std::size_t end);
    void ClearScreen(std::size_t how);
    Line& LineAt(std::size_t row);
    [[nodiscard]] static std::string TextOf(const Line& line);
    [[nodiscard]] std::vector<std::string> RowsFrom(std::size_t first) const;

    std::size_t m_columns;
    std::size_t m_rows;
    std::vector<Line> m_lines;  // with those that have left the screen
    std::size_t m_top = 0;      // the line that is the screen's first row
    std::size_t m_row = 0;      // the cursor's line
    std::size_t m_column = 0;   // the number of columns behind the last one: the next character breaks the line
    std::string m_input;
    std::vector<std::string> m_unknown;
};

}  // namespace quillmark::testing
