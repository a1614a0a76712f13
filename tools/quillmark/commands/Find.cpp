// quillmark find: looks for items of the server by name, kind, size and time.
#include <memory>
#include <optional>

#include "Glob.h"
#include "Items.h"
#include "Listing.h"
#include "Output.h"
#include "Paths.h"
#include "Texts.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct FindOptions {
    std::string path = "/";
    std::string name;
    std::string type;
    std::string size;
    std::string newer;
    int maxDepth = Walk::WholeDepth;
};

// "+N": more bytes than N, "-N": fewer, "N": just as many.
struct SizeTest {
    char sign = '=';
    std::int64_t bytes = 0;

    [[nodiscard]] bool Holds(std::int64_t size) const {
        return sign == '+' ? size > bytes : sign == '-' ? size < bytes : size == bytes;
    }
};

SizeTest RequireSize(const std::string& text) {
    const bool sign = text.starts_with('+') || text.starts_with('-');
    const auto bytes = ParseSize(sign ? text.substr(1) : text);
    if (!bytes) {
        throw Failure(
            "'" + text + "' is not a size to look for: those are +8M for more, -64K for less, 100 for just so much",
            ExitCode::Usage);
    }
    return {sign ? text.front() : '=', *bytes};
}

CAttributeTime RequireTime(const std::string& text) {
    const auto time = ParseTime(text);
    if (!time) {
        throw Failure("'" + text + "' is not a time: one looks like 2026-01-02T03:04:05Z", ExitCode::Usage);
    }
    return *time;
}

// What items have to be; what was not asked for holds for each.
class Tests {
public:
    explicit Tests(const FindOptions& options)
        : m_name(options.name.empty() ? WideString(QM_W("*")) : WidenUtf8(options.name)), m_type(options.type) {
        if (!options.size.empty()) {
            m_size = RequireSize(options.size);
        }
        if (!options.newer.empty()) {
            m_newer = RequireTime(options.newer);
        }
    }

    [[nodiscard]] bool Hold(const WideString& name, const IServerAttributes& item) const {
        const bool folder = IsFolder(item);
        const bool type = m_type.empty() || (m_type == "d") == folder;
        const bool size = !m_size || (!folder && m_size->Holds(SizeOf(item)));
        const CAttributeTime modified = item.GetLastWriteTime();
        const bool newer = !m_newer || (modified.IsSet() && modified > *m_newer);
        return type && size && newer && GlobMatches(m_name, name);
    }

private:
    WideString m_name;
    std::string m_type;
    std::optional<SizeTest> m_size;
    std::optional<CAttributeTime> m_newer;
};

ExitCode RunFind(const FindOptions& options, const GlobalOptions& global) {
    const Tests tests(options);
    Client client(global);
    client.Resume();
    Calls& calls = client.MainCalls();
    const WideString start = ServerPath(global.Path(options.path));
    Listing listing = List(calls, start);
    const auto show = [&](const WideString& path, const IServerAttributes& item) {
        if (tests.Hold(LeafName(path), item)) {
            PrintResult(global, Escaped(path), ItemObject(path, item));
        }
    };
    if (listing.self != nullptr) {
        show(start, *listing.self);
    }
    Walk walk(calls, options.maxDepth, [&](const Walk::Item& item) { show(item.path, item.attributes); });
    walk.Below(start, std::move(listing));
    return walk.Result();
}

}  // namespace

void RegisterFind(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<FindOptions>();
    CLI::App* command = program.add_subcommand("find", "Find items of the server; one path per line");
    SetCompletion(
        *command->add_option("path", options->path, "Where to look: a folder of the server, with all below it")
             ->capture_default_str(),
        Completes::ServerPath);
    command->add_option("--name", options->name, "Names like this: *.pdf, report-??, [a-c]*")->type_name("GLOB");
    command->add_option("--type", options->type, "Files (f) only, or folders (d) only")
        ->check(CLI::IsMember({"f", "d"}));
    command->add_option("--size", options->size, "Files with more (+8M), fewer (-64K) or just so many (100) bytes")
        ->type_name("SIZE");
    command->add_option("--newer", options->newer, "Modified after this time: 2026-01-02T03:04:05Z")->type_name("TIME");
    command->add_option("--max-depth", options->maxDepth, "So many levels below the path at most")
        ->check(AtLeast(0))
        ->type_name("N");
    AddExamples(*command, {{"quillmark find /Shared --name '*.pdf'", ""},
                           {"quillmark find --type f --size +8M", "large files, wherever they are"},
                           {"quillmark find /Shared --newer 2026-01-01T00:00:00Z --max-depth 1", ""}});
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunFind(*options, global); }; });
}

}  // namespace quillmark::cli
