#include "support/ScreenModel.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace quillmark::testing {
namespace {

constexpr char Escape = '\x1B';

std::uint32_t CodeOf(const std::string& character) {
    const auto lead = static_cast<unsigned char>(character[0]);
    if (lead < 0x80) {
        return lead;
    }
    std::uint32_t code = lead & (0xFFU >> (character.size() + 1));
    for (std::size_t index = 1; index < character.size(); ++index) {
        code = code << 6 | (static_cast<unsigned char>(character[index]) & 0x3FU);
    }
    return code;
}

// What the tests write: not Unicode's whole table, and not the program's.
std::size_t WidthOf(std::uint32_t code) {
    const auto within = [code](std::uint32_t first, std::uint32_t last) { return code >= first && code <= last; };
    if (within(0x300, 0x36F) || within(0x200B, 0x200F) || within(0xFE00, 0xFE0F)) {
        return 0;
    }
    const bool wide = within(0x1100, 0x115F) || within(0x2E80, 0xA4CF) || within(0xAC00, 0xD7A3) ||
                      within(0xF900, 0xFAFF) || within(0xFE30, 0xFE6F) || within(0xFF00, 0xFF60) ||
                      within(0x1F300, 0x1FAFF);
    return wide ? 2 : 1;
}

}  // namespace

ScreenModel::ScreenModel(std::size_t columns, std::size_t rows) : m_columns(columns), m_rows(rows) {
    m_lines.resize(1);
}

void ScreenModel::Write(std::string_view bytes) {
    m_input += bytes;
    for (std::size_t length = NextLength(); length != 0; length = NextLength()) {
        const std::string piece = m_input.substr(0, length);
        m_input.erase(0, length);
        Take(piece);
    }
}

std::size_t ScreenModel::NextLength() const {
    if (m_input.empty()) {
        return 0;
    }
    if (m_input[0] != Escape) {
        const auto lead = static_cast<unsigned char>(m_input[0]);
        const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
        return m_input.size() >= length ? length : 0;
    }
    if (m_input.size() < 2) {
        return 0;
    }
    if (m_input[1] != '[') {
        return 2;
    }
    const auto end = std::find_if(m_input.begin() + 2, m_input.end(), [](char unit) { return unit >= '@'; });
    return end == m_input.end() ? 0 : static_cast<std::size_t>(end - m_input.begin()) + 1;
}

void ScreenModel::Take(const std::string& piece) {
    if (piece[0] == Escape) {
        Sequence(piece);
    } else if (static_cast<unsigned char>(piece[0]) < 0x20) {
        Control(piece[0]);
    } else {
        Put(piece);
    }
}

void ScreenModel::Control(char unit) {
    switch (unit) {
        case '\r':
            m_column = 0;
            break;
        case '\n':
            LineFeed();
            break;
        case '\b':
            m_column -= m_column > 0 ? 1 : 0;
            break;
        case '\a':
            break;
        default:
            m_unknown.emplace_back(1, unit);
    }
}

void ScreenModel::Sequence(const std::string& sequence) {
    const char kind = sequence.back();
    const std::string number = sequence.size() > 3 ? sequence.substr(2, sequence.size() - 3) : "";
    const bool plain = number.find_first_not_of("0123456789") == std::string::npos;
    const auto value = static_cast<std::size_t>(std::strtoul(number.c_str(), nullptr, 10));
    const std::size_t count = std::max<std::size_t>(value, 1);
    if (sequence.size() < 3 || !plain) {
        m_unknown.push_back(sequence);
    } else if (kind == 'A') {
        MoveTo(m_row - std::min(count, CursorRow()), m_column);
    } else if (kind == 'B') {
        MoveTo(std::min(m_row + count, m_top + m_rows - 1), m_column);
    } else if (kind == 'C') {
        MoveTo(m_row, std::min(m_column + count, m_columns - 1));
    } else if (kind == 'D') {
        MoveTo(m_row, m_column - std::min(count, m_column));
    } else if (kind == 'G') {
        MoveTo(m_row, std::min(count, m_columns) - 1);
    } else if (kind == 'H' && number.empty()) {
        MoveTo(m_top, 0);
    } else if (kind == 'J' && (value == 0 || value == 2)) {
        ClearScreen(value);
    } else if (kind == 'K' && value <= 2) {
        ClearLine(m_row, value == 0 ? m_column : 0, value == 1 ? m_column + 1 : m_columns);
    } else if (kind != 'm') {
        m_unknown.push_back(sequence);
    }
}

ScreenModel::Line& ScreenModel::LineAt(std::size_t row) {
    if (m_lines.size() <= row) {
        m_lines.resize(row + 1);
    }
    return m_lines[row];
}

void ScreenModel::MoveTo(std::size_t row, std::size_t column) {
    m_row = row;
    m_column = column;
}

void ScreenModel::LineFeed() {
    ++m_row;
    m_top = std::max(m_top, m_row + 1 > m_rows ? m_row + 1 - m_rows : 0);
}

void ScreenModel::Put(const std::string& character) {
    const std::size_t width = WidthOf(CodeOf(character));
    if (width == 0) {
        std::vector<Cell>& cells = LineAt(m_row).cells;
        std::size_t place = std::min(m_column, cells.size());
        while (place > 0 && cells[place - 1].text.empty()) {
            --place;
        }
        if (place > 0) {
            cells[place - 1].text += character;
        }
        return;
    }
    if (m_column + width > m_columns) {
        LineAt(m_row).goesOn = true;
        LineFeed();
        m_column = 0;
    }
    std::vector<Cell>& cells = LineAt(m_row).cells;
    if (cells.size() < m_column + width) {
        cells.resize(m_column + width);
    }
    // Half a wide character is none.
    if (cells[m_column].text.empty()) {
        cells[m_column - 1].text = " ";
    }
    if (m_column + width < cells.size() && cells[m_column + width].text.empty()) {
        cells[m_column + width].text = " ";
    }
    cells[m_column].text = character;
    if (width == 2) {
        cells[m_column + 1].text.clear();
    }
    m_column += width;
}

void ScreenModel::ClearLine(std::size_t row, std::size_t first, std::size_t end) {
    Line& line = LineAt(row);
    if (end >= line.cells.size()) {
        line.cells.resize(std::min(first, line.cells.size()));
        line.goesOn = false;
    } else {
        std::fill(line.cells.begin() + static_cast<std::ptrdiff_t>(first),
                  line.cells.begin() + static_cast<std::ptrdiff_t>(end), Cell());
    }
}

void ScreenModel::ClearScreen(std::size_t how) {
    ClearLine(m_row, how == 2 ? 0 : m_column, m_columns);
    m_lines.resize(m_row + 1);
    for (std::size_t row = m_top; how == 2 && row < m_row; ++row) {
        ClearLine(row, 0, m_columns);
    }
}

void ScreenModel::Resize(std::size_t columns, std::size_t rows) {
    const std::vector<Line> before = std::exchange(m_lines, {});
    const std::size_t cursorRow = m_row;
    const std::size_t cursorColumn = m_column;
    m_columns = columns;
    m_rows = rows;
    bool goesOn = false;
    for (std::size_t row = 0; row < std::max(before.size(), cursorRow + 1); ++row) {
        const Line line = row < before.size() ? before[row] : Line();
        if (!goesOn) {
            m_lines.emplace_back();
        }
        for (std::size_t index = 0; index < line.cells.size(); ++index) {
            const bool wide = index + 1 < line.cells.size() && line.cells[index + 1].text.empty();
            if (m_lines.back().cells.size() + (wide ? 2 : 1) > columns && !line.cells[index].text.empty()) {
                m_lines.back().goesOn = true;
                m_lines.emplace_back();
            }
            m_lines.back().cells.push_back(line.cells[index]);
        }
        goesOn = line.goesOn;
        if (row == cursorRow) {
            m_row = m_lines.size() - 1;
            m_column = std::min(cursorColumn, columns);
        }
    }
    m_top = m_row + 1 > rows ? m_row + 1 - rows : 0;
}

std::string ScreenModel::TextOf(const Line& line) {
    std::string text;
    for (const Cell& cell : line.cells) {
        text += cell.text;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::vector<std::string> ScreenModel::RowsFrom(std::size_t first) const {
    std::vector<std::string> rows;
    for (std::size_t row = first; row < m_lines.size(); ++row) {
        rows.push_back(TextOf(m_lines[row]));
    }
    while (!rows.empty() && rows.back().empty()) {
        rows.pop_back();
    }
    return rows;
}

std::vector<std::string> ScreenModel::Rows() const {
    return RowsFrom(m_top);
}

std::vector<std::string> ScreenModel::AllRows() const {
    return RowsFrom(0);
}

}  // namespace quillmark::testing
