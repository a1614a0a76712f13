// quillmark mkdir: makes folders on the server.
#include <memory>

#include "Client.h"
#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

// Goes on after a failure, as long as nobody interrupts.
ExitCode MakeFolders(Client& client, const std::vector<std::string>& paths) {
    std::size_t made = 0;
    DWORD firstError = ERROR_SUCCESS;
    for (const std::string& path : paths) {
        const WideString server = ServerPath(client.Options().Path(path));
        std::shared_ptr<IServerAttributes> folder;
        const DWORD error = client.Api().CreateFolder(server, folder, client.CancelEvent()).error;
        if (client.Options().Interrupted()) {
            throw Failure("cancelled", ExitCode::Cancelled);
        }
        if (error == ERROR_SUCCESS) {
            ++made;
            continue;
        }
        PrintError("quillmark: cannot make " + Printable(server) + ": " + ErrorText(error));
        firstError = firstError == ERROR_SUCCESS ? error : firstError;
    }
    const bool someFailed = firstError != ERROR_SUCCESS && made != 0;
    return someFailed ? ExitCode::SomeFailed : ExitCodeFor(firstError, false);
}

}  // namespace

void RegisterMkdir(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto paths = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("mkdir", "Make folders on the server");
    command->add_option("path", *paths, "The folders on the server")->required();
    command->callback([paths, &global, &action] {
        action = [paths, &global] {
            Client client(global);
            client.Resume();
            return MakeFolders(client, *paths);
        };
    });
}

}  // namespace quillmark::cli
