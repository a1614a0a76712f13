// quillmark: the command-line host of the client library.
#include "Output.h"
#include "Paths.h"
#include "Retry.h"
#include "System.h"
#include "account/Password.h"
#include "account/Profiles.h"
#include "commands/Commands.h"
#include "help/HelpText.h"
#include "help/UsageError.h"

namespace {

using namespace quillmark;       // NOLINT: this file is the program
using namespace quillmark::cli;  // NOLINT

// The commands under the headings that help and man page have them.
struct CommandGroup {
    const char* heading;
    std::vector<CommandRegistration> commands;
};

std::vector<CommandGroup> CommandGroups() {
    return {
        {"Account",
         {RegisterRegister, RegisterLogin, RegisterLogout, RegisterWhoami, RegisterProfiles, RegisterDoctor,
          RegisterWipeAck}},
        {"Browsing", {RegisterFolders, RegisterLs, RegisterStat, RegisterTree, RegisterFind, RegisterDu, RegisterCat}},
        {"Changing",
         {RegisterMkdir, RegisterMv, RegisterRm, RegisterTouch, RegisterLock, RegisterUnlock, RegisterLockState,
          RegisterShare}},
        {"Transferring", {RegisterPut, RegisterGet, RegisterSync, RegisterUploads, RegisterDeltaJobs}},
        {"Watching", {RegisterChanges, RegisterWatch}},
        {"Others", {RegisterVersion, RegisterStats, RegisterCompletion, RegisterHelp, RegisterManPage}}};
}

constexpr const char* Epilogue =
    "Examples:\n"
    "  quillmark login https://files.example.com --user anna\n"
    "  quillmark ls -l /Shared\n"
    "  quillmark put report.pdf /Shared/\n"
    "  quillmark get /Shared/Photos photos\n"
    "\nExit codes: 0 done, 1 some items failed, 2 usage, 3 cannot connect, 4 not logged in or refused, 5 not found, "
    "6 conflict, 7 cancelled, 8 local file error, 9 invalid reply.";

struct GlobalTexts {
    std::string profile;
    std::string session;
    std::string ca;
};

void AddLoginOptions(CLI::App& program, GlobalOptions& options, GlobalTexts& texts) {
    CLI::Option* profile =
        program
            .add_option("--profile", texts.profile,
                        "The login of this name (default: the variable QUILLMARK_PROFILE, else the unnamed one)")
            ->type_name("NAME");
    SetCompletion(*profile, Completes::Profile);
    CLI::Option* session =
        program
            .add_option("--session", texts.session,
                        "The file that keeps the login (default: quillmark/session in the user's data folder, and "
                        "quillmark/profiles/NAME for a profile)")
            ->type_name("FILE")
            ->excludes(profile);
    SetCompletion(*session, Completes::LocalPath);
    CLI::Option* password =
        program
            .add_option(
                "--password-file", options.passwordFile,
                "A file whose first line is the password; - is standard input. Without it: the variable "
                "QUILLMARK_PASSWORD. 'login' asks on the terminal when there is neither; other commands use the "
                "password when the session has ended")
            ->type_name("FILE");
    SetCompletion(*password, Completes::LocalPath);
}

void AddGlobalOptions(CLI::App& program, GlobalOptions& options, GlobalTexts& texts) {
    AddLoginOptions(program, options, texts);
    program
        .add_option("--retries", options.retries,
                    "How often a request is repeated after a lost connection or a failure of the server; 0 is never")
        ->default_val(RetryBudget::DefaultRetries)
        ->check(CLI::Range(0, 1000))
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
        ->type_name("N");
    program.add_flag("--json", options.json, "Print results as JSON objects, one on each line");
    program.add_flag("-q,--quiet", options.quiet, "Print neither names of files nor progress");
    program.add_flag("--trace", options.trace,
                     "Show each request on standard error: method, path, status, time, bytes; never a secret");
    CLI::Option* log =
        program
            .add_option("--log", options.logPath,
                        "Append the library's log to this file, - is standard error; passwords are masked in it, the "
                        "session's token is not")
            ->type_name("FILE");
    SetCompletion(*log, Completes::LocalPath);
    CLI::Option* authorities =
        program.add_option("--ca", texts.ca, "Trust the certificate authorities in this PEM file as well")
            ->type_name("FILE");
    SetCompletion(*authorities, Completes::LocalPath);
    program.set_version_flag("--version", "quillmark " QUILLMARK_VERSION, "Print the version of this program and exit");
    program.require_subcommand(1);
    program.allow_windows_style_options(false);  // "/file" is a path on the server, on every system
    program.fallthrough();                       // these options may also stand after the command
}

void AddCommands(CLI::App& program, const GlobalOptions& options, Action& action) {
    UseHelpTexts(program);
    for (const CommandGroup& group : CommandGroups()) {
        for (const CommandRegistration registration : group.commands) {
            program.group(group.heading);  // each new command takes it over
            registration(program, options, action);
        }
    }
}

void ChooseSession(GlobalOptions& options, const GlobalTexts& texts) {
    if (!texts.session.empty()) {
        options.sessionPath = options.Path(texts.session);
        return;
    }
    options.profile = texts.profile.empty() ? Environment("QUILLMARK_PROFILE") : texts.profile;
    if (!options.profile.empty() && !IsProfileName(options.profile)) {
        throw Failure("'" + Printable(WidenUtf8(options.profile)) +
                          "' cannot be a profile's name: one has letters, digits, - and _, and is not 'uploads'",
                      ExitCode::Usage);
    }
    options.sessionPath = ProfilePath(options.profile);
}

ExitCode Run(const Action& action, GlobalOptions& options, const GlobalTexts& texts) {
    try {
        ChooseSession(options, texts);
        if (options.passwordFile == "-") {
            options.inputPassword = ReadPasswordLine(options.interrupt);
        }
        const ExitCode result = action();
        FinishOutput();
        return result;
    } catch (const OutputClosed&) {
        return ExitCode::SomeFailed;
    } catch (const Failure& failure) {
        const bool cancelled = options.Interrupted();
        // Some commands say more of a cancellation: what is left.
        const bool says = !cancelled || failure.Sentence().starts_with("cancelled");
        PrintError("quillmark: " + (says ? failure.Sentence() : "cancelled"));
        return cancelled ? ExitCode::Cancelled : failure.Exit();
    } catch (const std::bad_alloc&) {
        PrintError("quillmark: " + ErrorText(ERROR_NOT_ENOUGH_MEMORY));
        return ExitCodeFor(ERROR_NOT_ENOUGH_MEMORY, false);
    }
}

// Help and version go to standard output, anything else is a mistake.
int EndParsing(const CLI::App& program, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        return program.exit(error);
    }
    WriteError(UsageError(program, error));
    return static_cast<int>(ExitCode::Usage);
}

}  // namespace

int main(int count, char** values) {
    CLI::App program("Talks to a Quillmark server.", "quillmark");
    GlobalOptions options;
    GlobalTexts texts;
    Action action;
    AddGlobalOptions(program, options, texts);
    AddCommands(program, options, action);
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
        return EndParsing(program, error);
    }
    options.caPath = texts.ca.empty() ? WideString() : options.Path(texts.ca);
    options.interrupt = InterruptEvent();
    return static_cast<int>(Run(action, options, texts));
}
