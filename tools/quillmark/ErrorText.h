// What the host program says about a failure, and the exit code that it ends with.
#pragma once

#include <string>

#include "quillmark/HttpApi.h"

namespace quillmark::cli {

// Stable; scripts rely on them.
enum class ExitCode : int {
    Success = 0,
    SomeFailed = 1,
    Usage = 2,
    CannotConnect = 3,
    NotLoggedIn = 4,
    NotFound = 5,
    Conflict = 6,
    Cancelled = 7,
    LocalFile = 8,
    InvalidReply = 9,
};

// A sentence for a person, with the number at its end: "the server does not know this item (20404)".
[[nodiscard]] std::string ErrorText(DWORD error);

// The exit code for an operation that ended with this error. cancelled: the host's own cancel event was set.
[[nodiscard]] ExitCode ExitCodeFor(DWORD error, bool cancelled);

// A failure on its way to main(): what was being done, and the code.
class Failure {
public:
    Failure(std::string what, DWORD error) : m_what(std::move(what)), m_error(error) {}
    [[nodiscard]] const std::string& What() const { return m_what; }
    [[nodiscard]] DWORD Error() const { return m_error; }

private:
    std::string m_what;
    DWORD m_error;
};

}  // namespace quillmark::cli
