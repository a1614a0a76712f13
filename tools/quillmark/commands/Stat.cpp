// quillmark stat: shows what the server says of one item.
#include <memory>

#include "Calls.h"
#include "Items.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

void PrintItem(const IServerAttributes& item) {
    Print("name:       " + Printable(item.GetName()));
    Print(std::string("kind:       ") + (IsFolder(item) ? "folder" : "file"));
    if (!IsFolder(item)) {
        Print("size:       " + item.GetSizeText());
    }
    Print("created:    " + NarrowUtf8(item.GetCreationTime().ToText()));
    Print("modified:   " + NarrowUtf8(item.GetLastWriteTime().ToText()));
    Print("attributes: " + item.GetFileAttributesText());
    Print("revision:   " + Printable(WidenUtf8(item.GetRevision())));
    Print(std::string("writable:   ") + (item.IsReadOnly() ? "no" : "yes"));
}

}  // namespace

void RegisterStat(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto path = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("stat", "Show one item of the server");
    SetCompletion(*command->add_option("path", *path, "The item on the server")->required(), Completes::ServerPath);
    AddExamples(*command, {{"quillmark stat /Shared/report.pdf", "also its revision"}});
    command->callback([path, &global, &action] {
        action = [path, &global] {
            Client client(global);
            client.Resume();
            const WideString server = ServerPath(global.Path(*path));
            std::shared_ptr<IServerAttributes> item;
            Calls& calls = client.MainCalls();
            Require(calls.Run([&] { return calls.Api().GetPathAttributes(server, item, calls.CancelEvent()).error; }),
                    "cannot look at " + Printable(server));
            if (global.json) {
                Print(ItemObject(server, *item).Text());
            } else {
                PrintItem(*item);
            }
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
