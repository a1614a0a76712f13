// What can be wrong between this computer and a server, looked at one thing after the other.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Client.h"
#include "quillmark/AttributeTime.h"

namespace quillmark::cli {

enum class Health { Good, Doubtful, Bad, NotChecked };

struct Finding {
    const char* check;  // "certificate"
    Health health = Health::Good;
    std::string text;      // what was found, or what is wrong
    std::string nextStep;  // for Doubtful and Bad, a whole sentence
    DWORD error = ERROR_SUCCESS;
    ExitCode exit = ExitCode::Success;  // of Bad
};

// The parts of a discovery's outcome, each for itself: what a failed request says of the name, the port and the
// certificate. answered: a reply has come.
[[nodiscard]] Finding NameFinding(const std::string& server, DWORD error, bool proxy);
[[nodiscard]] Finding PortFinding(const std::string& server, DWORD error, bool answered, bool proxy);
[[nodiscard]] Finding CertificateFinding(const std::string& server, DWORD error, bool answered);
// Of a certificate that is trusted: warns when it ends soon.
[[nodiscard]] Finding ValidityFinding(const CAttributeTime& end, const CAttributeTime& now);
[[nodiscard]] Finding ClockFinding(std::optional<std::int64_t> ahead);

// Looks at everything and tells each finding as soon as it is there. session: to be tried out, may be null. Throws
// Failure for what is no finding: a server address that is none, an interruption.
void Examine(const GlobalOptions& options, const std::string& server, const StoredSession* session,
             const std::function<void(const Finding&)>& tell);

}  // namespace quillmark::cli
