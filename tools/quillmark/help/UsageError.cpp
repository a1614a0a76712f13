#include "help/UsageError.h"

#include <algorithm>

#include "help/HelpText.h"

namespace quillmark::cli {
namespace {

// Row by row of the usual table; an exchange of neighbours looks two rows back.
std::size_t Slips(const std::string& from, const std::string& to) {
    std::vector<std::vector<std::size_t>> table(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
    for (std::size_t row = 0; row <= from.size(); ++row) {
        for (std::size_t column = 0; column <= to.size(); ++column) {
            std::size_t& least = table[row][column];
            if (row == 0 || column == 0) {
                least = row + column;
                continue;
            }
            const std::size_t wrong = from[row - 1] == to[column - 1] ? 0 : 1;
            least =
                std::min({table[row - 1][column] + 1, table[row][column - 1] + 1, table[row - 1][column - 1] + wrong});
            if (row > 1 && column > 1 && from[row - 1] == to[column - 2] && from[row - 2] == to[column - 1]) {
                least = std::min(least, table[row - 2][column - 2] + 1);
            }
        }
    }
    return table[from.size()][to.size()];
}

std::string Suggestion(const std::string& word, const std::vector<std::string>& known) {
    constexpr std::size_t OneLetter = 2;  // "-t": any other letter is as near
    const std::string nearest = word.size() <= OneLetter && word.starts_with("-") ? "" : Nearest(word, known);
    return nearest.empty() ? "" : "; did you mean '" + nearest + "'?";
}

std::vector<std::string> OptionNames(const DeclaredCommand& command) {
    std::vector<std::string> names;
    for (const Declared& option : command.options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

// The last one of the commands that were named.
const CLI::App& Chosen(const CLI::App& program) {
    const std::vector<CLI::App*> below = program.get_subcommands();
    return below.empty() ? program : Chosen(*below.front());
}

std::string NoSuchOption(const CLI::App& program, const DeclaredCommand& command, const std::string& word) {
    std::vector<std::string> known = OptionNames(command);
    const std::vector<std::string> common = OptionNames(Declarations(program));
    known.insert(known.end(), common.begin(), common.end());
    const std::string name = word.substr(0, word.find('='));
    return "there is no option '" + name + "'" + Suggestion(name, known);
}

// Of what the parser could not place the first word says most.
std::string Sentence(const CLI::App& program, const DeclaredCommand& command, const CLI::Error& error) {
    const std::vector<std::string> unplaced = program.remaining(true);
    if (unplaced.empty()) {
        return error.what();
    }
    const std::string& word = unplaced.front();
    if (word.starts_with("-") && word.size() > 1) {
        return NoSuchOption(program, command, word);
    }
    return command.commands.empty() ? "'" + word + "' is one argument too many" : NoSuchCommand(command, word);
}

}  // namespace

std::string Nearest(const std::string& word, const std::vector<std::string>& known) {
    constexpr std::size_t LettersForOneSlip = 3;
    std::string nearest;
    std::size_t fewest = std::max<std::size_t>(1, word.size() / LettersForOneSlip) + 1;
    for (const std::string& candidate : known) {
        const std::size_t slips = Slips(word, candidate);
        if (slips < fewest && slips < candidate.size()) {
            fewest = slips;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string NoSuchCommand(const DeclaredCommand& above, const std::string& word) {
    std::vector<std::string> known;
    for (const DeclaredCommand& below : above.commands) {
        known.push_back(below.path.back());
    }
    const std::string before = above.path.empty() ? "" : above.Name() + " ";
    return "there is no command '" + before + word + "'" + Suggestion(word, known);
}

std::string UsageError(const CLI::App& program, const CLI::Error& error) {
    const CLI::App& chosen = Chosen(program);
    const DeclaredCommand command = Declaration(chosen);
    const bool missesCommand = chosen.get_require_subcommand_min() > 0 && error.get_name() == "RequiredError";
    if (missesCommand && program.remaining(true).empty()) {
        return ShortHelp(command, HelpWidth());
    }
    const std::string name = command.path.empty() ? "" : " " + command.Name();
    return "quillmark: " + Sentence(program, command, error) + "\nSee 'quillmark" + name + " --help'.\n";
}

}  // namespace quillmark::cli
