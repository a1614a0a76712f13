// quillmark version: asks the server for its version.
#include "Json.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"

namespace quillmark::cli {

void RegisterVersion(CLI::App& program, const GlobalOptions& global, Action& action) {
    CLI::App* command = program.add_subcommand("version", "Show the server's version");
    AddExamples(*command, {{"quillmark version", ""}});
    command->callback([&global, &action] {
        action = [&global] {
            Client client(global);
            client.Resume();
            WideString version;
            const auto ask = [&] { return client.Api().Version(version); };
            Require(client.Run([&] { return client.CallWithoutEvent(ask); }), "cannot get the server's version");
            PrintResult(global, Printable(version), JsonObject().Add("version", version));
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
