// quillmark rm: deletes items of the server.
#include <memory>

#include "EachPath.h"
#include "Once.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct RmOptions {
    std::vector<std::string> paths;
    std::string revision;
    bool recursive = false;
};

// The server deletes a folder with all that it holds: only for one who says that this is meant.
DWORD RefuseFolder(Client& client, const WideString& server) {
    std::shared_ptr<IServerAttributes> item;
    const DWORD error = client.Run([&] { return client.Api().GetPathAttributes(server, item, client.CancelEvent()); });
    if (error == ERROR_SUCCESS && IsFolder(*item)) {
        return ERROR_DIR_NOT_EMPTY;
    }
    return error;
}

ExitCode RunRm(const RmOptions& options, const GlobalOptions& global) {
    if (options.paths.size() > 1 && !options.revision.empty()) {
        throw Failure("--revision is for one item", ExitCode::Usage);
    }
    for (const std::string& path : options.paths) {
        if (ServerPath(global.Path(path)) == QM_W("/")) {
            throw Failure("the root is not deleted", ExitCode::Usage);
        }
    }
    Client client(global);
    client.Resume();
    return ChangeEachServerPath(client, options.paths, "delete", [&](const WideString& server) -> DWORD {
        if (!options.recursive) {
            if (const DWORD error = RefuseFolder(client, server); error != ERROR_SUCCESS) {
                return error;
            }
        }
        const std::shared_ptr<IServerAttributes> expected = MakeAttributes();
        expected->SetRevision(options.revision);
        return DeleteItem(client.MainCalls(), server, expected);
    });
}

}  // namespace

void RegisterRm(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<RmOptions>();
    CLI::App* command = program.add_subcommand("rm", "Delete items of the server");
    SetCompletion(*command->add_option("path", options->paths, "The items on the server")->required(),
                  Completes::ServerPath);
    AddExamples(*command, {{"quillmark rm /Shared/report.pdf", ""}, {"quillmark rm -r /Shared/Old", "a folder"}});
    command->add_flag("-r,--recursive", options->recursive, "Delete folders, with all that they hold");
    command->add_option("--revision", options->revision, "Only while the item has this revision (see 'stat')")
        ->type_name("REVISION");
    command->callback([options, &global, &action] { action = [options, &global] { return RunRm(*options, global); }; });
}

}  // namespace quillmark::cli
