#include "help/Completion.h"

namespace quillmark::cli {
namespace {

constexpr const char* Head = R"fish(# Completion of quillmark for fish; made by 'quillmark completion fish'.

set -g __quillmark_commands@COMMANDS@
set -g __quillmark_valued@VALUED@

# The command before the cursor, how many arguments it has, and what chooses the login, on a line each.
function __quillmark_position
    set -l command
    set -l place 0
    set -l option
    set -l login
    for token in (commandline -opc)[2..-1]
        if test -n "$option"
            contains -- "$option" @LOGIN@; and set -a login $option $token
            set option
            continue
        end
        switch $token
            case '--*=*'
            case '-*'
                contains -- " $token" $__quillmark_valued; and set option $token
                contains -- "$command $token" $__quillmark_valued; and set option $token
            case '*'
                set -l longer (string trim -- "$command $token")
                if contains -- "$longer" $__quillmark_commands
                    set command $longer
                    set place 0
                else
                    set place (math $place + 1)
                end
        end
    end
    printf '%s\n' "$command" $place $login
end

function __quillmark_command -a wanted
    set -l position (__quillmark_position)
    test "$position[1]" = "$wanted" -a "$position[2]" = 0
end

function __quillmark_options -a wanted
    set -l position (__quillmark_position)
    test "$position[1]" = "$wanted"
end

function __quillmark_argument -a wanted first last
    set -l position (__quillmark_position)
    test "$position[1]" = "$wanted" -a $position[2] -ge $first -a $position[2] -le $last
end

function __quillmark_server_paths
    set -l login (__quillmark_position)[3..-1]
    set -l folder (string replace -r '[^/]*$' '' -- (commandline -ct))
    set -l start $folder
    test -n "$start"; or set start /
    for name in (command quillmark $login@QUIET@ ls --sort none -- $start 2>/dev/null </dev/null)
        echo -- $folder$name
    end
end

function __quillmark_profiles
    command quillmark profiles 2>/dev/null </dev/null | string replace -r '\t.*' ''
end

complete -c quillmark -f
)fish";

std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char unit : text) {
        if (unit == '\'' || unit == '\\') {
            quoted += '\\';
        }
        quoted += unit;
    }
    return quoted + "'";
}

std::string Values(const Declared& declared) {
    if (!declared.choices.empty()) {
        std::string words;
        for (const std::string& choice : declared.choices) {
            words += (words.empty() ? "" : " ") + choice;
        }
        return " -a " + Quoted(words);
    }
    if (!declared.completes) {
        return "";
    }
    switch (*declared.completes) {
        case Completes::LocalPath:
            return " -F";
        case Completes::ServerPath:
            return " -a '(__quillmark_server_paths)'";
        case Completes::Profile:
            return " -a '(__quillmark_profiles)'";
    }
    return "";
}

std::string OptionLine(const Declared& option, const std::string& condition) {
    std::string line = "complete -c quillmark" + condition;
    for (const std::string& name : option.names) {
        line += name.starts_with("--") ? " -l " + Quoted(name.substr(2)) : " -s " + Quoted(name.substr(1));
    }
    if (!option.value.empty() && !option.valueIsOptional) {
        line += " -r" + Values(option);
    }
    return line + " -d " + Quoted(option.help) + "\n";
}

std::string ArgumentLines(const DeclaredCommand& command) {
    constexpr std::size_t WithoutEnd = 9999;
    std::string text;
    for (std::size_t index = 0; index < command.arguments.size(); ++index) {
        const Declared& argument = command.arguments[index];
        const std::string values = Values(argument);
        if (!values.empty()) {
            const std::size_t last = argument.many ? WithoutEnd : index;
            text += "complete -c quillmark -n " +
                    Quoted("__quillmark_argument " + Quoted(command.Name()) + " " + std::to_string(index) + " " +
                           std::to_string(last)) +
                    values + "\n";
        }
    }
    return text;
}

std::string CommandLines(const DeclaredCommand& command, bool whole) {
    const std::string name = Quoted(command.Name());
    std::string text;
    for (const DeclaredCommand& below : command.commands) {
        text += "complete -c quillmark -n " + Quoted("__quillmark_command " + name) + " -a " +
                Quoted(below.path.back()) + " -d " + Quoted(below.help) + "\n";
    }
    for (const Declared& option : command.options) {
        text += OptionLine(option, whole ? "" : " -n " + Quoted("__quillmark_options " + name));
    }
    return text + ArgumentLines(command);
}

// "put --chunk" for each option that the next word belongs to.
std::string Valued(const std::vector<const DeclaredCommand*>& commands) {
    std::string text;
    for (const DeclaredCommand* command : commands) {
        for (const Declared& option : command->options) {
            if (option.value.empty() || option.valueIsOptional) {
                continue;
            }
            for (const std::string& name : option.names) {
                text += " " + Quoted(command->Name() + " " + name);
            }
        }
    }
    return text;
}

}  // namespace

std::string FishCompletion(const DeclaredCommand& program) {
    const std::vector<const DeclaredCommand*> all = AllCommands(program);
    std::string names;
    std::string lines;
    for (const DeclaredCommand* command : all) {
        names += command == &program ? "" : " " + Quoted(command->Name());
        lines += CommandLines(*command, command == &program);
    }
    std::string head = Replaced(Replaced(Head, "@COMMANDS@", names), "@VALUED@", Valued(all));
    return WithLogin(head, program) + lines;
}

}  // namespace quillmark::cli
