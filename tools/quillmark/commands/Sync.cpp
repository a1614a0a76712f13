// quillmark sync: makes one side have what the other has, with a plan that is shown first.
#include <memory>

#include "Paths.h"
#include "System.h"
#include "commands/Commands.h"
#include "commands/TransferFlags.h"

namespace quillmark::cli {
namespace {

struct SyncOptions {
    std::string local;
    std::string remote;
    std::string base;
    TransferFlags flags;
    bool up = false;
    bool down = false;
    bool yes = false;
};

ExitCode RunSyncCommand(const SyncOptions& options, const GlobalOptions& global) {
    TransferRequest request =
        RequestFrom(options.flags, options.down ? Direction::Down : Direction::Up,
                    LocalPath(global.Path(options.local)), ServerPath(global.Path(options.remote)));
    request.options.base = options.base.empty() ? WideString() : LocalPath(global.Path(options.base));
    Client client(global);
    client.Resume();
    return RunSync(client, std::move(request), options.yes);
}

}  // namespace

void RegisterSync(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<SyncOptions>();
    CLI::App* command = program.add_subcommand(
        "sync", "Make a server folder have what a local one has, or the other way; shows the plan first");
    SetCompletion(*command->add_option("local", options->local, "The local folder")->required(), Completes::LocalPath);
    SetCompletion(*command->add_option("remote", options->remote, "The folder on the server")->required(),
                  Completes::ServerPath);
    CLI::Option* up = command->add_flag("--up", options->up, "From the local folder to the server (the default)");
    command->add_flag("--down", options->down, "From the server to the local folder")->excludes(up);
    command->add_flag("-y,--yes", options->yes, "Delete without asking");
    CLI::Option* base =
        command
            ->add_option("--base", options->base,
                         "A copy of an earlier state of the local folder, with its times: a file that the server still "
                         "has as it is there is sent as a delta")
            ->type_name("FOLDER");
    SetCompletion(*base, Completes::LocalPath);
    AddTransferFlags(*command, options->flags);
    AddExamples(*command,
                {{"quillmark sync photos /Shared/Photos", "the server has then what the local folder has"},
                 {"quillmark sync --down --dry-run photos /Shared/Photos", "only shows what the other way would do"},
                 {"quillmark sync --delete --yes --exclude '*.tmp' photos /Shared/Photos",
                  "and nothing more, but for the excluded"}});
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunSyncCommand(*options, global); }; });
}

}  // namespace quillmark::cli
