// quillmark ls: lists a server folder.
#include <memory>

#include "Client.h"
#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

struct LsOptions {
    std::string path = "/";
    bool longForm = false;
    bool recursive = false;
};

std::string Line(const IServerAttributes& item, const WideString& path, const LsOptions& options) {
    if (options.longForm) {
        return LongLine(item);
    }
    return Printable(options.recursive ? path : item.GetName()) + (IsFolder(item) ? "/" : "");
}

// A path that is a file is listed as itself.
void List(Client& client, const WideString& folder, const LsOptions& options) {
    ItemList children;
    std::shared_ptr<IServerAttributes> self;
    Require(client.Run([&] { return client.Api().GetPathListing(folder, children, self, client.CancelEvent()); }),
            "cannot list " + Printable(folder));
    if (self != nullptr && !IsFolder(*self)) {
        Print(Line(*self, folder, options));
        return;
    }
    if (options.longForm && options.recursive) {
        Print(Printable(folder) + ":");
    }
    for (const std::shared_ptr<IServerAttributes>& child : children) {
        Print(Line(*child, JoinPath(folder, child->GetName()), options));
    }
    for (const std::shared_ptr<IServerAttributes>& child : children) {
        if (options.recursive && IsFolder(*child)) {
            List(client, JoinPath(folder, child->GetName()), options);
        }
    }
}

}  // namespace

void RegisterLs(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<LsOptions>();
    CLI::App* command = program.add_subcommand("ls", "List a server folder, or show one file");
    command->add_option("path", options->path, "The folder or file on the server")->capture_default_str();
    command->add_flag("-l", options->longForm, "Kind, time, size and name");
    command->add_flag("-R,--recursive", options->recursive, "The folders below as well");
    command->callback([options, &global, &action] {
        action = [options, &global] {
            Client client(global);
            client.Resume();
            List(client, ServerPath(global.Path(options->path)), *options);
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
