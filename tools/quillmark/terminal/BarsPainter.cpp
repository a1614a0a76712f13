#include "BarsPainter.h"

#include <algorithm>

#include "TextWidth.h"

namespace quillmark::cli {
namespace {

constexpr const char* ClearToEndOfLine = "\x1B[K";
constexpr const char* ClearBelow = "\x1B[J";

// A line break of the terminal, whatever its settings are.
std::string WithTerminalBreaks(const std::string& text) {
    std::string broken;
    for (const char unit : text) {
        broken += unit == '\n' ? "\r\n" : std::string(1, unit);
    }
    return broken + "\r\n";
}

}  // namespace

std::size_t BarsPainter::RowsAbove(TerminalSize size) const {
    if (size.columns >= m_columns) {
        return m_lines.size();
    }
    std::size_t rows = 0;
    for (const std::string& line : m_lines) {
        rows += std::max<std::size_t>(1, (Columns(line) + size.columns - 1) / size.columns);
    }
    return rows;
}

std::string BarsPainter::Frame(const std::vector<std::string>& texts, const std::vector<std::string>& lines,
                               TerminalSize size) {
    if (texts.empty() && lines == m_lines && (lines.empty() || size.columns == m_columns)) {
        return {};
    }
    std::string frame = "\r";
    if (const std::size_t rows = RowsAbove(size); rows != 0) {
        frame += "\x1B[" + std::to_string(rows) + "A";
    }
    if (!texts.empty()) {
        frame += ClearBelow;
    }
    for (const std::string& text : texts) {
        frame += WithTerminalBreaks(text);
    }
    for (const std::string& line : lines) {
        frame += line + ClearToEndOfLine + "\r\n";
    }
    m_lines = lines;
    m_columns = size.columns;
    return frame + ClearBelow;
}

}  // namespace quillmark::cli
