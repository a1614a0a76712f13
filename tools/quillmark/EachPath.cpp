#include "EachPath.h"

#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {

ExitCode ForEachServerPath(Client& client, const std::vector<std::string>& paths, const std::string& doing,
                           const std::function<DWORD(const WideString& server)>& step) {
    std::size_t done = 0;
    DWORD firstError = ERROR_SUCCESS;
    for (const std::string& path : paths) {
        const WideString server = ServerPath(client.Options().Path(path));
        const DWORD error = step(server);
        if (client.Options().Interrupted()) {
            throw Failure("cancelled", ExitCode::Cancelled);
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
