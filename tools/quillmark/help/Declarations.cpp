#include "help/Declarations.h"

#include <algorithm>
#include <iterator>

namespace quillmark::cli {
namespace {

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::string WithCommas(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

// "1 to 100" out of "UINT in [1 - 100]"; other texts as they are.
std::string Limits(const std::string& text) {
    const std::size_t start = text.find(" in [");
    const std::size_t middle = text.find(" - ", start);
    if (start == std::string::npos || middle == std::string::npos || !text.ends_with(']')) {
        return text;
    }
    const std::size_t first = start + 5;
    return text.substr(first, middle - first) + " to " + text.substr(middle + 3, text.size() - middle - 4);
}

// The parser writes the type as "FILE", "N:UINT in [1 - 100]" or "TEXT:{name,size}".
void TakeType(const std::string& type, Declared& declared) {
    const std::size_t colon = type.find(':');
    declared.value = type.substr(0, colon);
    if (colon == std::string::npos) {
        return;
    }
    const std::string rest = type.substr(colon + 1);
    if (rest.starts_with('{') && rest.ends_with('}')) {
        declared.choices = Split(rest.substr(1, rest.size() - 2), ',');
    } else {
        declared.limits = Limits(rest);
    }
}

std::string UpperCase(std::string text) {
    for (char& unit : text) {
        unit = unit >= 'a' && unit <= 'z' ? static_cast<char>(unit - 'a' + 'A') : unit;
    }
    return text;
}

Declared Describe(const CLI::Option& option) {
    Declared declared;
    declared.help = option.get_description();
    declared.required = option.get_required();
    declared.standard = option.get_default_str();
    declared.many = option.get_items_expected_max() > 1;
    if (option.get_items_expected_max() > 0) {
        TakeType(option.get_type_name(), declared);
        declared.valueIsOptional = option.get_items_expected_min() == 0;
    }
    for (const std::string& name : option.get_snames()) {
        declared.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        declared.names.push_back("--" + name);
    }
    if (option.get_positional()) {
        declared.names = {UpperCase(option.get_name(true))};
    }
    declared.completes = CompletionOf(option);
    return declared;
}

bool IsOfEachCommand(const CLI::Option& option) {
    return option.check_lname("help") || option.check_lname("version");
}

void Fill(const CLI::App& app, DeclaredCommand& command) {
    if (!app.get_name().empty()) {
        // Headings are for the many of the program.
        command.group = command.path.size() > 1 ? "Commands" : app.get_group();
        command.help = app.get_description();
        command.footer = app.get_footer();
        command.needsCommand = app.get_require_subcommand_min() > 0;
    }
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_group().empty() || (!command.path.empty() && IsOfEachCommand(*option))) {
            continue;
        }
        (option->get_positional() ? command.arguments : command.options).push_back(Describe(*option));
    }
    for (const CLI::App* below : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (below->get_name().empty()) {
            Fill(*below, command);  // a group of options, out of which one has to be given
        } else if (!below->get_group().empty()) {
            DeclaredCommand next;
            next.path = command.path;
            next.path.push_back(below->get_name());
            Fill(*below, next);
            command.commands.push_back(std::move(next));
        }
    }
}

void Collect(const DeclaredCommand& command, std::vector<const DeclaredCommand*>& all) {
    all.push_back(&command);
    for (const DeclaredCommand& below : command.commands) {
        Collect(below, all);
    }
}

}  // namespace

std::string DeclaredCommand::Name() const {
    std::string name;
    for (const std::string& word : path) {
        name += (name.empty() ? "" : " ") + word;
    }
    return name;
}

DeclaredCommand Declarations(const CLI::App& program) {
    DeclaredCommand whole;
    Fill(program, whole);
    return whole;
}

DeclaredCommand Declaration(const CLI::App& command) {
    DeclaredCommand declared;
    for (const CLI::App* app = &command; app->get_parent() != nullptr; app = app->get_parent()) {
        declared.path.insert(declared.path.begin(), app->get_name());
    }
    Fill(command, declared);
    return declared;
}

std::vector<std::string> Groups(const DeclaredCommand& command) {
    std::vector<std::string> groups;
    for (const DeclaredCommand& below : command.commands) {
        if (std::find(groups.begin(), groups.end(), below.group) == groups.end()) {
            groups.push_back(below.group);
        }
    }
    return groups;
}

std::vector<Paragraph> Paragraphs(const std::string& footer) {
    std::vector<Paragraph> paragraphs;
    for (std::size_t start = 0; start < footer.size();) {
        const std::size_t end = std::min(footer.find("\n\n", start), footer.size());
        std::string text = footer.substr(start, end - start);
        start = end + 2;
        text.erase(0, text.find_first_not_of('\n'));
        const std::size_t colon = text.find(':');
        if (text.empty() || colon == std::string::npos) {
            continue;
        }
        const bool lines = text[colon + 1] == '\n';
        paragraphs.push_back({text.substr(0, colon), text.substr(colon + 2), lines});
    }
    return paragraphs;
}

std::string Explanation(const Declared& declared) {
    std::string text = declared.help + ".";
    if (!declared.choices.empty()) {
        text += " One of: " + WithCommas(declared.choices) + ".";
    }
    if (!declared.limits.empty()) {
        text += " From " + declared.limits + ".";
    }
    if (!declared.standard.empty()) {
        text += " Default: " + declared.standard + ".";
    }
    return text;
}

std::vector<Declared> CommonOptions(const DeclaredCommand& program, const DeclaredCommand& command) {
    std::vector<Declared> common;
    for (Declared option : program.options) {
        for (const Declared& own : command.options) {
            std::erase_if(option.names, [&own](const std::string& name) {
                return std::find(own.names.begin(), own.names.end(), name) != own.names.end();
            });
        }
        if (!option.names.empty()) {
            common.push_back(std::move(option));
        }
    }
    return common;
}

std::vector<const DeclaredCommand*> AllCommands(const DeclaredCommand& program) {
    std::vector<const DeclaredCommand*> all;
    Collect(program, all);
    return all;
}

}  // namespace quillmark::cli
