#include "help/Completion.h"

namespace quillmark::cli {
namespace {

constexpr const char* Head = R"bash(# Completion of quillmark for bash; made by 'quillmark completion bash'.

)bash";

// What the functions that know the declarations set: $commands, $options and $arguments; $kind. $words are the words up
// to the cursor as the shell would pass them, the last one is the one to complete. Bash itself has them in pieces,
// since it breaks them at : and = as well, and replaces the last piece only: $kept is what stands before that piece.
constexpr const char* Tail = R"bash(
_quillmark_split() {
    local line=$1 quote= unit word= started= index
    words=()
    for ((index = 0; index < ${#line}; ++index)); do
        unit=${line:index:1}
        case $quote$unit in
        "''" | '""') quote= ;;
        '"\')
            unit=${line: ++index:1}
            [[ $unit == [\"\\\$\`] ]] || word+='\'
            word+=$unit
            ;;
        "'"?* | '"'?*) word+=$unit ;;
        "'" | '"') quote=$unit started=1 ;;
        '\') word+=${line: ++index:1} started=1 ;;
        ' ' | $'\t')
            [[ -n $started ]] && words+=("$word")
            word= started=
            ;;
        *) word+=$unit started=1 ;;
        esac
    done
    words+=("$word")
}

# Offers those of the lines that begin as the word does.
_quillmark_offer() {
    local candidate
    while IFS= read -r candidate; do
        [[ $candidate == "$cur"* ]] && COMPREPLY+=("${candidate:${#kept}}")
    done
    return 0
}

# Bash by itself lets $ and ` stand in names that are no local files.
_quillmark_quote() {
    local index
    compopt -o noquote 2>/dev/null
    for index in "${!COMPREPLY[@]}"; do
        printf -v "COMPREPLY[index]" %q "${COMPREPLY[index]}"
    done
}

_quillmark_server_paths() {
    local folder=${cur%"${cur##*/}"} name
    _quillmark_offer < <("${COMP_WORDS[0]}" "${login[@]}"@QUIET@ ls --sort none -- "${folder:-/}" 2>/dev/null </dev/null |
        while IFS= read -r name; do printf '%s\n' "$folder$name"; done)
    compopt -o filenames 2>/dev/null
    [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == */ ]] && compopt -o nospace 2>/dev/null
    [[ ${COMP_WORDS[COMP_CWORD]} == [\"\']* ]] || _quillmark_quote
    return 0
}

_quillmark_complete() {
    case $1 in
    local)
        compopt -o filenames 2>/dev/null
        _quillmark_offer < <(compgen -f -- "$cur")
        ;;
    server) _quillmark_server_paths ;;
    profile) _quillmark_offer < <("${COMP_WORDS[0]}" profiles 2>/dev/null </dev/null | cut -f1) ;;
    '='*) _quillmark_offer < <(tr ' ' '\n' <<<"${1#=}") ;;
    esac
}

_quillmark() {
    local cur kept command= place=0 pending= option= index word kind
    local commands options arguments
    local -a login=() places words
    COMPREPLY=()
    _quillmark_split "${COMP_WORDS[COMP_CWORD]}"
    word=${words[-1]}
    [[ $word == [=:@] ]] && word=
    _quillmark_split "${COMP_LINE:0:COMP_POINT}"
    cur=${words[-1]} kept=${words[-1]}
    kept=${kept:0:${#kept}-${#word}}
    _quillmark_declared ''
    for ((index = 1; index < ${#words[@]} - 1; ++index)); do
        word=${words[index]}
        if [[ -n $pending && ! ($pending == *'*' && $word == -*) ]]; then
            [[ ' @LOGIN@ ' == *" $option "* ]] && login+=("$option" "$word")
            [[ $pending == *'*' ]] || pending=
        elif [[ $word == --*=* ]]; then
            [[ ' @LOGIN@ ' == *" ${word%%=*} "* ]] && login+=("$word")
            pending=
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
    if [[ $cur == --*=* ]]; then
        _quillmark_value "$command" "${cur%%=*}"
        pending=$kind
        word=${cur%%=*}=
        cur=${cur#*=} kept=${kept:${#word}}
    fi
    if [[ -n $pending && ! ($pending == *'*' && $cur == -*) ]]; then
        _quillmark_complete "${pending%'*'}"
    elif [[ $cur == -* ]]; then
        _quillmark_offer < <(tr ' ' '\n' <<<"$options")
    elif [[ -n $commands ]]; then
        _quillmark_offer < <(tr ' ' '\n' <<<"$commands")
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
        const std::string globals = command == &program ? "" : " " + Names(CommonOptions(program, *command));
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
