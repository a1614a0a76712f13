#include "help/Completion.h"

namespace quillmark::cli {
namespace {

constexpr const char* Head = R"bash(# Completion of quillmark for bash; made by 'quillmark completion bash'.

)bash";

// What the functions that know the declarations set: $commands, $options and $arguments; $kind.
constexpr const char* Tail = R"bash(
_quillmark_server_paths() {
    local folder=${plain%"${plain##*/}"} name
    while IFS= read -r name; do
        [[ $folder$name == "$plain"* ]] && COMPREPLY+=("$folder$name")
    done < <("${COMP_WORDS[0]}" "${login[@]}"@QUIET@ ls --sort none -- "${folder:-/}" 2>/dev/null </dev/null)
    compopt -o filenames 2>/dev/null
    [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == */ ]] && compopt -o nospace 2>/dev/null
    return 0
}

_quillmark_profiles() {
    mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" profiles 2>/dev/null </dev/null | cut -f1)" -- "$cur")
}

_quillmark_complete() {
    case $1 in
    local)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$plain")
        ;;
    server) _quillmark_server_paths ;;
    profile) _quillmark_profiles ;;
    '='*) mapfile -t COMPREPLY < <(compgen -W "${1#=}" -- "$cur") ;;
    esac
}

_quillmark() {
    local cur=${COMP_WORDS[COMP_CWORD]} command= place=0 pending= option= index word kind plain
    local commands options arguments
    local -a login=() places
    COMPREPLY=()
    _quillmark_declared ''
    for ((index = 1; index < COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        if [[ -n $pending && ! ($pending == *'*' && $word == -*) ]]; then
            [[ $word == '=' ]] && continue
            [[ ' @LOGIN@ ' == *" $option "* ]] && login+=("$option" "${word//[\"\'\\]/}")
            [[ $pending == *'*' ]] || pending=
        elif [[ $word == -* ]]; then
            _quillmark_value "$command" "$word"
            pending=$kind option=$word
        elif [[ " $commands " == *" $word "* ]]; then
            command=${command:+$command }$word place=0
            _quillmark_declared "$command"
        else
            place=$((place + 1))
        fi
    done
    [[ $cur == '=' ]] && cur=
    plain=${cur#[\"\']}
    plain=${plain//\\/}
    if [[ -n $pending && ! ($pending == *'*' && $cur == -*) ]]; then
        _quillmark_complete "${pending%'*'}"
    elif [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    elif [[ -n $commands ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$cur")
    else
        read -r -a places <<<"$arguments"
        word=${places[place]-}
        [[ -z $word && ${#places[@]} -gt 0 && ${places[-1]} == *'*' ]] && word=${places[-1]}
        _quillmark_complete "${word%'*'}"
    fi
}

complete -F _quillmark quillmark
)bash";

std::string Kind(const Declared& declared) {
    std::string kind = "-";
    if (!declared.choices.empty()) {
        kind = "=";
        for (const std::string& choice : declared.choices) {
            kind += (kind.size() == 1 ? "" : " ") + choice;
        }
    } else if (declared.completes) {
        kind = *declared.completes == Completes::LocalPath    ? "local"
               : *declared.completes == Completes::ServerPath ? "server"
                                                              : "profile";
    }
    return kind + (declared.many ? "*" : "");
}

std::string Names(const std::vector<Declared>& options) {
    std::string names;
    for (const Declared& option : options) {
        for (const std::string& name : option.names) {
            names += (names.empty() ? "" : " ") + name;
        }
    }
    return names;
}

// Sets what a command has: _quillmark_declared COMMAND.
std::string DeclaredFunction(const DeclaredCommand& program) {
    std::string text = "_quillmark_declared() {\n    commands= options= arguments=\n    case $1 in\n";
    for (const DeclaredCommand* command : AllCommands(program)) {
        std::string commands;
        for (const DeclaredCommand& below : command->commands) {
            commands += (commands.empty() ? "" : " ") + below.path.back();
        }
        std::string arguments;
        for (const Declared& argument : command->arguments) {
            // A word of a list is no place to be told apart by a space.
            const std::string kind = argument.choices.empty() ? Kind(argument) : "-";
            arguments += (arguments.empty() ? "" : " ") + kind;
        }
        const std::string globals = command == &program ? "" : " " + Names(program.options);
        text += "    " + ShellQuoted(command->Name()) + ")\n";
        text += "        commands=" + ShellQuoted(commands) + "\n";
        text += "        options=" + ShellQuoted(Names(command->options) + globals) + "\n";
        text += "        arguments=" + ShellQuoted(arguments) + "\n        ;;\n";
    }
    return text + "    esac\n}\n";
}

// Sets $kind to what an option's value is, to nothing for a flag: _quillmark_value COMMAND OPTION.
std::string ValueFunction(const DeclaredCommand& program) {
    std::string text = "\n_quillmark_value() {\n    kind=\n    case \"$1 $2\" in\n";
    for (const DeclaredCommand* command : AllCommands(program)) {
        for (const Declared& option : command->options) {
            if (option.value.empty() || option.valueIsOptional) {
                continue;
            }
            std::string patterns;
            for (const std::string& name : option.names) {
                const std::string own = ShellQuoted(command->Name() + " " + name);
                patterns +=
                    (patterns.empty() ? "" : " | ") + (command == &program ? "*" + ShellQuoted(" " + name) : own);
            }
            text += "    " + patterns + ") kind=" + ShellQuoted(Kind(option)) + " ;;\n";
        }
    }
    return text + "    esac\n}\n";
}

}  // namespace

std::string BashCompletion(const DeclaredCommand& program) {
    const std::string tail = WithLogin(Tail, program);
    return Head + DeclaredFunction(program) + ValueFunction(program) + tail;
}

}  // namespace quillmark::cli
