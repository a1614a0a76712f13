// quillmark get: downloads files and folders.
#include <memory>

#include "Client.h"
#include "Paths.h"
#include "Transfer.h"

namespace quillmark::cli {
namespace {

struct GetOptions {
    std::string local;
    std::string remote;
    bool quiet = false;
};

ExitCode RunGet(const GetOptions& options, const GlobalOptions& global) {
    const WideString server = ServerPath(global.Path(options.remote));
    WideString local = global.Path(options.local);
    if (options.local.ends_with('/') && IsOwnName(LeafName(server))) {
        local = JoinPath(local, LeafName(server));
    }
    Client client(global);
    client.Resume();
    Transfer transfer(client, options.quiet);
    transfer.Get(server, local);
    return transfer.Summarise();
}

}  // namespace

void RegisterGet(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<GetOptions>();
    CLI::App* command = program.add_subcommand("get", "Download a file, or a folder with all that it holds");
    command->add_option("remote", options->remote, "The file or folder on the server")->required();
    command
        ->add_option(
            "local", options->local,
            "Its local path; with a trailing / the folder to put it in. A file also goes into a folder that is there")
        ->required();
    command->add_flag("-q,--quiet", options->quiet, "Do not name each file");
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunGet(*options, global); }; });
}

}  // namespace quillmark::cli
