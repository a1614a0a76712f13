// quillmark doctor: why it does not work, or that it does.
#include "account/Doctor.h"
#include "Json.h"
#include "Output.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

const char* Word(Health health) {
    switch (health) {
        case Health::Good:
            return "ok";
        case Health::Doubtful:
            return "warning";
        case Health::Bad:
            return "FAILED";
        default:
            return "-";
    }
}

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

void Show(const GlobalOptions& global, const Finding& finding) {
    JsonObject object;
    object.Add("check", finding.check).Add("result", Word(finding.health)).Add("text", finding.text);
    object.AddKnown("nextStep", finding.nextStep);
    finding.error == ERROR_SUCCESS ? object.AddNull("error") : object.AddNumber("error", finding.error);
    PrintResult(global,
                Padded(Word(finding.health), 8) + Padded(finding.check, 12) + finding.text +
                    (finding.nextStep.empty() ? "" : ". " + finding.nextStep),
                object);
}

// The server that is named, or else the login's. Its session is tried out when it is the login's.
ExitCode RunDoctor(std::string server, const GlobalOptions& global) {
    StoredSession session;
    const bool loggedIn = LoadSession(global.sessionPath, session) == ERROR_SUCCESS;
    if (server.empty()) {
        session = RequireSession(global);
    }
    server = ServerAddress(server.empty() ? session.server : server);
    ExitCode exit = ExitCode::Success;
    const bool own = loggedIn && server == session.server;
    Examine(global, server, own ? &session : nullptr, [&](const Finding& finding) {
        Show(global, finding);
        exit = exit == ExitCode::Success ? finding.exit : exit;
    });
    return exit;
}

}  // namespace

void RegisterDoctor(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto server = std::make_shared<std::string>();
    CLI::App* command =
        program.add_subcommand("doctor",
                               "Look for what is wrong between here and the server; checks proxy, name, port, "
                               "certificate, endpoints, mode, version, clock and session, and says what to do");
    command->add_option("server", *server, "The server: https://files.example.com:8443 (default: the login's)");
    AddExamples(*command,
                {{"quillmark doctor", "the login's server"}, {"quillmark doctor https://files.example.com", ""}});
    command->callback(
        [server, &global, &action] { action = [server, &global] { return RunDoctor(*server, global); }; });
}

}  // namespace quillmark::cli
