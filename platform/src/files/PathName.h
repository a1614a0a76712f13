// Paths as callers give them, made ready for POSIX calls.
#pragma once

#include <string>

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

// The bytes of a null-terminated path. ERROR_PATH_NOT_FOUND for a null or empty one, ERROR_INVALID_NAME for one that
// no file system name can be.
[[nodiscard]] DWORD PathBytes(LPCWSTR path, std::string& bytes);

// Copies text and terminating null to a caller's buffer of that many characters. Returns the length without the null,
// or, when the buffer is null or too small, the size needed with it: how the Get...PathW functions answer.
[[nodiscard]] DWORD CopyText(const std::u16string& text, DWORD capacity, LPWSTR buffer);

}  // namespace quillmark::platform
