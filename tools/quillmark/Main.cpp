// quillmark: the command-line host of the client library.
#include "Client.h"
#include "Help.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"

namespace {

using namespace quillmark;       // NOLINT: this file is the program
using namespace quillmark::cli;  // NOLINT

constexpr CommandRegistration Commands[] = {
    RegisterRegister, RegisterLogin,   RegisterVersion,    RegisterFolders, RegisterLs,        RegisterTree,
    RegisterDu,       RegisterFind,    RegisterStat,       RegisterCat,     RegisterMkdir,     RegisterPut,
    RegisterGet,      RegisterUploads, RegisterDeltaJobs,  RegisterMv,      RegisterRm,        RegisterTouch,
    RegisterChanges,  RegisterWatch,   RegisterLock,       RegisterUnlock,  RegisterLockState, RegisterShare,
    RegisterStats,    RegisterWipeAck, RegisterCompletion, RegisterManPage};

constexpr const char* Epilogue =
    "Examples:\n"
    "  quillmark login https://files.example.com --user anna\n"
    "  quillmark ls -l /Shared\n"
    "  quillmark put report.pdf /Shared/\n"
    "  quillmark get /Shared/Photos photos\n"
    "  quillmark put --resumable disk.img /Backups/         # the same again after an interruption: it goes on\n"
    "  quillmark put --delta old.db new.db /Shared/data.db  # sends only what differs\n"
    "  quillmark get --range 0-64K /Shared/video head       # the first 65536 bytes\n"
    "  quillmark find /Shared --name '*.pdf'\n"
    "  quillmark mv --force /Shared/draft /Shared/final\n"
    "  quillmark changes --follow 10\n"
    "  quillmark lock --seconds 600 /Shared/plan\n"
    "  quillmark share /Shared/plan --to ben carla --message 'Please read'\n"
    "\nExit codes: 0 done, 1 some items failed, 2 usage, 3 cannot connect, 4 not logged in or refused, 5 not found,\n"
    "6 conflict, 7 cancelled, 8 local file error, 9 invalid reply.";

struct GlobalTexts {
    std::string session;
    std::string ca;
};

void AddGlobalOptions(CLI::App& program, GlobalOptions& options, GlobalTexts& texts) {
    SetCompletion(*program
                       .add_option("--session", texts.session,
                                   "The file that keeps the login (default: quillmark/session in the user's data "
                                   "folder)")
                       ->type_name("FILE"),
                  Completes::LocalPath);
    SetCompletion(*program
                       .add_option("--log", options.logPath,
                                   "Append the library's log to this file, - is standard error; passwords are masked "
                                   "in it, the session's token is not")
                       ->type_name("FILE"),
                  Completes::LocalPath);
    SetCompletion(*program.add_option("--ca", texts.ca, "Trust the certificate authorities in this PEM file as well")
                       ->type_name("FILE"),
                  Completes::LocalPath);
    program.add_flag("--json", options.json, "Print each result as a JSON object on a line of its own");
    program.set_version_flag("--version", "quillmark " QUILLMARK_VERSION, "Print the version of this program and exit");
    program.require_subcommand(1);
    program.allow_windows_style_options(false);  // "/file" is a path on the server, on every system
    program.fallthrough();                       // these options may also stand after the command
}

ExitCode Run(const Action& action, const GlobalOptions& options) {
    try {
        const ExitCode result = action();
        FinishOutput();
        return result;
    } catch (const OutputClosed&) {
        return ExitCode::SomeFailed;
    } catch (const Failure& failure) {
        const bool cancelled = options.Interrupted();
        PrintError("quillmark: " + (cancelled ? "cancelled" : failure.Sentence()));
        return cancelled ? ExitCode::Cancelled : failure.Exit();
    } catch (const std::bad_alloc&) {
        PrintError("quillmark: " + ErrorText(ERROR_NOT_ENOUGH_MEMORY));
        return ExitCodeFor(ERROR_NOT_ENOUGH_MEMORY, false);
    }
}

}  // namespace

int main(int count, char** values) {
    CLI::App program("Talks to a Quillmark server.", "quillmark");
    GlobalOptions options;
    GlobalTexts texts;
    Action action;
    AddGlobalOptions(program, options, texts);
    for (const CommandRegistration registration : Commands) {
        registration(program, options, action);
    }
    program.footer(Epilogue);  // now, so that the commands' own help does not repeat it
    PrepareOutput();
    std::vector<std::string> backwards;  // as the parser takes them
    for (const Argument& argument : Arguments(count, values)) {
        options.arguments.emplace_back(argument.bytes, argument.path);
        backwards.insert(backwards.begin(), argument.bytes);
    }
    try {
        program.parse(std::move(backwards));
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : static_cast<int>(ExitCode::Usage);
    }
    options.sessionPath = texts.session.empty() ? DefaultSessionPath() : options.Path(texts.session);
    options.caPath = texts.ca.empty() ? WideString() : options.Path(texts.ca);
    options.interrupt = InterruptEvent();
    return static_cast<int>(Run(action, options));
}
