// quillmark mkdir: makes folders on the server.
#include <memory>

#include "EachPath.h"
#include "Once.h"
#include "commands/Commands.h"

namespace quillmark::cli {

void RegisterMkdir(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto paths = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("mkdir", "Make folders on the server");
    SetCompletion(*command->add_option("path", *paths, "The folders on the server")->required(), Completes::ServerPath);
    AddExamples(*command, {{"quillmark mkdir /Shared/Reports /Shared/Reports/2026", ""}});
    command->callback([paths, &global, &action] {
        action = [paths, &global] {
            Client client(global);
            client.Resume();
            return ChangeEachServerPath(client, *paths, "make", [&client](const WideString& server) {
                return MakeFolder(client.MainCalls(), server);
            });
        };
    });
}

}  // namespace quillmark::cli
