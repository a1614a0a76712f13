// quillmark touch: sets times and attributes of items of the server.
#include <memory>

#include "EachPath.h"
#include "Texts.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct TouchOptions {
    std::vector<std::string> paths;
    std::string modified;
    std::string created;
    std::string attributes;
};

CAttributeTime RequireTime(const std::string& text) {
    const auto time = ParseTime(text);
    if (!time) {
        throw Failure("'" + text + "' is not a time: one looks like 2026-01-02T03:04:05Z", ExitCode::Usage);
    }
    return *time;
}

// What is not asked for stays unset: the server then keeps what the item has.
std::shared_ptr<IServerAttributes> Wanted(const TouchOptions& options) {
    std::shared_ptr<IServerAttributes> wanted = MakeAttributes();
    if (!options.created.empty()) {
        wanted->SetCreationTime(RequireTime(options.created));
    }
    if (!options.modified.empty()) {
        wanted->SetLastWriteTime(RequireTime(options.modified));
    } else if (options.created.empty() && options.attributes.empty()) {
        wanted->SetLastWriteTime(CAttributeTime::Now());
    }
    if (!options.attributes.empty()) {
        const auto attributes = ParseFileAttributes(options.attributes);
        if (!attributes) {
            throw Failure("'" + options.attributes +
                              "' are no file attributes: those are a number, or names out of "
                              "readonly,hidden,system,archive,normal",
                          ExitCode::Usage);
        }
        wanted->SetFileAttributes(*attributes);
    }
    return wanted;
}

ExitCode RunTouch(const TouchOptions& options, const GlobalOptions& global) {
    const std::shared_ptr<IServerAttributes> wanted = Wanted(options);
    Client client(global);
    client.Resume();
    return ChangeEachServerPath(client, options.paths, "touch", [&](const WideString& server) {
        return client.Run([&] {
            std::shared_ptr<IServerAttributes> item = wanted->Clone();
            return client.Api().SetPathAttributes(server, item, client.CancelEvent());
        });
    });
}

}  // namespace

void RegisterTouch(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<TouchOptions>();
    CLI::App* command =
        program.add_subcommand("touch", "Set times and attributes of items; without an option: modified now");
    SetCompletion(*command->add_option("path", options->paths, "The items on the server")->required(),
                  Completes::ServerPath);
    AddExamples(*command, {{"quillmark touch --modified 2026-01-02T03:04:05Z /Shared/report.pdf", ""},
                           {"quillmark touch --attributes readonly,hidden /Shared/plan", ""}});
    command->add_option("-m,--modified", options->modified, "The time of the last change: 2026-01-02T03:04:05Z, or now")
        ->type_name("TIME");
    command->add_option("--created", options->created, "The time of creation")->type_name("TIME");
    command
        ->add_option("--attributes", options->attributes,
                     "Windows' file attributes: a number, or names out of readonly,hidden,system,archive,normal")
        ->type_name("ATTRIBUTES");
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunTouch(*options, global); }; });
}

}  // namespace quillmark::cli
