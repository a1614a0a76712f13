// quillmark login: signs in and keeps the session.
#include <cstdio>
#include <memory>

#include "Client.h"
#include "Help.h"
#include "LocalFiles.h"
#include "Output.h"
#include "System.h"

namespace quillmark::cli {
namespace {

struct LoginOptions {
    std::string server;
    std::string user;
    std::string device;
    std::string deviceToken;
    std::string passwordFile;
    bool integrated = false;
};

constexpr std::size_t LongestPassword = 4096;

// The first line of what standard input gives.
std::string ReadStandardInput() {
    std::string line;
    int unit = 0;
    while ((unit = std::getchar()) != EOF && unit != '\n' && line.size() < LongestPassword) {
        line.push_back(static_cast<char>(unit));
    }
    return line;
}

std::string Password(const LoginOptions& options, const GlobalOptions& global) {
    if (options.passwordFile == "-") {
        return ReadStandardInput();
    }
    std::string password = Environment("QUILLMARK_PASSWORD");
    if (!options.passwordFile.empty()) {
        Require(ReadLocalFile(global.Path(options.passwordFile), LongestPassword, password),
                "cannot read the password file '" + options.passwordFile + "'");
        return password.substr(0, password.find_first_of("\r\n"));
    }
    if (password.empty() && !AskSecret("Password for " + options.user + ": ", password)) {
        throw Failure("no password: there is no terminal to ask on; use --password-file or QUILLMARK_PASSWORD",
                      ExitCode::Usage);
    }
    return password;
}

// With a ticket the front end of the server knows who it is; the session serves like any other from then on.
ExitCode RunLogin(const LoginOptions& options, const GlobalOptions& global) {
    Client client(global);
    client.UseServer(options.server);
    std::string password;
    if (options.integrated) {
        client.Api().SetAuthMode(AUTH_MODE_INTEGRATED);
    } else {
        password = Password(options, global);
    }
    const std::string who = options.integrated ? " with the ticket of the logged-on user" : " as " + options.user;
    WideString policy;
    Require(client.Api().Login(WidenUtf8(options.user), WidenUtf8(password), WidenUtf8(options.deviceToken),
                               WidenUtf8(options.device), policy, QM_W(""), QM_W(""), client.CancelEvent()),
            "cannot log in to " + options.server + who);
    WideString token;
    client.Api().GetSessionToken(token);
    Require(SaveSession(global.sessionPath, {options.server, options.user, options.device, NarrowUtf8(token)}),
            "cannot keep the session");
    Print("Logged in to " + options.server + who + ".");
    return ExitCode::Success;
}

}  // namespace

void RegisterLogin(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<LoginOptions>();
    CLI::App* command = program.add_subcommand("login", "Log in to a server; the other commands then use that session");
    command->add_option("server", options->server, "The server: https://files.example.com:8443")->required();
    CLI::Option* user = command->add_option("-u,--user", options->user, "The user's name");
    CLI::Option* integrated =
        command->add_flag("--integrated", options->integrated,
                          "Log in with the Kerberos ticket of the logged-on user, without a password; --user is "
                          "optional then and merely kept with the session");
    command->add_option("--device", options->device, "The identifier of this device")->default_val("quillmark-cli");
    command->add_option("--device-token", options->deviceToken, "The token of this device, where the server wants one");
    command
        ->add_option("--password-file", options->passwordFile,
                     "A file whose first line is the password; - is standard input. Without it: the variable "
                     "QUILLMARK_PASSWORD, else the terminal is asked")
        ->excludes(integrated);
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
