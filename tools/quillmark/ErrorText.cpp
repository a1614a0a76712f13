#include "ErrorText.h"

#include <algorithm>

#include "ErrorTable.h"

namespace quillmark::cli {
namespace {

const KnownError* FindKnown(DWORD error) {
    const std::span<const KnownError> all = KnownErrors();
    const auto found = std::lower_bound(all.begin(), all.end(), error,
                                        [](const KnownError& known, DWORD wanted) { return known.error < wanted; });
    return found != all.end() && found->error == error ? &*found : nullptr;
}

constexpr DWORD FirstStatus = SERVER_ERROR_BASE + 100;
constexpr DWORD FirstRefusal = SERVER_ERROR_BASE + 400;
constexpr DWORD BehindStatuses = SERVER_ERROR_BASE + 600;
constexpr DWORD BehindServerErrors = SERVER_ERROR_BASE + 7776;

// For what has no words of its own.
std::string GeneralReason(DWORD error) {
    if (error < SERVER_ERROR_BASE || error >= BehindServerErrors) {
        return "the system reports an error";
    }
    const std::string number = std::to_string(error - SERVER_ERROR_BASE);
    if (error < FirstStatus || error >= BehindStatuses) {
        return "the server refused with its error " + number;
    }
    return error < FirstRefusal ? "the server did not answer the request, but with HTTP status " + number
                                : "the server refused with HTTP status " + number;
}

std::string Words(DWORD error) {
    const KnownError* known = FindKnown(error);
    return known != nullptr ? known->reason : GeneralReason(error);
}

std::string GeneralStep(DWORD error) {
    if (error < SERVER_ERROR_BASE || error >= BehindServerErrors) {
        return "Write a log with --log FILE and report it.";
    }
    return error >= FirstStatus && error < FirstRefusal ? "Check the address; 'quillmark doctor' looks closer."
                                                        : "Tell the server's administrator.";
}

}  // namespace

std::string ErrorReason(DWORD error) {
    return Words(error) + " (" + std::to_string(error) + ")";
}

std::string WithNumber(const std::string& words, DWORD error) {
    const std::string name = ErrorName(error);
    return words + " (" + std::to_string(error) + ")" + (name.empty() ? "" : " [" + name + "]");
}

std::string ErrorName(DWORD error) {
    const KnownError* known = FindKnown(error);
    return known != nullptr ? known->name : "";
}

std::string NextStep(DWORD error) {
    const KnownError* known = FindKnown(error);
    return known != nullptr ? std::string(known->nextStep) : GeneralStep(error);
}

std::string ErrorText(DWORD error) {
    const std::string step = NextStep(error);
    return WithNumber(Words(error), error) + (step.empty() ? "" : ". " + step);
}

ExitCode ExitCodeFor(DWORD error, bool cancelled) {
    if (error == ERROR_SUCCESS) {
        return ExitCode::Success;
    }
    if (cancelled) {
        return ExitCode::Cancelled;
    }
    const KnownError* known = FindKnown(error);
    return known != nullptr ? known->exit : ExitCode::SomeFailed;
}

}  // namespace quillmark::cli
