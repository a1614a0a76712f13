// quillmark completion, help, man-page: the declarations of the command line in other forms.
#include "help/Completion.h"

#include <algorithm>
#include <memory>

#include "Output.h"
#include "commands/Commands.h"
#include "help/HelpText.h"
#include "help/ManPage.h"
#include "help/UsageError.h"

namespace quillmark::cli {
namespace {

void PrintText(const std::string& text) {
    PrintBytes(text.data(), text.size());
}

std::string CompletionFor(const std::string& shell, const DeclaredCommand& program) {
    if (shell == "bash") {
        return BashCompletion(program);
    }
    return shell == "zsh" ? ZshCompletion(program) : FishCompletion(program);
}

// The words go down from the program to one of its commands.
const DeclaredCommand& CommandNamed(const std::vector<std::string>& words, const DeclaredCommand& program) {
    const DeclaredCommand* command = &program;
    for (const std::string& word : words) {
        const auto below = std::find_if(command->commands.begin(), command->commands.end(),
                                        [&](const DeclaredCommand& each) { return each.path.back() == word; });
        if (below == command->commands.end()) {
            throw Failure(NoSuchCommand(*command, word), ExitCode::Usage);
        }
        command = &*below;
    }
    return *command;
}

}  // namespace

void RegisterCompletion(CLI::App& program, const GlobalOptions& /*global*/, Action& action) {
    const auto shell = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("completion", "Print a script that completes this command line");
    command->add_option("shell", *shell, "For which shell")->required()->check(CLI::IsMember({"bash", "zsh", "fish"}));
    AddExamples(*command, {{"quillmark completion bash > quillmark.bash", "to be read by '.' from ~/.bashrc"},
                           {"quillmark completion zsh > _quillmark", "into a folder of $fpath"},
                           {"quillmark completion fish > quillmark.fish", "into ~/.config/fish/completions"}});
    command->callback([shell, &program, &action] {
        action = [shell, &program] {
            PrintText(CompletionFor(*shell, Declarations(program)));
            return ExitCode::Success;
        };
    });
}

void RegisterHelp(CLI::App& program, const GlobalOptions& /*global*/, Action& action) {
    const auto words = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("help", "Show this help, or that of a command");
    // Else the name of a command would be taken for the command itself.
    command->fallthrough(false);
    command->add_option("command", *words, "The command, for example: uploads state");
    AddExamples(*command, {{"quillmark help sync", ""}});
    command->callback([words, &program, &action] {
        action = [words, &program] {
            PrintText(HelpText(CommandNamed(*words, Declarations(program)), HelpWidth()));
            return ExitCode::Success;
        };
    });
}

// For those who build and package the program: not among the commands that the help shows.
void RegisterManPage(CLI::App& program, const GlobalOptions& /*global*/, Action& action) {
    CLI::App* command = program.add_subcommand("man-page", "Print the source of the man page");
    command->group("");
    command->callback([&program, &action] {
        action = [&program] {
            PrintText(ManPage(Declarations(program), program.version()));
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
