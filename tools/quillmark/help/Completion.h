// Completion of quillmark's command line in shells, out of its declarations. Paths on the server are completed by
// listing their folder with the login that the command line names, quietly.
//
// The three scripts know the same things and go the same way: they read the words before the cursor, skip the values of
// options, follow the commands, and count the arguments; that tells what the word at the cursor is.
#pragma once

#include <string>

#include "help/Declarations.h"

namespace quillmark::cli {

[[nodiscard]] std::string BashCompletion(const DeclaredCommand& program);
[[nodiscard]] std::string ZshCompletion(const DeclaredCommand& program);
[[nodiscard]] std::string FishCompletion(const DeclaredCommand& program);

// The text between single quotes, for any of the shells of the sh family.
[[nodiscard]] std::string ShellQuoted(const std::string& text);

// The text with a mark replaced wherever it stands.
[[nodiscard]] std::string Replaced(std::string text, const std::string& mark, const std::string& by);

// A script's text in which @LOGIN@ stands for the options that choose the login, which a question to the server has to
// pass on, and @QUIET@ for those that keep it short.
[[nodiscard]] std::string WithLogin(const std::string& text, const DeclaredCommand& program);

}  // namespace quillmark::cli
