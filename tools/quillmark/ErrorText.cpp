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

std::string GeneralReason(DWORD error) {
    if (error >= SERVER_ERROR_BASE && error < SERVER_ERROR_BASE + 7776) {
        return "the server refused with its error " + std::to_string(error - SERVER_ERROR_BASE);
    }
    return "the system reports an error";
}

}  // namespace

std::string ErrorReason(DWORD error) {
    const KnownError* known = FindKnown(error);
    return (known != nullptr ? std::string(known->reason) : GeneralReason(error)) + " (" + std::to_string(error) + ")";
}

std::string ErrorName(DWORD error) {
    const KnownError* known = FindKnown(error);
    return known != nullptr ? known->name : "";
}

std::string NextStep(DWORD error) {
    const KnownError* known = FindKnown(error);
    return known != nullptr ? known->nextStep : "";
}

std::string ErrorText(DWORD error) {
    std::string text = ErrorReason(error);
    if (const std::string name = ErrorName(error); !name.empty()) {
        text += " [" + name + "]";
    }
    if (const std::string step = NextStep(error); !step.empty()) {
        text += ". " + step;
    }
    return text;
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
