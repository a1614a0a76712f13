// How the file functions report: inside they return Windows error codes, at the border they set the last error.
#pragma once

#include <string>

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

// The Windows code for an errno value that has nothing to do with a path.
[[nodiscard]] DWORD ErrorFromErrno(int number);

// The Windows code for what happened to a path: ENOENT becomes ERROR_PATH_NOT_FOUND when the folder that the path names
// is itself missing, else ERROR_FILE_NOT_FOUND.
[[nodiscard]] DWORD ErrorForPath(int number, const std::string& path);

// The code for the exception that is being handled. No exception crosses an exported function.
[[nodiscard]] DWORD ErrorFromException() noexcept;

// Sets the last error (none for ERROR_SUCCESS) and tells whether the call succeeded.
BOOL Answer(DWORD code) noexcept;

// Runs the body of an exported function that has a code as result.
template <typename Body>
[[nodiscard]] DWORD CodeOf(Body&& body) noexcept {
    try {
        return body();
    } catch (...) {
        return ErrorFromException();
    }
}

}  // namespace quillmark::platform
