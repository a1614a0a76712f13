// Commands that do the same to several server paths: they go on after a failure, as long as nobody interrupts.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Client.h"

namespace quillmark::cli {

// Runs the step for each path and says of each that failed: "quillmark: cannot DOING /path: ...". The exit code is the
// first failure's when all failed.
[[nodiscard]] ExitCode ForEachServerPath(Client& client, const std::vector<std::string>& paths,
                                         const std::string& doing,
                                         const std::function<DWORD(const WideString& server)>& step);

}  // namespace quillmark::cli
