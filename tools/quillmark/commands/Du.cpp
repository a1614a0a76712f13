// quillmark du: how many bytes server folders hold.
#include <algorithm>
#include <memory>

#include "Items.h"
#include "Listing.h"
#include "Output.h"
#include "Paths.h"
#include "Texts.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct DuOptions {
    std::string path = "/";
    int depth = Walk::WholeDepth;
    bool summary = false;
    bool human = false;
};

struct Sum {
    std::int64_t bytes = 0;
    std::int64_t files = 0;
    std::int64_t folders = 0;
};

// The sums of the folders from the first one down to where the walk is.
class Sums {
public:
    Sums(const DuOptions& options, const GlobalOptions& global) : m_options(options), m_global(global) {}

    void Add(const IServerAttributes& item, int depth) {
        Sum& sum = At(depth - 1);
        sum.bytes += SizeOf(item);
        ++(IsFolder(item) ? sum.folders : sum.files);
    }

    // A folder is complete: it counts for the one above.
    void Close(const WideString& folder, int depth) {
        const Sum sum = At(depth);
        m_open.resize(static_cast<std::size_t>(depth));
        if (depth > 0) {
            Sum& above = At(depth - 1);
            above.bytes += sum.bytes;
            above.files += sum.files;
            above.folders += sum.folders;
        }
        if (depth <= (m_options.summary ? 0 : m_options.depth)) {
            Show(folder, sum);
        }
    }

    void Show(const WideString& path, const Sum& sum) const {
        JsonObject object;
        object.Add("path", path).AddNumber("bytes", sum.bytes);
        object.AddNumber("files", sum.files).AddNumber("folders", sum.folders);
        const std::string size = m_options.human ? HumanSize(sum.bytes) : std::to_string(sum.bytes);
        PrintResult(m_global, size + "\t" + Escaped(path), object);
    }

private:
    Sum& At(int depth) {
        const auto index = static_cast<std::size_t>(depth);
        m_open.resize(std::max(m_open.size(), index + 1));
        return m_open[index];
    }

    const DuOptions& m_options;
    const GlobalOptions& m_global;
    std::vector<Sum> m_open;
};

ExitCode RunDu(const DuOptions& options, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    Calls& calls = client.MainCalls();
    const WideString start = ServerPath(global.Path(options.path));
    Listing listing = List(calls, start);
    Sums sums(options, global);
    if (listing.self != nullptr && !IsFolder(*listing.self)) {
        sums.Show(start, {SizeOf(*listing.self), 1, 0});
        return ExitCode::Success;
    }
    Walk walk(
        calls, Walk::WholeDepth, [&](const Walk::Item& item) { sums.Add(item.attributes, item.depth); },
        [&](const WideString& folder, int depth) { sums.Close(folder, depth); });
    walk.Below(start, std::move(listing));
    return walk.Result();
}

}  // namespace

void RegisterDu(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<DuOptions>();
    CLI::App* command = program.add_subcommand(
        "du",
        "Sum up the bytes in each server folder; with a tab between: bytes, path; a folder's sum has all below it");
    SetCompletion(
        *command->add_option("path", options->path, "The folder or file on the server")->capture_default_str(),
        Completes::ServerPath);
    CLI::Option* depth = command->add_option("-d,--depth", options->depth, "Show folders down to this level only")
                             ->check(AtLeast(0))
                             ->type_name("N");
    command->add_flag("-s,--summarise", options->summary, "Show the sum of the whole only")->excludes(depth);
    command->set_help_flag("--help", "Print this help message and exit");  // -h is what du has for sizes elsewhere
    command->add_flag("-h,--human", options->human, "Sizes as 1.5K, 16M, 2.0G");
    AddExamples(*command,
                {{"quillmark du -sh /Shared", "how much there is in all"}, {"quillmark du -d 1", "each top folder"}});
    command->callback([options, &global, &action] { action = [options, &global] { return RunDu(*options, global); }; });
}

}  // namespace quillmark::cli
