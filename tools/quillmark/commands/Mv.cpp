// quillmark mv: renames and moves items of the server.
#include <memory>

#include "Json.h"
#include "Once.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct MvOptions {
    std::string source;
    std::string target;
    bool force = false;
};

// A rename within a folder never overwrites, and cuts names at a backslash; a move does neither. A target with an empty
// name at its beginning means the same item to the server and lies in another folder to the library, which then moves.
WideString AsMove(const WideString& target) {
    return QM_W("/") + target;
}

ExitCode RunMv(const MvOptions& options, const GlobalOptions& global) {
    const WideString source = ServerPath(global.Path(options.source));
    const WideString named = global.Path(options.target);
    WideString target = ServerPath(named);
    if (source == QM_W("/")) {
        throw Failure("the root cannot be moved", ExitCode::Usage);
    }
    if (named.view().ends_with(QM_W('/'))) {
        target = JoinPath(target, LeafName(source));
    }
    if (target == QM_W("/")) {
        throw Failure("nothing can be moved to the root itself; end the folder's name with a /", ExitCode::Usage);
    }
    const bool backslash = (source + target).Find(QM_W('\\')) != WideString::npos;
    Client client(global);
    client.Resume();
    const DWORD error =
        MoveItem(client.MainCalls(), source, options.force || backslash ? AsMove(target) : target, options.force);
    if (error != ERROR_SUCCESS && global.Interrupted()) {
        throw Failure("cancelled; whether " + Printable(source) + " was moved, 'quillmark ls' shows",
                      ExitCode::Cancelled);
    }
    Require(error, "cannot move " + Printable(source) + " to " + Printable(target));
    PrintForPrograms(global, JsonObject().Add("path", source).Add("to", target));
    return ExitCode::Success;
}

}  // namespace

void RegisterMv(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<MvOptions>();
    CLI::App* command = program.add_subcommand("mv", "Rename or move an item of the server");
    SetCompletion(*command->add_option("source", options->source, "The item on the server")->required(),
                  Completes::ServerPath);
    SetCompletion(*command
                       ->add_option("target", options->target,
                                    "Its new path on the server; with a trailing / the folder to put it in")
                       ->required(),
                  Completes::ServerPath);
    AddExamples(*command, {{"quillmark mv /Shared/report.pdf /Backups/", "into that folder"},
                           {"quillmark mv --force /Shared/draft /Shared/final", "overwrites"}});
    command->add_flag("-f,--force", options->force, "Overwrite a file that has the new path already");
    command->callback([options, &global, &action] { action = [options, &global] { return RunMv(*options, global); }; });
}

}  // namespace quillmark::cli
