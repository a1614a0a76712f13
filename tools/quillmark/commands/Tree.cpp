// quillmark tree: draws a server folder and what is below it.
#include <memory>

#include "Items.h"
#include "Listing.h"
#include "Output.h"
#include "Paths.h"
#include "Texts.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct TreeOptions {
    std::string path = "/";
    int depth = Walk::WholeDepth;
};

class Tree {
public:
    explicit Tree(const GlobalOptions& global) : m_global(global) {}

    void Start(const WideString& path, const IServerAttributes* item) const {
        if (!m_global.json) {
            Print(Printable(path));
        } else if (item != nullptr) {
            Print(ItemObject(path, *item).AddNumber("depth", 0).Text());
        }
    }

    void Add(const Walk::Item& item) {
        const auto depth = static_cast<std::size_t>(item.depth);
        m_last.resize(depth - 1);
        std::string line;
        for (const bool last : m_last) {
            line += last ? "    " : "│   ";
        }
        m_last.push_back(item.last);
        line += item.last ? "└── " : "├── ";
        line += Printable(item.attributes.GetName()) + (IsFolder(item.attributes) ? "/" : "");
        ++(IsFolder(item.attributes) ? m_folders : m_files);
        PrintResult(m_global, line, ItemObject(item.path, item.attributes).AddNumber("depth", item.depth));
    }

    // A program can count for itself.
    void End() const {
        if (!m_global.json) {
            Print("\n" + Counted(m_folders, "folder") + ", " + Counted(m_files, "file"));
        }
    }

private:
    const GlobalOptions& m_global;
    std::vector<bool> m_last;  // of the item on each level above: whether it was the last of its folder
    std::uint64_t m_folders = 0;
    std::uint64_t m_files = 0;
};

ExitCode RunTree(const TreeOptions& options, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    Calls& calls = client.MainCalls();
    const WideString start = ServerPath(global.Path(options.path));
    Listing listing = List(calls, start);
    Tree tree(global);
    tree.Start(start, listing.self.get());
    Walk walk(calls, options.depth, [&](const Walk::Item& item) { tree.Add(item); });
    walk.Below(start, std::move(listing));
    tree.End();
    return walk.Result();
}

}  // namespace

void RegisterTree(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<TreeOptions>();
    CLI::App* command = program.add_subcommand("tree", "Draw a server folder with all that is below it");
    SetCompletion(*command->add_option("path", options->path, "The folder on the server")->capture_default_str(),
                  Completes::ServerPath);
    command->add_option("-L,--depth", options->depth, "So many levels at most")->check(AtLeast(1))->type_name("N");
    AddExamples(*command, {{"quillmark tree /Shared", ""}, {"quillmark tree -L 2", "two levels from the top"}});
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunTree(*options, global); }; });
}

}  // namespace quillmark::cli
