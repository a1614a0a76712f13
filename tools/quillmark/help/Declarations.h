// The command line as plain records: what the parser was told, for whoever writes it down in another form (the man
// page, the completions of shells).
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Help.h"

namespace quillmark::cli {

// An option, or an argument that is told by its place.
struct Declared {
    std::vector<std::string> names;  // "-R", "--recursive"; "PATH" for an argument
    std::string help;
    std::string value;  // what stands for its value: "FILE"; empty for a flag
    bool valueIsOptional = false;
    bool many = false;  // values may follow one another
    bool required = false;
    std::string standard;              // the value without it, empty when there is none to tell
    std::string limits;                // what a value has to be, where the parser tells: "1 to 100"
    std::vector<std::string> choices;  // the only values, where there are such
    std::optional<Completes> completes;
};

struct DeclaredCommand {
    std::vector<std::string> path;  // "uploads", "state"; empty for the program itself
    std::string group;              // under which heading the help has it: "Browsing"
    std::string help;
    std::string footer;
    std::vector<Declared> options;
    std::vector<Declared> arguments;
    std::vector<DeclaredCommand> commands;
    bool needsCommand = false;  // does nothing without one of them

    // "uploads state"
    [[nodiscard]] std::string Name() const;
};

// A footer has paragraphs that begin with their title: "Examples:" and lines, or "Exit codes: ..." on the same line.
struct Paragraph {
    std::string title;
    std::string text;
    bool lines = false;  // as they stand, not to be filled
};

// All that the help shows, in its order. Hidden commands and the options --help and --version of each command are left
// out, but for those of the program.
[[nodiscard]] DeclaredCommand Declarations(const CLI::App& program);

// The same of one command; its path begins below the program.
[[nodiscard]] DeclaredCommand Declaration(const CLI::App& command);

// The headings of the commands right below this one, each once, in their order.
[[nodiscard]] std::vector<std::string> Groups(const DeclaredCommand& command);

[[nodiscard]] std::vector<Paragraph> Paragraphs(const std::string& footer);

// The whole explanation, in sentences: what the declaration says, and what a value may be.
[[nodiscard]] std::string Explanation(const Declared& declared);

// The options of the program that a command has, too: without names under which it has options of its own.
[[nodiscard]] std::vector<Declared> CommonOptions(const DeclaredCommand& program, const DeclaredCommand& command);

// The command and all below it, each before its own.
[[nodiscard]] std::vector<const DeclaredCommand*> AllCommands(const DeclaredCommand& program);

}  // namespace quillmark::cli
