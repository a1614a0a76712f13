// quillmark changes: shows what other devices changed on the server.
#include <memory>

#include "Calls.h"
#include "ChangeText.h"
#include "Output.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

constexpr DWORD OnlyOnce = 0;
constexpr DWORD LongestPause = 24 * 60 * 60;  // seconds

void PrintChanges(Calls& calls) {
    NotificationList actions;
    Require(calls.Run([&] {
        actions.clear();
        return calls.Api().GetChanges(actions, calls.CancelEvent()).error;
    }),
            "cannot get the changes");
    for (const std::shared_ptr<CNotificationAction>& action : actions) {
        JsonObject object;
        AddChange(object, *action);
        PrintResult(calls.Options(), ChangeLine(*action), object);
    }
    FinishOutput();  // the server tells each change once only
}

ExitCode RunChanges(DWORD pause, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    Calls& calls = client.MainCalls();
    PrintChanges(calls);
    while (pause != OnlyOnce) {
        if (!calls.Pause(std::chrono::seconds(pause))) {
            throw Failure("cancelled", ExitCode::Cancelled);
        }
        PrintChanges(calls);
    }
    return ExitCode::Success;
}

}  // namespace

void RegisterChanges(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto pause = std::make_shared<DWORD>(OnlyOnce);
    CLI::App* command = program.add_subcommand(
        "changes", "Show what other devices changed since this one last asked; one line each, with tabs between");
    command->add_option("--follow", *pause, "Ask again every so many seconds (5 unless said) until interrupted")
        ->expected(0, 1)
        ->default_str("5")
        ->check(CLI::Range(1u, static_cast<unsigned>(LongestPause)))
        ->type_name("[SECONDS]");
    AddExamples(*command, {{"quillmark changes", ""}, {"quillmark changes --follow 10", "until interrupted"}});
    command->callback([pause, &global, &action] { action = [pause, &global] { return RunChanges(*pause, global); }; });
}

}  // namespace quillmark::cli
