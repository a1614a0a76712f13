// What --help prints: usage, commands in their groups, arguments, options, examples, filled to the terminal's width.
// One text for the program and for every command, out of the declarations.
#pragma once

#include <string>

#include "help/Declarations.h"

namespace quillmark::cli {

// How wide a help text is: as the terminal, at most 100 columns; 80 where standard output is none.
[[nodiscard]] std::size_t HelpWidth();

// A command's help. The options that all commands share are told in the program's own. Lines of examples are never
// broken: they can be copied as they stand.
[[nodiscard]] std::string HelpText(const DeclaredCommand& command, std::size_t width);

// For one who named no command: usage, and the commands by their names only.
[[nodiscard]] std::string ShortHelp(const DeclaredCommand& command, std::size_t width);

// Has the parser print these texts, for the program and for the commands that are added from here on.
void UseHelpTexts(CLI::App& program);

}  // namespace quillmark::cli
