// PathUtilities: forms of Windows paths.
#pragma once

#include "quillmark/WideString.h"

namespace quillmark::PathUtilities {

// The path in its extended-length form, "\\?\C:\a" or "\\?\UNC\server\share\a", whose length the classic limit does not
// bound. A path in that form already, and one shorter than two characters, comes back as it is; so does one that is
// none of the forms that have an extended one (a relative path, a path with '/'), which is logged as an error.
// "\??\C:\a", the form of the system's object manager, is turned into "\\?\C:\a" by replacing every "??" in the path.
[[nodiscard]] WideString NormalizePath(const WideString& path);

}  // namespace quillmark::PathUtilities
