// quillmark mkdir: makes folders on the server.
#include <memory>

#include "Client.h"
#include "Paths.h"

namespace quillmark::cli {

void RegisterMkdir(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto paths = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("mkdir", "Make folders on the server");
    command->add_option("path", *paths, "The folders on the server")->required();
    command->callback([paths, &global, &action] {
        action = [paths, &global] {
            Client client(global);
            client.Resume();
            for (const std::string& path : *paths) {
                const WideString server = ServerPath(global.Path(path));
                std::shared_ptr<IServerAttributes> folder;
                Require(client.Api().CreateFolder(server, folder, client.CancelEvent()),
                        "cannot make " + Printable(server));
            }
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
