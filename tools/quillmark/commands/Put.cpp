// quillmark put: uploads files and folders.
#include <memory>

#include "Client.h"
#include "Paths.h"
#include "Transfer.h"

namespace quillmark::cli {
namespace {

struct PutOptions {
    std::string local;
    std::string remote;
    bool quiet = false;
};

ExitCode RunPut(const PutOptions& options, const GlobalOptions& global) {
    const WideString local = global.Path(options.local);
    WideString server = ServerPath(global.Path(options.remote));
    if (options.remote.ends_with('/') && IsOwnName(LeafName(local))) {
        server = JoinPath(server, LeafName(local));
    }
    Client client(global);
    client.Resume();
    Transfer transfer(client, options.quiet);
    transfer.Put(local, server);
    return transfer.Summarise();
}

}  // namespace

void RegisterPut(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<PutOptions>();
    CLI::App* command = program.add_subcommand("put", "Upload a file, or a folder with all that it holds");
    command->add_option("local", options->local, "The local file or folder")->required();
    command->add_option("remote", options->remote, "Its path on the server; with a trailing / the folder to put it in")
        ->required();
    command->add_flag("-q,--quiet", options->quiet, "Do not name each file");
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunPut(*options, global); }; });
}

}  // namespace quillmark::cli
