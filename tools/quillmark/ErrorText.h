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

// What went wrong, in words for a person, with the number: "the server has no such item (20404)".
[[nodiscard]] std::string ErrorReason(DWORD error);

// The number's name, "HTTP_STATUS_NOT_FOUND"; empty for one that has none.
[[nodiscard]] std::string ErrorName(DWORD error);

// Words of the caller's own with the number and its name: "the name is taken (183) [ERROR_ALREADY_EXISTS]".
[[nodiscard]] std::string WithNumber(const std::string& words, DWORD error);

// The reason, the number and its name: "the server has no such item (20404) [HTTP_STATUS_NOT_FOUND]".
[[nodiscard]] std::string NamedReason(DWORD error);

// What to do about it, a whole sentence; empty only for a cancelled one.
[[nodiscard]] std::string NextStep(DWORD error);

// The same for somebody who has asked 'quillmark doctor' already.
[[nodiscard]] std::string StepWithoutDoctor(DWORD error);

// All of them: "the server has no such item (20404) [HTTP_STATUS_NOT_FOUND]. Look with 'quillmark ls' at what is
// there."
[[nodiscard]] std::string ErrorText(DWORD error);

// The exit code for an operation that ended with this error. cancelled: the host's own cancel event was set.
[[nodiscard]] ExitCode ExitCodeFor(DWORD error, bool cancelled);

// A failure on its way to main(): what the user is told, and the exit code.
class Failure {
public:
    // An operation ended with an error; what: what was being done.
    Failure(const std::string& what, DWORD error)
        : m_sentence(what + ": " + ErrorText(error)), m_exit(ExitCodeFor(error, false)) {}
    // A failure that has no code; sentence: all that there is to say.
    Failure(std::string sentence, ExitCode exit) : m_sentence(std::move(sentence)), m_exit(exit) {}

    [[nodiscard]] const std::string& Sentence() const { return m_sentence; }
    [[nodiscard]] ExitCode Exit() const { return m_exit; }

private:
    std::string m_sentence;
    ExitCode m_exit;
};

}  // namespace quillmark::cli
