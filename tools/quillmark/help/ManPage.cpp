#include "help/ManPage.h"

namespace quillmark::cli {
namespace {

// Characters that the formatter would take for something else, or set as another.
std::string Plain(const std::string& text) {
    std::string plain;
    bool lineStart = true;
    for (const char unit : text) {
        if (lineStart && (unit == '.' || unit == '\'')) {
            plain += "\\&";
        }
        lineStart = unit == '\n';
        switch (unit) {
            case '\\':
                plain += "\\(rs";
                break;
            case '-':
                plain += "\\-";
                break;
            case '\'':
                plain += "\\(aq";
                break;
            case '`':
                plain += "\\(ga";
                break;
            case '~':
                plain += "\\(ti";
                break;
            case '^':
                plain += "\\(ha";
                break;
            default:
                plain += unit;
        }
    }
    return plain;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Plain(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + Plain(text) + "\\fR";
}

// "-u, --user NAME"
std::string Heading(const Declared& option) {
    std::string heading;
    for (const std::string& name : option.names) {
        heading += (heading.empty() ? "" : ", ") + Bold(name);
    }
    if (!option.value.empty()) {
        const std::string value = Italic(option.value) + (option.many ? " ..." : "");
        heading += option.valueIsOptional ? " [" + value + "]" : " " + value;
    }
    return heading;
}

std::string Entries(const DeclaredCommand& command) {
    std::string text;
    for (const Declared& argument : command.arguments) {
        text += ".TP\n" + Italic(argument.names.front()) + "\n" + Plain(Explanation(argument)) + "\n";
    }
    for (const Declared& option : command.options) {
        text += ".TP\n" + Heading(option) + "\n" + Plain(Explanation(option)) + "\n";
    }
    return text;
}

// "quillmark put [OPTIONS] local remote"
std::string Usage(const DeclaredCommand& command) {
    std::string usage = Bold("quillmark " + command.Name());
    if (!command.options.empty()) {
        usage += " [" + Italic("OPTIONS") + "]";
    }
    for (const Declared& argument : command.arguments) {
        const std::string name = Italic(argument.names.front()) + (argument.many ? " ..." : "");
        usage += argument.required ? " " + name : " [" + name + "]";
    }
    return usage;
}

std::string Body(const Paragraph& paragraph) {
    return paragraph.lines ? ".nf\n" + Plain(paragraph.text) + "\n.fi\n" : Plain(paragraph.text) + "\n";
}

std::string UpperCase(std::string text) {
    for (char& unit : text) {
        unit = unit >= 'a' && unit <= 'z' ? static_cast<char>(unit - 'a' + 'A') : unit;
    }
    return text;
}

std::string CommandText(const DeclaredCommand& command) {
    std::string text = ".SS " + Usage(command) + "\n" + Plain(command.help) + ".\n" + Entries(command);
    for (const Paragraph& paragraph : Paragraphs(command.footer)) {
        text += ".PP\n" + Plain(paragraph.title) + ":\n.PP\n" + Body(paragraph);
    }
    return text;
}

// Those of one group, each followed by those below it.
std::string CommandsOf(const DeclaredCommand& program, const std::string& group) {
    std::string text;
    for (const DeclaredCommand& command : program.commands) {
        if (command.group != group) {
            continue;
        }
        for (const DeclaredCommand* each : AllCommands(command)) {
            text += CommandText(*each);
        }
    }
    return text;
}

}  // namespace

std::string ManPage(const DeclaredCommand& program, const std::string& version) {
    std::string page = ".TH QUILLMARK 1 \"\" \"" + Plain(version) + "\" \"User Commands\"\n";
    page += ".SH NAME\nquillmark \\- command\\-line host of the Quillmark client library\n";
    page += ".SH SYNOPSIS\n" + Bold("quillmark") + " [" + Italic("OPTIONS") + "] " + Italic("COMMAND") + " ...\n";
    page += ".SH DESCRIPTION\n" + Plain(program.help) + "\n";
    page +=
        "Server paths begin with a slash, which may be left out. Results go to standard output, everything else to "
        "standard error.\n";
    page += ".SH OPTIONS\nThey may stand before the command and after it.\n" + Entries(program);
    for (const std::string& group : Groups(program)) {
        page += ".SH COMMANDS: " + Plain(UpperCase(group)) + "\n" + CommandsOf(program, group);
    }
    for (const Paragraph& paragraph : Paragraphs(program.footer)) {
        page += ".SH " + Plain(UpperCase(paragraph.title)) + "\n" + Body(paragraph);
    }
    page += ".SH ENVIRONMENT\n.TP\n" + Bold("QUILLMARK_PASSWORD") +
            "\nThe password, where none is named otherwise; without it \\(oqquillmark login\\(cq asks the terminal.\n";
    page += ".TP\n" + Bold("QUILLMARK_PROFILE") + "\nThe profile, where none is named otherwise.\n";
    page += ".SH FILES\n.TP\n" + Italic("~/.local/share/quillmark") +
            "\nThe logins and the records of unfinished uploads; under $XDG_DATA_HOME where that is set.\n";
    return page;
}

}  // namespace quillmark::cli
