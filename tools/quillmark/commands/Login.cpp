// quillmark login: signs in and keeps the session.
#include <memory>

#include "Json.h"
#include "Output.h"
#include "account/Password.h"
#include "account/Profiles.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct LoginOptions {
    std::string server;
    std::string user;
    std::string device;
    std::string deviceToken;
    bool integrated = false;
};

// With a ticket the front end of the server knows who it is; the session serves like any other from then on.
ExitCode RunLogin(const LoginOptions& options, const GlobalOptions& global) {
    if (options.integrated && !global.passwordFile.empty()) {
        throw Failure("--integrated excludes --password-file: a ticket needs no password", ExitCode::Usage);
    }
    Client client(global);
    client.UseServer(options.server);
    std::string password;
    if (options.integrated) {
        client.Api().SetAuthMode(AUTH_MODE_INTEGRATED);
    } else {
        password = RequirePassword(global, options.user);
    }
    const std::string who = options.integrated ? " with the ticket of the logged-on user" : " as " + options.user;
    StoredSession session;
    session.server = client.Server();
    session.user = options.user;
    session.device = options.device;
    session.deviceToken = options.deviceToken;
    session.integrated = options.integrated ? "yes" : "";
    client.Login(session, password, "cannot log in to " + session.server + who);
    JsonObject result;
    result.Add("server", session.server).AddKnown("user", session.user).Add("device", session.device);
    result.AddKnown("profile", ProfileName(global));
    PrintResult(global, "Logged in to " + session.server + who + ".", result);
    return ExitCode::Success;
}

}  // namespace

void RegisterLogin(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<LoginOptions>();
    CLI::App* command = program.add_subcommand("login", "Log in to a server; the other commands then use that session");
    command->add_option("server", options->server, "The server: https://files.example.com:8443")->required();
    CLI::Option* user = command->add_option("-u,--user", options->user, "The user's name");
    command->add_flag("--integrated", options->integrated,
                      "Log in with the Kerberos ticket of the logged-on user, without a password; --user is optional "
                      "then and merely kept with the session");
    command->add_option("--device", options->device, "The identifier of this device")->default_val("quillmark-cli");
    command->add_option("--device-token", options->deviceToken, "The token of this device, where the server wants one");
    AddExamples(*command,
                {{"quillmark login https://files.example.com:8443 --user anna", ""},
                 {"printf 'secret\\n' | quillmark login https://files.example.com --user anna --password-file -", ""}});
    command->callback([options, user, &global, &action] {
        if (user->empty() && !options->integrated) {
            throw CLI::RequiredError("--user");
        }
        action = [options, &global] { return RunLogin(*options, global); };
    });
}

}  // namespace quillmark::cli
