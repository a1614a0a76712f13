// quillmark put: uploads files and folders, whole, in resumable chunks or as deltas.
#include <memory>

#include "Client.h"
#include "DeltaTransfer.h"
#include "Help.h"
#include "Output.h"
#include "Paths.h"
#include "Texts.h"
#include "Transfer.h"

namespace quillmark::cli {
namespace {

struct PutOptions {
    std::string local;
    std::string remote;
    std::string revision;
    std::string chunk;
    std::string delta;
    std::string asyncDelta;
    DWORD patience = ResumableOptions::DefaultPatience;
    bool resumable = false;
    bool optimise = false;
    bool noCommit = false;
    bool quiet = false;
};

ResumableOptions Resumable(const PutOptions& options) {
    ResumableOptions resumable;
    resumable.revision = options.revision;
    resumable.patience = options.patience;
    if (!options.chunk.empty()) {
        const auto size = ParseSize(options.chunk);
        if (!size || *size == 0) {
            throw Failure("'" + options.chunk + "' is not the size of a chunk: one looks like 65536, 64K or 8M",
                          ExitCode::Usage);
        }
        resumable.chunk = *size;
    }
    return resumable;
}

ExitCode PutFiles(Client& client, const PutOptions& options, const WideString& local, const WideString& server) {
    Transfer transfer(client, options.quiet);
    if (options.resumable) {
        transfer.SendResumably(Resumable(options));
    }
    transfer.ExpectRevision(options.revision);
    transfer.Put(local, server);
    return transfer.Summarise();
}

ExitCode RunPut(const PutOptions& options, const GlobalOptions& global) {
    const WideString local = global.Path(options.local);
    WideString server = ServerPath(global.Path(options.remote));
    if (options.remote.ends_with('/') && IsOwnName(LeafName(local))) {
        server = JoinPath(server, LeafName(local));
    }
    static_cast<void>(Resumable(options));  // a wrong size is told before the server is asked
    Client client(global);
    client.Resume();
    const std::string& old = options.delta.empty() ? options.asyncDelta : options.delta;
    if (old.empty()) {
        return PutFiles(client, options, local, server);
    }
    const DeltaPut put{global.Path(old), local, server, options.revision, options.optimise, options.quiet};
    return options.delta.empty() ? PutAsyncDelta(client, put, !options.noCommit) : PutDelta(client, put);
}

void AddResumableOptions(CLI::App& command, PutOptions& options) {
    CLI::Option* resumable =
        command.add_flag("--resumable", options.resumable,
                         "Send files in chunks; the same command goes on where an earlier one was ended");
    command.add_option("--chunk", options.chunk, "Bytes of a chunk: 65536, 64K, 8M (default: 16M)")
        ->type_name("SIZE")
        ->needs(resumable);
    command
        .add_option("--patience", options.patience,
                    "Seconds to wait while the server is still at work on an earlier request of the upload")
        ->capture_default_str()
        ->check(CLI::Range(0u, 86400u))
        ->type_name("SECONDS")
        ->needs(resumable);
}

void AddDeltaOptions(CLI::App& command, PutOptions& options) {
    CLI::Option* resumable = command.get_option("--resumable");
    CLI::Option* delta =
        command.add_option("--delta", options.delta, "Send only what differs from OLD, a copy of what the server has")
            ->type_name("OLD")
            ->excludes(resumable);
    SetCompletion(*delta, Completes::LocalPath);
    CLI::Option* asyncDelta =
        command
            .add_option("--async-delta", options.asyncDelta,
                        "Likewise, and let the server apply it in the background; waits and commits")
            ->type_name("OLD")
            ->excludes(resumable)
            ->excludes(delta);
    SetCompletion(*asyncDelta, Completes::LocalPath);
    command.add_flag("--no-commit", options.noCommit, "Print the job's identifier instead (see 'delta-jobs')")
        ->needs(asyncDelta);
    command
        .add_flag("--optimise", options.optimise,
                  "With a delta: let the server overwrite or append in place where the delta allows it")
        ->excludes(resumable);
}

}  // namespace

void RegisterPut(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<PutOptions>();
    CLI::App* command = program.add_subcommand("put", "Upload a file, or a folder with all that it holds");
    SetCompletion(*command->add_option("local", options->local, "The local file or folder")->required(),
                  Completes::LocalPath);
    SetCompletion(*command
                       ->add_option("remote", options->remote,
                                    "Its path on the server; with a trailing / the folder to put it in")
                       ->required(),
                  Completes::ServerPath);
    command->add_flag("-q,--quiet", options->quiet, "Do not name each file");
    command
        ->add_option("--revision", options->revision,
                     "Only while the item has this revision (see 'stat'); for one file")
        ->type_name("REVISION");
    AddResumableOptions(*command, *options);
    AddDeltaOptions(*command, *options);
    AddExamples(*command,
                {{"quillmark put report.pdf /Shared/", "into that folder"},
                 {"quillmark put photos /Shared/Photos", "a folder with all that it holds"},
                 {"quillmark put --resumable disk.img /Backups/", "the same again after an interruption: it goes on"},
                 {"quillmark put --delta old.db new.db /Shared/data.db", "sends only what differs"}});
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunPut(*options, global); }; });
}

}  // namespace quillmark::cli
