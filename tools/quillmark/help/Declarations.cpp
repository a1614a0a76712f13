#include "help/Declarations.h"

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
        declared.limits = rest;
    }
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
        declared.names = {option.get_name(true)};
    }
    declared.completes = CompletionOf(option);
    return declared;
}

bool IsOfEachCommand(const CLI::Option& option) {
    return option.check_lname("help") || option.check_lname("version");
}

void Fill(const CLI::App& app, DeclaredCommand& command) {
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
            next.help = below->get_description();
            next.footer = below->get_footer();
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
    whole.help = program.get_description();
    whole.footer = program.get_footer();
    Fill(program, whole);
    return whole;
}

std::vector<const DeclaredCommand*> AllCommands(const DeclaredCommand& program) {
    std::vector<const DeclaredCommand*> all;
    Collect(program, all);
    return all;
}

}  // namespace quillmark::cli
