// quillmark put: uploads files and folders, whole, in resumable chunks or as deltas.
#include <memory>

#include "Paths.h"
#include "System.h"
#include "Texts.h"
#include "commands/Commands.h"
#include "commands/TransferFlags.h"

namespace quillmark::cli {
namespace {

struct PutOptions {
    std::string local;
    std::string remote;
    std::string revision;
    std::string chunk;
    std::string delta;
    std::string asyncDelta;
    std::string base;
    TransferFlags flags;
    DWORD patience = ResumableOptions::DefaultPatience;
    bool resumable = false;
    bool optimise = false;
    bool noCommit = false;
    bool always = false;
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

// What the user asks for; nothing: what suits each file.
std::optional<Method> MethodOf(const PutOptions& options) {
    if (!options.delta.empty()) {
        return Method::Delta;
    }
    if (!options.asyncDelta.empty()) {
        return Method::AsyncDelta;
    }
    return options.resumable ? std::optional(Method::Resumable) : std::nullopt;
}

ExitCode PutFiles(Client& client, const PutOptions& options, TransferRequest request) {
    request.options.revision = options.revision;
    request.options.resumable = Resumable(options);
    request.options.optimise = options.optimise;
    request.options.commit = !options.noCommit;
    request.plan.method = MethodOf(options);
    request.plan.always = options.always;
    const std::string& old = options.delta.empty() ? options.asyncDelta : options.delta;
    request.options.onlyDelta = !old.empty();
    if (const std::string& base = old.empty() ? options.base : old; !base.empty()) {
        request.options.base = LocalPath(client.Options().Path(base));
    }
    return RunTransfer(client, std::move(request));
}

ExitCode RunPut(const PutOptions& options, const GlobalOptions& global) {
    const WideString local = LocalPath(global.Path(options.local));
    const WideString remote = global.Path(options.remote);
    WideString server = ServerPath(remote);
    if (remote.view().ends_with(QM_W('/')) && IsOwnName(LeafName(local))) {
        server = JoinPath(server, LeafName(local));
    }
    static_cast<void>(Resumable(options));  // a wrong size or pattern is told before the server is asked
    TransferRequest request = RequestFrom(options.flags, Direction::Up, local, server);
    Client client(global);
    client.Resume();
    return PutFiles(client, options, std::move(request));
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
    AddTransferFlags(*command, options->flags);
    command->add_flag("--always", options->always, "Send also files of a folder that the server has already");
    command
        ->add_option("--revision", options->revision,
                     "Only while the item has this revision (see 'stat'); for one file")
        ->type_name("REVISION");
    AddResumableOptions(*command, *options);
    AddDeltaOptions(*command, *options);
    CLI::Option* base =
        command
            ->add_option("--base", options->base,
                         "A copy of an earlier state of LOCAL, with its times: a file that the server still has as it "
                         "is there is sent as a delta")
            ->type_name("FOLDER")
            ->excludes(command->get_option("--delta"))
            ->excludes(command->get_option("--async-delta"));
    SetCompletion(*base, Completes::LocalPath);
    AddExamples(*command,
                {{"quillmark put report.pdf /Shared/", "into that folder"},
                 {"quillmark put photos /Shared/Photos", "a folder with all that it holds; what is the same stays"},
                 {"quillmark put --jobs 8 --exclude '*.tmp' --delete photos /Shared/Photos", ""},
                 {"quillmark put --resumable disk.img /Backups/", "the same again after an interruption: it goes on"},
                 {"quillmark put --delta old.db new.db /Shared/data.db", "sends only what differs"}});
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunPut(*options, global); }; });
}

}  // namespace quillmark::cli
