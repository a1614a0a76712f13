// quillmark share: has the server send people a link to items.
#include <algorithm>
#include <memory>
#include <set>

#include "Json.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct ShareOptions {
    std::vector<std::string> paths;
    std::vector<std::string> targets;
    std::string name;
    std::string message;
};

std::vector<std::string> Texts(const std::set<WideString>& all) {
    std::vector<std::string> texts(all.size());
    std::transform(all.begin(), all.end(), texts.begin(), [](const WideString& text) { return NarrowUtf8(text); });
    return texts;
}

ExitCode RunShare(const ShareOptions& options, const GlobalOptions& global) {
    const auto request = std::make_shared<ShareRequest>();
    for (const std::string& path : options.paths) {
        request->paths.insert(ServerPath(global.Path(path)));
    }
    for (const std::string& target : options.targets) {
        request->targets.insert(WidenUtf8(target));
    }
    request->name =
        options.name.empty() ? LeafName(ServerPath(global.Path(options.paths.front()))) : WidenUtf8(options.name);
    request->message = WidenUtf8(options.message);
    Client client(global);
    client.Resume();
    Require(client.RunUnlessLost([&] { return client.Api().GenerateLink(request, client.CancelEvent()).error; }),
            "cannot share");
    JsonObject result;
    result.AddTexts("paths", Texts(request->paths)).AddTexts("to", Texts(request->targets)).Add("name", request->name);
    PrintForPrograms(global, result);
    return ExitCode::Success;
}

}  // namespace

void RegisterShare(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<ShareOptions>();
    CLI::App* command = program.add_subcommand("share", "Share items; the server sends the recipients a link");
    SetCompletion(*command->add_option("path", options->paths, "The items on the server")->required(),
                  Completes::ServerPath);
    AddExamples(*command, {{"quillmark share /Shared/plan --to ben carla --message 'Please read'", ""}});
    command->add_option("--to", options->targets, "The recipients, as the server knows them")
        ->required()
        ->type_name("NAME");
    command->add_option("--name", options->name, "What the share is called (default: the first item's name)")
        ->type_name("TEXT");
    command->add_option("--message", options->message, "A message to the recipients")->type_name("TEXT");
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunShare(*options, global); }; });
}

}  // namespace quillmark::cli
