// quillmark: the command-line host of the client library.
#include "Client.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"

namespace {

using namespace quillmark;       // NOLINT: this file is the program
using namespace quillmark::cli;  // NOLINT

constexpr CommandRegistration COMMANDS[] = {RegisterLogin, RegisterVersion, RegisterLs, RegisterStat,
                                            RegisterMkdir, RegisterPut,     RegisterGet};

constexpr const char* EPILOGUE =
    "Examples:\n"
    "  quillmark login https://files.example.com --user anna\n"
    "  quillmark ls -l /Shared\n"
    "  quillmark put report.pdf /Shared/\n"
    "  quillmark get /Shared/Photos photos\n"
    "Exit codes: 0 done, 1 some items failed, 2 usage, 3 cannot connect, 4 not logged in or refused, 5 not found,\n"
    "6 conflict, 7 cancelled, 8 local file error, 9 invalid reply.";

struct GlobalTexts {
    std::string session;
    std::string ca;
};

void AddGlobalOptions(CLI::App& program, GlobalOptions& options, GlobalTexts& texts) {
    program.add_option("--session", texts.session, "The file that keeps the login (default: in the user's own folder)");
    program.add_option("--log", options.logPath, "Write the library's log to this file; - is standard error");
    program.add_option("--ca", texts.ca, "Trust the certificate authorities in this PEM file as well");
    program.require_subcommand(1);
    program.footer(EPILOGUE);
}

ExitCode Run(const Action& action, const GlobalOptions& options) {
    try {
        return action();
    } catch (const Failure& failure) {
        const bool cancelled = options.Interrupted();
        PrintError("quillmark: " +
                   (cancelled ? std::string("cancelled") : failure.What() + ": " + ErrorText(failure.Error())));
        return ExitCodeFor(failure.Error(), cancelled);
    }
}

}  // namespace

int main(int count, char** values) {
    CLI::App program("Talks to a Quillmark server: lists, uploads, downloads.", "quillmark");
    GlobalOptions options;
    GlobalTexts texts;
    Action action;
    AddGlobalOptions(program, options, texts);
    for (const CommandRegistration registration : COMMANDS) {
        registration(program, options, action);
    }
    const std::vector<WideString> wide = Arguments(count, values);
    for (int index = 1; index < count; ++index) {
        options.arguments.emplace_back(values[index], wide[static_cast<std::size_t>(index) - 1]);
    }
    try {
        program.parse(count, values);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : static_cast<int>(ExitCode::Usage);
    }
    options.sessionPath = texts.session.empty() ? DefaultSessionPath() : options.Path(texts.session);
    options.caPath = texts.ca.empty() ? WideString() : options.Path(texts.ca);
    options.interrupt = InterruptEvent();
    return static_cast<int>(Run(action, options));
}
