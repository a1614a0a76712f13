// quillmark lock, unlock, lock-state: locks on items of the server against other devices.
#include <memory>

#include "Calls.h"
#include "EachPath.h"
#include "Json.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct LockOptions {
    std::vector<std::string> paths;
    DWORD seconds = 300;
};

constexpr DWORD Locked = 1;

// What became of a request to give a lock up, whose answer was lost.
std::optional<DWORD> WhetherReleased(Client& client, const WideString& server) {
    DWORD state = 0;
    const DWORD error = client.Run([&] { return client.Api().TestLock(server, state, client.CancelEvent()); });
    if (error != ERROR_SUCCESS || state != Locked) {
        return error;
    }
    return std::nullopt;
}

const char* StateWord(DWORD state) {
    constexpr DWORD ReadOnly = 2;
    switch (state) {
        case Locked:
            return "locked";
        case ReadOnly:
            return "read-only";
        default:
            return "unlocked";
    }
}

}  // namespace

void RegisterLock(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<LockOptions>();
    CLI::App* command = program.add_subcommand("lock", "Keep other devices from changing items, or do so for longer");
    SetCompletion(*command->add_option("path", options->paths, "The items on the server")->required(),
                  Completes::ServerPath);
    AddExamples(*command, {{"quillmark lock --seconds 600 /Shared/plan", "for ten minutes"}});
    command->add_option("--seconds", options->seconds, "For how long")
        ->capture_default_str()
        ->check(CLI::Range(1u, 0x7FFFFFFFu))
        ->type_name("N");
    command->callback([options, &global, &action] {
        action = [options, &global] {
            Client client(global);
            client.Resume();
            return ChangeEachServerPath(client, options->paths, "lock", [&](const WideString& server) {
                return client.Run(
                    [&] { return client.Api().RequestLock(server, options->seconds, client.CancelEvent()); });
            });
        };
    });
}

void RegisterUnlock(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<LockOptions>();
    CLI::App* command = program.add_subcommand("unlock", "Give up locks of this device");
    SetCompletion(*command->add_option("path", options->paths, "The items on the server")->required(),
                  Completes::ServerPath);
    AddExamples(*command, {{"quillmark lock /Shared/plan", ""}, {"quillmark unlock /Shared/plan", ""}});
    command->callback([options, &global, &action] {
        action = [options, &global] {
            Client client(global);
            client.Resume();
            return ChangeEachServerPath(client, options->paths, "unlock", [&](const WideString& server) {
                return client.RunOnce([&] { return client.Api().ReleaseLock(server, client.CancelEvent()).error; },
                                      [&] { return WhetherReleased(client, server); });
            });
        };
    });
}

void RegisterLockState(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto path = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("lock-state", "Show whether an item is locked, unlocked or read-only");
    SetCompletion(*command->add_option("path", *path, "The item on the server")->required(), Completes::ServerPath);
    AddExamples(*command, {{"quillmark lock-state /Shared/plan", ""}});
    command->callback([path, &global, &action] {
        action = [path, &global] {
            Client client(global);
            client.Resume();
            const WideString server = ServerPath(global.Path(*path));
            DWORD state = 0;
            Calls& calls = client.MainCalls();
            Require(calls.Run([&] { return calls.Api().TestLock(server, state, calls.CancelEvent()).error; }),
                    "cannot ask for the lock of " + Printable(server));
            PrintResult(global, StateWord(state), JsonObject().Add("path", server).Add("state", StateWord(state)));
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
