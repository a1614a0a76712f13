// BarsPainter: turns lines that change into what a terminal has to be sent, so that they stand in one place and what is
// said for good stands above them.
//
// After a frame the cursor waits on a row of its own below the lines: what the terminal echoes there (^C) breaks none
// of them, and what is printed there when the program is ended at once begins on a clean row.
//
// When the terminal was made narrower meanwhile, the lines are taken to have been broken into the new width, as most
// terminals do.
#pragma once

#include <string>
#include <vector>

#include "Terminal.h"

namespace quillmark::cli {

class BarsPainter {
public:
    // Takes the last frame's lines away, writes the texts, which stay, and then these lines. Each line is narrower than
    // the terminal. Empty when nothing changes.
    [[nodiscard]] std::string Frame(const std::vector<std::string>& texts, const std::vector<std::string>& lines,
                                    TerminalSize size);

private:
    // Rows from the last frame's first one to the cursor.
    [[nodiscard]] std::size_t RowsAbove(TerminalSize size) const;

    std::vector<std::string> m_lines;  // of the last frame
    std::size_t m_columns = 0;         // of the terminal then
};

}  // namespace quillmark::cli
