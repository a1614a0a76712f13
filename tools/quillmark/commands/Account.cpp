// quillmark register, wipe-ack: what a device has to say before and after it has a session.
#include <memory>

#include "Json.h"
#include "Output.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

struct AccountOptions {
    std::string server;
    std::string user;
    std::string device;
    std::string deviceName;
};

// The stored login fills in what is not named.
void Complete(AccountOptions& options, const GlobalOptions& global) {
    if (options.server.empty() || options.user.empty() || options.device.empty()) {
        const StoredSession session = RequireSession(global);
        options.server = options.server.empty() ? session.server : options.server;
        options.user = options.user.empty() ? session.user : options.user;
        options.device = options.device.empty() ? session.device : options.device;
    }
}

JsonObject Described(const AccountOptions& options) {
    return JsonObject().Add("server", options.server).Add("user", options.user).Add("device", options.device);
}

void AddOptions(CLI::App& command, AccountOptions& options) {
    command.add_option("server", options.server,
                       "The server: https://files.example.com:8443; what is left out is taken from the login");
    command.add_option("-u,--user", options.user, "The user's name");
    command.add_option("--device", options.device, "The identifier of this device");
}

ExitCode RunRegister(AccountOptions options, const GlobalOptions& global) {
    Complete(options, global);
    Client client(global);
    client.UseServer(options.server);
    if (!options.deviceName.empty()) {
        client.Api().SetDeviceName(options.deviceName.c_str());
    }
    client.Discover();
    Require(client.RunUnlessLost([&] {
        return client.Api().Register(WidenUtf8(options.user), WidenUtf8(options.device), client.CancelEvent()).error;
    }),
            "cannot register the device '" + options.device + "' of " + options.user);
    PrintResult(global,
                "The server sends " + options.user + " a message to confirm the device '" + options.device + "'.",
                Described(options));
    return ExitCode::Success;
}

DWORD AcknowledgeWipe(Client& client, const AccountOptions& options) {
    const DWORD error =
        client.Api()
            .AcknowledgeRemoteWipe(WidenUtf8(options.user), WidenUtf8(options.device), client.CancelEvent())
            .error;
    // What the server refuses is the bare HTTP status here.
    constexpr DWORD LowestStatus = 300;
    constexpr DWORD HighestStatus = 599;
    return error >= LowestStatus && error <= HighestStatus ? error + SERVER_ERROR_BASE : error;
}

ExitCode RunWipeAck(AccountOptions options, const GlobalOptions& global) {
    Complete(options, global);
    Client client(global);
    client.UseServer(options.server);
    client.Discover();
    Require(client.Run([&] { return AcknowledgeWipe(client, options); }),
            "cannot acknowledge the wipe of the device '" + options.device + "' of " + options.user);
    PrintForPrograms(global, Described(options));
    return ExitCode::Success;
}

}  // namespace

void RegisterRegister(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<AccountOptions>();
    CLI::App* command =
        program.add_subcommand("register", "Register this device; the server sends the user a message to confirm it");
    AddOptions(*command, *options);
    AddExamples(*command, {{"quillmark register https://files.example.com --user anna --device laptop", ""}});
    command->add_option("--device-name", options->deviceName, "The device's name for people");
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunRegister(*options, global); }; });
}

void RegisterWipeAck(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<AccountOptions>();
    CLI::App* command = program.add_subcommand("wipe-ack", "Tell the server that this device has been wiped");
    AddOptions(*command, *options);
    AddExamples(*command, {{"quillmark wipe-ack", "for the device that is logged in"}});
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunWipeAck(*options, global); }; });
}

}  // namespace quillmark::cli
