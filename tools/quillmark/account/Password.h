// Where a password comes from: --password-file (a file, or standard input), the variable QUILLMARK_PASSWORD, or the
// person at the terminal. Never an argument: those are seen by everybody on the computer.
#pragma once

#include <optional>
#include <string>

#include "Client.h"

namespace quillmark::cli {

// The first line of standard input, without its end and whatever it holds; what follows stays for the command. Throws
// Failure after an interruption.
[[nodiscard]] std::string ReadPasswordLine(HANDLE interrupt);

// The password that is there without asking anybody. Throws Failure when the file that was named cannot be read
// or has none.
[[nodiscard]] std::optional<std::string> PasswordAtHand(const GlobalOptions& options);

// The same, or else the answer of the person at the terminal. Throws Failure when there is none,
// and after an interruption.
[[nodiscard]] std::string RequirePassword(const GlobalOptions& options, const std::string& user);

}  // namespace quillmark::cli
