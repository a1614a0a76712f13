// quillmark changes: shows what other devices changed on the server.
#include <algorithm>
#include <iterator>
#include <memory>

#include "Calls.h"
#include "Output.h"
#include "Texts.h"

namespace quillmark::cli {
namespace {

constexpr DWORD OnlyOnce = 0;
constexpr DWORD LongestPause = 24 * 60 * 60;  // seconds

// The words of the actions, by their code.
constexpr const char* Words[] = {"other",  "create", "upload", "move",   "copy",
                                 "rename", "delete", "policy", "update", "mode"};

std::string Line(const CNotificationAction& action) {
    const std::string word = action.type < std::size(Words) ? Words[action.type] : Words[0];
    return word + "\t" + Escaped(action.value) + (action.value2.empty() ? "" : "\t" + Escaped(action.value2));
}

void PrintChanges(Client& client) {
    NotificationList actions;
    Require(client.Run([&] { return client.Api().GetChanges(actions, client.CancelEvent()); }),
            "cannot get the changes");
    for (const std::shared_ptr<CNotificationAction>& action : actions) {
        Print(Line(*action));
    }
    FinishOutput();  // the server tells each change once only
}

ExitCode RunChanges(DWORD pause, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    PrintChanges(client);
    while (pause != OnlyOnce) {
        if (!client.MainCalls().Pause(std::chrono::seconds(pause))) {
            throw Failure("cancelled", ExitCode::Cancelled);
        }
        PrintChanges(client);
    }
    return ExitCode::Success;
}

}  // namespace

void RegisterChanges(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto pause = std::make_shared<DWORD>(OnlyOnce);
    CLI::App* command = program.add_subcommand(
        "changes", "Show what other devices changed since this one last asked: one line each, with tabs between");
    command->add_option("--follow", *pause, "Ask again every so many seconds (5 unless said) until interrupted")
        ->expected(0, 1)
        ->default_str("5")
        ->check(CLI::Range(1u, static_cast<unsigned>(LongestPause)))
        ->type_name("[SECONDS]");
    command->callback([pause, &global, &action] { action = [pause, &global] { return RunChanges(*pause, global); }; });
}

}  // namespace quillmark::cli
