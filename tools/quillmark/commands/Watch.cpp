// quillmark watch: shows what other devices do, as it happens.
#include <ctime>
#include <memory>

#include "Calls.h"
#include "ChangeText.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct WatchOptions {
    std::string path = "/";
    DWORD interval = 2;  // seconds
};

// "2026-01-02 03:04:05" by this computer's clock and time zone.
std::string LocalTime() {
    const std::time_t now = std::time(nullptr);
    char text[32] = {};
    if (const std::tm* local = std::localtime(&now); local != nullptr) {  // NOLINT: no other thread of ours asks
        std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", local);
    }
    return text;
}

// The folder itself or something below it.
bool IsWithin(const WideString& folder, const WideString& path) {
    return folder == QM_W("/") || path == folder || path.StartsWith(JoinPath(folder, QM_W("")));
}

void Show(const CNotificationAction& change, const GlobalOptions& global) {
    JsonObject object;
    object.Add("time", CAttributeTime::Now().ToText());
    AddChange(object, change);
    PrintResult(global, LocalTime() + "\t" + ChangeLine(change), object);
}

// Being interrupted is how watching ends, not how it fails.
ExitCode RunWatch(const WatchOptions& options, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    Calls& calls = client.MainCalls();
    const WideString folder = ServerPath(global.Path(options.path));
    do {
        NotificationList changes;
        const DWORD error = calls.Run([&] {
            changes.clear();
            return calls.Api().GetChanges(changes, calls.CancelEvent()).error;
        });
        if (error != ERROR_SUCCESS && calls.Interrupted()) {
            break;
        }
        Require(error, "cannot get the changes");
        for (const std::shared_ptr<CNotificationAction>& change : changes) {
            if (IsWithin(folder, change->value) || IsWithin(folder, change->value2)) {
                Show(*change, global);
            }
        }
        FinishOutput();
    } while (calls.Pause(std::chrono::seconds(options.interval)));
    return ExitCode::Success;
}

}  // namespace

void RegisterWatch(CLI::App& program, const GlobalOptions& global, Action& action) {
    constexpr unsigned LongestInterval = 24 * 60 * 60;
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* command =
        program.add_subcommand("watch",
                               "Show what other devices change, until interrupted; with tabs between: local time, "
                               "verb, path, and where it went");
    SetCompletion(
        *command->add_option("path", options->path, "Only what is done here and below")->capture_default_str(),
        Completes::ServerPath);
    command->add_option("--interval", options->interval, "Seconds from one question to the next")
        ->capture_default_str()
        ->check(CLI::Range(1u, LongestInterval))
        ->type_name("SECONDS");
    AddExamples(*command, {{"quillmark watch /Shared", ""}, {"quillmark --json watch --interval 10", "for programs"}});
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunWatch(*options, global); }; });
}

}  // namespace quillmark::cli
