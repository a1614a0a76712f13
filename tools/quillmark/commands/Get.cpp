// quillmark get: downloads files and folders, whole, by range or as a delta.
#include <memory>

#include "LocalFiles.h"
#include "Paths.h"
#include "System.h"
#include "commands/Commands.h"
#include "commands/TransferFlags.h"

namespace quillmark::cli {
namespace {

struct GetOptions {
    std::string local;
    std::string remote;
    std::string range;
    std::string delta;
    std::string revision;
    TransferFlags flags;
    bool always = false;
};

ByteRange RequireRange(const std::string& text) {
    const auto range = ParseByteRange(text);
    if (!range) {
        throw Failure("'" + text + "' is not a range: FIRST-END are the bytes from FIRST up to, but not including END",
                      ExitCode::Usage);
    }
    return *range;
}

ExitCode RunGet(const GetOptions& options, const GlobalOptions& global) {
    const WideString server = ServerPath(global.Path(options.remote));
    WideString local = LocalPath(global.Path(options.local));
    if (local.view().ends_with(QM_W('/')) && IsOwnName(LeafName(server))) {
        local = TargetInFolder(local, server);
    }
    TransferRequest request = RequestFrom(options.flags, Direction::Down, local, server);
    request.plan.always = options.always;
    if (!options.range.empty()) {
        request.plan.method = Method::Range;
        request.options.range = RequireRange(options.range);
        request.options.revision = options.revision;
    }
    if (!options.delta.empty()) {
        request.plan.method = Method::Delta;
        request.options.base = global.Path(options.delta);
        request.options.onlyDelta = true;
    }
    Client client(global);
    client.Resume();
    return RunTransfer(client, std::move(request));
}

}  // namespace

void RegisterGet(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<GetOptions>();
    CLI::App* command = program.add_subcommand("get", "Download a file, or a folder with all that it holds");
    SetCompletion(*command->add_option("remote", options->remote, "The file or folder on the server")->required(),
                  Completes::ServerPath);
    SetCompletion(
        *command
             ->add_option("local", options->local,
                          "Its local path; with a trailing / the folder to put it in. A file also goes into a folder "
                          "that is there")
             ->required(),
        Completes::LocalPath);
    AddTransferFlags(*command, options->flags);
    command->add_flag("--always", options->always, "Get also files of a folder that are here already");
    CLI::Option* range =
        command
            ->add_option("--range", options->range,
                         "Get the bytes from FIRST up to, but not including END into the same place of the local file, "
                         "which keeps its other bytes; FIRST- goes to the end. Sizes: 65536, 64K, 8M")
            ->type_name("FIRST-END");
    command->add_option("--revision", options->revision, "With --range: only while the item has this revision")
        ->type_name("REVISION")
        ->needs(range);
    CLI::Option* delta = command
                             ->add_option("--delta", options->delta,
                                          "Get only what differs from BASE, a local file with earlier contents")
                             ->type_name("BASE")
                             ->excludes(range);
    SetCompletion(*delta, Completes::LocalPath);
    AddExamples(*command, {{"quillmark get /Shared/Photos photos", "a folder with all that it holds"},
                           {"quillmark get --range 0-64K /Shared/video head", "the first 65536 bytes"},
                           {"quillmark get --delta old.db /Shared/data.db new.db", "fetches only what differs"}});
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunGet(*options, global); }; });
}

}  // namespace quillmark::cli
