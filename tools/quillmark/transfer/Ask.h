// A question to the person at the terminal.
#pragma once

#include <string>

#include "quillmark/Platform.h"

namespace quillmark::cli {

// Shows the question on standard error and reads a line of standard input. False when there is none, or when the
// interrupt event is set first.
[[nodiscard]] bool AskLine(const std::string& question, HANDLE interrupt, std::string& answer);

}  // namespace quillmark::cli
