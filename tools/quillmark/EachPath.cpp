#include "EachPath.h"

#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

// What an interruption left, from this one on. The first of them may have been done all the same: its answer did not
// come any more.
[[noreturn]] void Leave(const Client& client, const std::vector<std::string>& paths, std::size_t first) {
    constexpr std::size_t MostNames = 10;
    std::string left;
    for (std::size_t index = first; index < paths.size() && index < first + MostNames; ++index) {
        left += (left.empty() ? "" : ", ") + Printable(ServerPath(client.Options().Path(paths[index])));
    }
    if (paths.size() - first > MostNames) {
        left += " and " + std::to_string(paths.size() - first - MostNames) + " more";
    }
    throw Failure("cancelled after " + std::to_string(first) + " of " + std::to_string(paths.size()) +
                      "; repeat the command for " + left,
                  ExitCode::Cancelled);
}

}  // namespace

ExitCode ForEachServerPath(Client& client, const std::vector<std::string>& paths, const std::string& doing,
                           const std::function<DWORD(const WideString& server)>& step) {
    std::size_t done = 0;
    DWORD firstError = ERROR_SUCCESS;
    for (std::size_t index = 0; index < paths.size(); ++index) {
        const WideString server = ServerPath(client.Options().Path(paths[index]));
        const DWORD error = step(server);
        const std::size_t next = error == ERROR_SUCCESS ? index + 1 : index;
        if (client.Options().Interrupted() && next < paths.size()) {
            Leave(client, paths, next);
        }
        if (error == ERROR_SUCCESS) {
            ++done;
            continue;
        }
        PrintError("quillmark: cannot " + doing + " " + Printable(server) + ": " + ErrorText(error));
        firstError = firstError == ERROR_SUCCESS ? error : firstError;
    }
    const bool someFailed = firstError != ERROR_SUCCESS && done != 0;
    return someFailed ? ExitCode::SomeFailed : ExitCodeFor(firstError, false);
}

}  // namespace quillmark::cli
