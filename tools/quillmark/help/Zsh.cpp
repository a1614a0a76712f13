#include "help/Completion.h"

namespace quillmark::cli {
namespace {

constexpr const char* Head = R"zsh(#compdef quillmark
# Completion of quillmark for zsh; made by 'quillmark completion zsh'.

# What the commands share has two underscores: those with one belong to a command each, login and profiles among them.

# Adds what chooses the login to $login, from before the command as well as from behind it.
__quillmark_login() {
  local name
  for name in @LOGIN@; do
    (( ${+opt_args[$name]} )) && login+=($name ${(Q)opt_args[$name]})
  done
  return 0
}

__quillmark_server_paths() {
  local folder=${PREFIX%${PREFIX##*/}} name
  local -a names folders
  __quillmark_login
  for name in ${(f)"$(quillmark $login@QUIET@ ls --sort none -- ${(Q)folder:-/} 2>/dev/null </dev/null)"}; do
    case $name in
      */) folders+=(${name%/}) ;;
      *) names+=($name) ;;
    esac
  done
  compset -P '*/'
  (( $#folders )) && compadd -q -S / -a folders
  (( $#names )) && compadd -a names
  return 0
}

__quillmark_profiles() {
  compadd -- ${${(f)"$(quillmark profiles 2>/dev/null </dev/null)"}%%$'\t'*}
}

)zsh";

constexpr const char* Tail = R"(
_quillmark "$@"
)";

// Within the brackets of what _arguments is told.
std::string Explained(const std::string& help) {
    std::string text;
    for (const char unit : help) {
        if (unit == '[' || unit == ']' || unit == '\\') {
            text += '\\';
        }
        text += unit;
    }
    return text;
}

// Between the colons of what _arguments is told.
std::string WithoutColons(const std::string& text) {
    std::string plain;
    for (const char unit : text) {
        plain += unit == ':' ? std::string("\\:") : std::string(1, unit);
    }
    return plain;
}

std::string Action(const Declared& declared) {
    if (!declared.choices.empty()) {
        std::string words;
        for (const std::string& choice : declared.choices) {
            words += (words.empty() ? "" : " ") + choice;
        }
        return "(" + words + ")";
    }
    if (!declared.completes) {
        return " ";
    }
    switch (*declared.completes) {
        case Completes::LocalPath:
            return "_files";
        case Completes::ServerPath:
            return "__quillmark_server_paths";
        case Completes::Profile:
            return "__quillmark_profiles";
    }
    return " ";
}

// "-u+" and "--user=": the value may follow in the same word or in the next one.
std::string NameAndValue(const Declared& option, const std::string& name) {
    std::string told = name;
    if (!option.value.empty() && !option.valueIsOptional) {
        told += name.starts_with("--") ? "=" : "+";
    }
    told += "[" + Explained(option.help) + "]";
    if (!option.value.empty()) {
        told += (option.valueIsOptional ? "::" : ":") + WithoutColons(option.value) + ":" + Action(option);
    }
    return told;
}

std::string OptionLines(const std::vector<Declared>& options) {
    std::string text;
    for (const Declared& option : options) {
        std::string names;
        for (const std::string& name : option.names) {
            names += (names.empty() ? "" : " ") + name;
        }
        const std::string before = option.many ? "*" : option.names.size() > 1 ? "(" + names + ")" : "";
        for (const std::string& name : option.names) {
            text += " \\\n    " + ShellQuoted(before + NameAndValue(option, name));
        }
    }
    return text;
}

std::string ArgumentLines(const std::vector<Declared>& arguments) {
    std::string text;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const Declared& argument = arguments[index];
        const std::string place = argument.many ? "*" : std::to_string(index + 1);
        const std::string colon = argument.required || argument.many ? ":" : "::";
        text +=
            " \\\n    " + ShellQuoted(place + colon + WithoutColons(argument.names.front()) + ":" + Action(argument));
    }
    return text;
}

std::string FunctionName(const DeclaredCommand& command) {
    std::string name = "_quillmark";
    for (const std::string& word : command.path) {
        name += "_" + word;
    }
    return name;
}

// A command that has others below it names them, and leaves the rest of the line to the one that is chosen.
std::string Descent(const DeclaredCommand& command) {
    std::string words;
    std::string cases;
    for (const DeclaredCommand& below : command.commands) {
        words += " \\\n    " + ShellQuoted(WithoutColons(below.path.back()) + ":" + below.help);
        cases += "    " + below.path.back() + ") " + FunctionName(below) + " ;;\n";
    }
    return "  case $state in\n  commands)\n    commands=(" + words + ")\n    _describe command commands\n    ;;\n" +
           "  rest)\n    case $words[1] in\n" + cases + "    esac\n    ;;\n  esac\n";
}

std::string Function(const DeclaredCommand& command, const DeclaredCommand& program) {
    const bool descends = !command.commands.empty();
    std::string text = FunctionName(command) + "() {\n";
    if (descends) {
        text += "  local context state state_descr line\n  local -a commands\n";
    }
    if (&command == &program) {
        text += "  typeset -A opt_args\n  local -a login\n";
    }
    text += std::string("  _arguments -s") + (descends ? " -C" : "") + OptionLines(command.options);
    if (&command != &program) {
        text += OptionLines(CommonOptions(program, command));
    }
    const std::string keep = &command == &program ? "  __quillmark_login\n" : "";
    text += descends ? " \\\n    '1: :->commands' \\\n    '*:: :->rest'\n" + keep + Descent(command)
                     : ArgumentLines(command.arguments) + "\n";
    return text + "}\n\n";
}

}  // namespace

std::string ZshCompletion(const DeclaredCommand& program) {
    std::string text = WithLogin(Head, program);
    for (const DeclaredCommand* command : AllCommands(program)) {
        text += Function(*command, program);
    }
    return text + Tail;
}

}  // namespace quillmark::cli
