// quillmark version: asks the server for its version.
#include "Client.h"
#include "Output.h"
#include "Paths.h"

namespace quillmark::cli {

void RegisterVersion(CLI::App& program, const GlobalOptions& global, Action& action) {
    CLI::App* command = program.add_subcommand("version", "Show the server's version");
    command->callback([&global, &action] {
        action = [&global] {
            Client client(global);
            client.Resume();
            WideString version;
            Require(client.Run([&] { return client.Api().Version(version); }), "cannot get the server's version");
            Print(Printable(version));
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
