// What is said to a command line that is not understood.
#pragma once

#include <string>
#include <vector>

#include "help/Declarations.h"

namespace quillmark::cli {

// The word out of these that was probably meant: the one that the fewest slips of a finger away (a letter too many, too
// few, wrong, or two exchanged), if they are few for its length. Empty when there is none.
[[nodiscard]] std::string Nearest(const std::string& word, const std::vector<std::string>& known);

// "there is no command 'sl'; did you mean 'ls'?", for the command under which it was looked for.
[[nodiscard]] std::string NoSuchCommand(const DeclaredCommand& above, const std::string& word);

// The sentences for standard error, with a pointer to the help.
[[nodiscard]] std::string UsageError(const CLI::App& program, const CLI::Error& error);

}  // namespace quillmark::cli
