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

// The status of a reply that neither carries out nor refuses a request, a redirection above all.
bool IsAnswerOfAnotherKind(DWORD error) {
    return error >= FirstStatus && error < FirstRefusal;
}

// For what has no words of its own.
std::string GeneralReason(DWORD error) {
    if (error < SERVER_ERROR_BASE || error >= BehindServerErrors) {
        return "the system reports an error";
    }
    const std::string number = std::to_string(error - SERVER_ERROR_BASE);
    if (error < FirstStatus || error >= BehindStatuses) {
        return "the server refused with its error " + number;
    }
    return IsAnswerOfAnotherKind(error) ? "the server did not answer the request, but with HTTP status " + number
                                        : "the server refused with HTTP status " + number;
}

std::string Words(DWORD error) {
    const KnownError* known = FindKnown(error);
    return known != nullptr ? known->reason : GeneralReason(error);
}

const char* GeneralStep(DWORD error) {
    if (error < SERVER_ERROR_BASE || error >= BehindServerErrors) {
        return "Write a log with --log FILE and report it.";
    }
    return IsAnswerOfAnotherKind(error) ? "Check the address." : "Tell the server's administrator.";
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

std::string StepWithoutDoctor(DWORD error) {
    const KnownError* known = FindKnown(error);
    return known != nullptr ? known->nextStep : GeneralStep(error);
}

std::string NextStep(DWORD error) {
    const KnownError* known = FindKnown(error);
    std::string step = StepWithoutDoctor(error);
    if (known != nullptr ? known->doctorHelps : IsAnswerOfAnotherKind(error)) {
        step.replace(step.size() - 1, 1, "; 'quillmark doctor' looks closer.");
    }
    return step;
}

std::string NamedReason(DWORD error) {
    return WithNumber(Words(error), error);
}

std::string ErrorText(DWORD error) {
    const std::string step = NextStep(error);
    return NamedReason(error) + (step.empty() ? "" : ". " + step);
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
