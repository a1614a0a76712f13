// The terminal that the program runs on, if it does. These are the calls of the system that the views need.
#pragma once

#include <cstddef>
#include <string>

namespace quillmark::cli {

struct TerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

// Whether standard output goes to a terminal.
[[nodiscard]] bool IsOutputTerminal();

// Whether standard error goes to a terminal that moves its cursor on request. On Windows the console is switched to
// that for the rest of the program.
[[nodiscard]] bool CanRedraw();

// How large the terminal of standard error is now; 80 by 24 when it does not tell.
[[nodiscard]] TerminalSize SizeOfTerminal();

// Writes to the terminal of standard error, in one go. What cannot be written is lost.
void WriteToTerminal(const std::string& text);

}  // namespace quillmark::cli
