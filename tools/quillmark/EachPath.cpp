#include "EachPath.h"

#include <algorithm>

#include "Json.h"
#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

// What an interruption left, from this one on. The first of them may have been done all the same: its answer did not
// come any more.
[[noreturn]] void Leave(const std::vector<std::string>& names, std::size_t first) {
    constexpr std::size_t MostNames = 10;
    std::string left;
    for (std::size_t index = first; index < names.size() && index < first + MostNames; ++index) {
        left += (left.empty() ? "" : ", ") + names[index];
    }
    if (names.size() - first > MostNames) {
        left += " and " + std::to_string(names.size() - first - MostNames) + " more";
    }
    throw Failure("cancelled after " + std::to_string(first) + " of " + std::to_string(names.size()) +
                      "; repeat the command for " + left,
                  ExitCode::Cancelled);
}

}  // namespace

ExitCode ForEachNamed(const GlobalOptions& options, const std::vector<std::string>& names, const std::string& doing,
                      const std::function<DWORD(std::size_t)>& step) {
    std::size_t done = 0;
    DWORD firstError = ERROR_SUCCESS;
    for (std::size_t index = 0; index < names.size(); ++index) {
        const DWORD error = step(index);
        const std::size_t next = error == ERROR_SUCCESS ? index + 1 : index;
        if (options.Interrupted() && next < names.size()) {
            Leave(names, next);
        }
        if (error == ERROR_SUCCESS) {
            ++done;
            continue;
        }
        PrintError("quillmark: cannot " + doing + " " + names[index] + ": " + ErrorText(error));
        firstError = firstError == ERROR_SUCCESS ? error : firstError;
    }
    const bool someFailed = firstError != ERROR_SUCCESS && done != 0;
    return someFailed ? ExitCode::SomeFailed : ExitCodeFor(firstError, false);
}

ExitCode ForEachServerPath(Client& client, const std::vector<std::string>& paths, const std::string& doing,
                           const std::function<DWORD(const WideString& server)>& step) {
    std::vector<WideString> servers(paths.size());
    std::transform(paths.begin(), paths.end(), servers.begin(),
                   [&](const std::string& path) { return ServerPath(client.Options().Path(path)); });
    std::vector<std::string> names(paths.size());
    std::transform(servers.begin(), servers.end(), names.begin(),
                   [](const WideString& server) { return Printable(server); });
    return ForEachNamed(client.Options(), names, doing, [&](std::size_t place) { return step(servers[place]); });
}

ExitCode ChangeEachServerPath(Client& client, const std::vector<std::string>& paths, const std::string& doing,
                              const std::function<DWORD(const WideString& server)>& step) {
    return ForEachServerPath(client, paths, doing, [&](const WideString& server) {
        const DWORD error = step(server);
        if (error == ERROR_SUCCESS) {
            PrintForPrograms(client.Options(), JsonObject().Add("path", server));
        }
        return error;
    });
}

}  // namespace quillmark::cli
