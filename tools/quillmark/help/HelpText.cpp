#include "help/HelpText.h"

#include <algorithm>
#include <sstream>

#include "terminal/Terminal.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t Indent = 2;
constexpr std::size_t Gap = 2;
constexpr std::size_t WidestTerm = 22;  // a longer one has its explanation below it
constexpr std::size_t NarrowestText = 20;

// A term and its explanation, side by side.
struct Entry {
    std::string term;
    std::string text;
};

std::string Blanks(std::size_t count) {
    return std::string(count, ' ');
}

// Words up to the width, each further line behind so many blanks; begins in the column where the text stands already.
std::string Filled(const std::string& text, std::size_t column, std::size_t hang, std::size_t width) {
    std::string filled;
    std::istringstream words(text);
    bool first = true;
    const std::size_t limit = std::max(width, hang + NarrowestText);
    for (std::string word; words >> word; first = false) {
        if (!first && column + 1 + word.size() > limit) {
            filled += "\n" + Blanks(hang) + word;
            column = hang + word.size();
        } else {
            filled += (first ? "" : " ") + word;
            column += word.size() + (first ? 0 : 1);
        }
    }
    return filled + "\n";
}

std::string EntryText(const Entry& entry, std::size_t column, std::size_t width) {
    const std::string start = Blanks(Indent) + entry.term;
    const bool fits = start.size() + Gap <= column;
    return start + (fits ? Blanks(column - start.size()) : "\n" + Blanks(column)) +
           Filled(entry.text, column, column, width);
}

std::string EntryTexts(const std::vector<Entry>& entries, std::size_t width) {
    std::size_t widest = 0;
    for (const Entry& entry : entries) {
        widest = std::max(widest, std::min(entry.term.size(), WidestTerm));
    }
    std::string text;
    for (const Entry& entry : entries) {
        text += EntryText(entry, Indent + widest + Gap, width);
    }
    return text;
}

std::string Section(const std::string& title, const std::vector<Entry>& entries, std::size_t width) {
    return entries.empty() ? "" : "\n" + title + ":\n" + EntryTexts(entries, width);
}

// "-u, --user NAME"; names without a short form stand below the long ones.
std::string OptionTerm(const Declared& option) {
    std::string term = option.names.front().starts_with("--") ? "    " : "";
    for (const std::string& name : option.names) {
        term += (&name == &option.names.front() ? "" : ", ") + name;
    }
    if (!option.value.empty()) {
        const std::string value = option.value + (option.many ? "..." : "");
        term += option.valueIsOptional ? " [" + value + "]" : " " + value;
    }
    return term;
}

std::string ArgumentTerm(const Declared& argument) {
    return argument.names.front() + (argument.many ? "..." : "");
}

std::vector<Entry> Entries(const std::vector<Declared>& all, std::string (*term)(const Declared&)) {
    std::vector<Entry> entries;
    for (const Declared& declared : all) {
        entries.push_back({term(declared), Explanation(declared)});
    }
    return entries;
}

// What stands before the first semicolon says what a command is for; the rest is for its own help.
std::string Summary(const std::string& help) {
    return help.substr(0, help.find(';'));
}

// One column of names for all groups.
std::string CommandSections(const DeclaredCommand& command, std::size_t width) {
    std::size_t widest = 0;
    for (const DeclaredCommand& below : command.commands) {
        widest = std::max(widest, below.path.back().size());
    }
    std::string text;
    for (const std::string& group : Groups(command)) {
        text += "\n" + group + ":\n";
        for (const DeclaredCommand& below : command.commands) {
            if (below.group == group) {
                text += EntryText({below.path.back(), Summary(below.help)}, Indent + widest + Gap, width);
            }
        }
    }
    return text;
}

std::string Usage(const DeclaredCommand& command) {
    std::string usage = "Usage: quillmark" + (command.path.empty() ? "" : " " + command.Name());
    usage += command.options.empty() ? "" : " [OPTIONS]";
    for (const Declared& argument : command.arguments) {
        usage += argument.required ? " " + ArgumentTerm(argument) : " [" + ArgumentTerm(argument) + "]";
    }
    const char* below = command.needsCommand ? " COMMAND ..." : " [COMMAND ...]";
    return usage + (command.commands.empty() ? "" : below);
}

// A comment that does not fit goes above its line.
std::string ExampleLines(const std::string& lines, std::size_t width) {
    std::string text;
    std::istringstream examples(lines);
    for (std::string line; std::getline(examples, line);) {
        const std::size_t comment = line.find("  # ");
        if (line.size() > width && comment != std::string::npos) {
            const std::string example = line.substr(0, line.find_last_not_of(' ', comment) + 1);
            line = line.substr(comment) + "\n" + example;
        }
        text += line + "\n";
    }
    return text;
}

std::string Footer(const std::string& footer, std::size_t width) {
    std::string text;
    for (const Paragraph& paragraph : Paragraphs(footer)) {
        const std::string title = paragraph.title + ":";
        text += "\n" + title;
        text += paragraph.lines ? "\n" + ExampleLines(paragraph.text, width)
                                : " " + Filled(paragraph.text, title.size() + 1, Indent, width);
    }
    return text;
}

}  // namespace

std::size_t HelpWidth() {
    constexpr std::size_t Widest = 100;
    return IsOutputTerminal() ? std::min(SizeOfTerminal().columns, Widest) : TerminalSize().columns;
}

std::string HelpText(const DeclaredCommand& command, std::size_t width) {
    const bool whole = command.path.empty();
    std::string text = Usage(command) + "\n\n" + Filled(command.help + (whole ? "" : "."), 0, 0, width);
    text += CommandSections(command, width);
    text += Section("Arguments", Entries(command.arguments, ArgumentTerm), width);
    text += Section(whole ? "Common options" : "Options", Entries(command.options, OptionTerm), width);
    if (!whole) {
        text += "\n" + Filled("Options that all commands have (--profile, --json, --quiet ...): 'quillmark --help'.", 0,
                              0, width);
    }
    return text + Footer(command.footer, width);
}

std::string ShortHelp(const DeclaredCommand& command, std::size_t width) {
    std::vector<Entry> entries;
    for (const std::string& group : Groups(command)) {
        Entry entry{group, ""};
        for (const DeclaredCommand& below : command.commands) {
            entry.text += below.group == group ? " " + below.path.back() : "";
        }
        entries.push_back(std::move(entry));
    }
    const std::string name = command.path.empty() ? "" : " " + command.Name();
    return Usage(command) + "\n\n" + EntryTexts(entries, width) + "\n" +
           Filled(
               "'quillmark" + name + " --help' says more, 'quillmark" + name + " COMMAND --help' all of one command.",
               0, 0, width);
}

void UseHelpTexts(CLI::App& program) {
    program.formatter_fn([](const CLI::App* app, const std::string& /*name*/, CLI::AppFormatMode /*mode*/) {
        return HelpText(Declaration(*app), HelpWidth());
    });
}

}  // namespace quillmark::cli
