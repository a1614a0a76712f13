// The man page, out of the declarations of the command line.
#pragma once

#include <string>

#include "help/Declarations.h"

namespace quillmark::cli {

// Source for man, section 1. version: "quillmark 1.2.3".
[[nodiscard]] std::string ManPage(const DeclaredCommand& program, const std::string& version);

}  // namespace quillmark::cli
