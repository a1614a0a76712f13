// quillmark ls: lists a server folder.
#include <memory>

#include "Items.h"
#include "Listing.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct LsOptions {
    std::string path = "/";
    std::string sort = "name";
    bool longForm = false;
    bool recursive = false;
    bool reverse = false;
    bool human = false;
};

using ItemPointer = std::shared_ptr<IServerAttributes>;

// The largest and the latest first; what is alike by name.
void Sort(Listing& listing, const LsOptions& options) {
    if (options.sort != "none") {
        listing.SortByName();
    }
    if (options.sort == "size") {
        listing.children.sort(
            [](const ItemPointer& left, const ItemPointer& right) { return SizeOf(*left) > SizeOf(*right); });
    }
    if (options.sort == "time") {
        listing.children.sort([](const ItemPointer& left, const ItemPointer& right) {
            return left->GetLastWriteTime() > right->GetLastWriteTime();
        });
    }
    if (options.reverse) {
        listing.children.reverse();
    }
}

class Ls {
public:
    Ls(Calls& calls, const LsOptions& options) : m_calls(calls), m_options(options) {}

    // A path that is a file is listed as itself.
    ExitCode Show(const WideString& path) {
        Listing listing = List(m_calls, path);
        if (listing.self != nullptr && !IsFolder(*listing.self)) {
            ShowItem(path, *listing.self);
        } else {
            ShowFolder(path, std::move(listing));
        }
        return m_result;
    }

private:
    void ShowItem(const WideString& path, const IServerAttributes& item) const {
        const std::string name = Printable(m_options.recursive ? path : item.GetName()) + (IsFolder(item) ? "/" : "");
        PrintResult(m_calls.Options(), m_options.longForm ? LongLine(item, m_options.human) : name,
                    ItemObject(path, item));
    }

    // Of what was shown only the names of folders are kept, which come next.
    void ShowFolder(const WideString& folder, Listing listing) {
        if (m_options.longForm && m_options.recursive && !m_calls.Options().json) {
            Print(Printable(folder) + ":");
        }
        Sort(listing, m_options);
        std::vector<WideString> below;
        for (; !listing.children.empty(); listing.children.pop_front()) {
            const IServerAttributes& item = *listing.children.front();
            const WideString path = JoinPath(folder, item.GetName());
            ShowItem(path, item);
            if (m_options.recursive && IsFolder(item)) {
                below.push_back(path);
            }
        }
        for (const WideString& path : below) {
            Listing next;
            if (ListOnTheWay(m_calls, path, next)) {
                ShowFolder(path, std::move(next));
            } else {
                m_result = ExitCode::SomeFailed;
            }
        }
    }

    Calls& m_calls;
    const LsOptions& m_options;
    ExitCode m_result = ExitCode::Success;
};

ExitCode RunLs(const LsOptions& options, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    Calls& calls = client.MainCalls();
    return Ls(calls, options).Show(ServerPath(global.Path(options.path)));
}

}  // namespace

void RegisterLs(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<LsOptions>();
    CLI::App* command = program.add_subcommand("ls", "List a server folder, or show one file");
    SetCompletion(
        *command->add_option("path", options->path, "The folder or file on the server")->capture_default_str(),
        Completes::ServerPath);
    command->add_flag("-l", options->longForm, "Kind, time, size and name");
    command->add_flag("-R,--recursive", options->recursive, "The folders below as well");
    command
        ->add_option("--sort", options->sort, "By name, the largest first, the latest first, or as the server has it")
        ->capture_default_str()
        ->check(CLI::IsMember({"name", "size", "time", "none"}));
    command->add_flag("-r,--reverse", options->reverse, "The other way round");
    command->set_help_flag("--help", "Print this help message and exit");  // -h is what ls has for sizes elsewhere
    command->add_flag("-h,--human", options->human, "With -l: sizes as 1.5K, 16M, 2.0G");
    AddExamples(*command, {{"quillmark ls", "the top folders"},
                           {"quillmark ls -lh --sort time /Shared", "the latest change first"},
                           {"quillmark ls -R /Shared/Photos", "all that is below"},
                           {"quillmark --json ls /Shared", "for programs"}});
    command->callback([options, &global, &action] { action = [options, &global] { return RunLs(*options, global); }; });
}

}  // namespace quillmark::cli
