// Patterns that users write for names.
#pragma once

#include "quillmark/WideString.h"

namespace quillmark::cli {

// Whether the pattern stands for the whole name: "*" is any text, "?" any one character, "[a-z0]" one out of these,
// "[!a-z]" one that is not among them; a backslash takes away the meaning of what follows it, in a set as well. Letter
// case counts. A "[" that nothing closes stands for itself. Characters beyond the 16-bit plane are one character.
[[nodiscard]] bool GlobMatches(const WideString& pattern, const WideString& name);

}  // namespace quillmark::cli
