// quillmark version: asks the server for its version.
#include "Calls.h"
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
            Calls& calls = client.MainCalls();
            WideString version;
            Require(calls.Run([&] { return calls.Api().Version(version); }), "cannot get the server's version");
            PrintResult(global, Printable(version), JsonObject().Add("version", version));
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
