// Commands that do the same to several things: they go on after a failure, as long as nobody interrupts.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Client.h"

namespace quillmark::cli {

// Runs the step for each of the names, with its place among them, and says of each that failed: "quillmark: cannot
// DOING NAME: ...". The exit code is the first failure's when all failed. Throws Failure after an interruption, with
// what is left.
[[nodiscard]] ExitCode ForEachNamed(const GlobalOptions& options, const std::vector<std::string>& names,
                                    const std::string& doing, const std::function<DWORD(std::size_t place)>& step);

// The same for server paths as they stand on the command line.
[[nodiscard]] ExitCode ForEachServerPath(Client& client, const std::vector<std::string>& paths,
                                         const std::string& doing,
                                         const std::function<DWORD(const WideString& server)>& step);

// The same for changes, which are silent to a person; with --json, an object with the path of each that is done.
[[nodiscard]] ExitCode ChangeEachServerPath(Client& client, const std::vector<std::string>& paths,
                                            const std::string& doing,
                                            const std::function<DWORD(const WideString& server)>& step);

}  // namespace quillmark::cli
