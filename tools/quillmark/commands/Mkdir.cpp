// quillmark mkdir: makes folders on the server.
#include <memory>

#include "EachPath.h"
#include "Once.h"
#include "commands/Commands.h"

namespace quillmark::cli {

void RegisterMkdir(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto paths = std::make_shared<std::vector<std::string>>();
    const auto parents = std::make_shared<bool>(false);
    CLI::App* command = program.add_subcommand("mkdir", "Make folders on the server");
    SetCompletion(*command->add_option("path", *paths, "The folders on the server")->required(), Completes::ServerPath);
    command->add_flag("-p,--parents", *parents, "Those above them as well; a folder that is there already is in order");
    AddExamples(*command, {{"quillmark mkdir /Shared/Reports /Shared/Reports/2026", ""},
                           {"quillmark mkdir -p /Shared/Archive/2026/01", "with all that is missing on the way"}});
    command->callback([paths, parents, &global, &action] {
        action = [paths, parents, &global] {
            Client client(global);
            client.Resume();
            return ChangeEachServerPath(client, *paths, "make", [&](const WideString& server) {
                return *parents ? MakeFolders(client.MainCalls(), server) : MakeFolder(client.MainCalls(), server);
            });
        };
    });
}

}  // namespace quillmark::cli
