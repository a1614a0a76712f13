// What a command's help says beside its options: examples. The same declarations make --help, the man page and the
// completions of shells.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace quillmark::cli {

struct Example {
    std::string line;  // a whole command line that works as it stands, from "quillmark" on
    std::string what;  // what it does, a few words; may be empty
};

// Adds them to the command's help. Each example is run by a test as it stands.
void AddExamples(CLI::App& command, const std::vector<Example>& examples);

// What a positional argument or an option's value names, for completion: a local file, an item of the server, one word
// of a list (which CLI11 knows itself), or nothing that can be completed.
enum class Completes { LocalPath, ServerPath, Profile };
void SetCompletion(CLI::Option& option, Completes what);

// What SetCompletion said of the option; nothing when it said nothing.
[[nodiscard]] std::optional<Completes> CompletionOf(const CLI::Option& option);

// A check for numbers: "0 is no whole number from 1 on".
[[nodiscard]] CLI::Validator AtLeast(int least);

}  // namespace quillmark::cli
