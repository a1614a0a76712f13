#include "Help.h"

#include <algorithm>

namespace quillmark::cli {
namespace {

// The mark rides on the option itself, as a validator that accepts everything and says nothing in the help.
constexpr std::pair<Completes, const char*> Marks[] = {{Completes::LocalPath, "completes-local-path"},
                                                       {Completes::ServerPath, "completes-server-path"},
                                                       {Completes::Profile, "completes-profile"}};

// Explanations stand below each other, as shell comments, so that a line can be copied whole.
constexpr std::size_t WidestAligned = 60;

}  // namespace

void AddExamples(CLI::App& command, const std::vector<Example>& examples) {
    std::size_t width = 0;
    for (const Example& example : examples) {
        if (!example.what.empty() && example.line.size() <= WidestAligned) {
            width = std::max(width, example.line.size());
        }
    }
    std::string footer = "Examples:";
    for (const Example& example : examples) {
        footer += "\n  " + example.line;
        if (!example.what.empty()) {
            footer += std::string(width - std::min(width, example.line.size()), ' ') + "  # " + example.what;
        }
    }
    command.footer(footer);
}

void SetCompletion(CLI::Option& option, Completes what) {
    for (const auto& [kind, mark] : Marks) {
        if (kind == what) {
            option.check(CLI::Validator([](std::string& /*value*/) { return std::string(); }, "", mark));
        }
    }
}

CLI::Validator AtLeast(int least) {
    const std::string limit = std::to_string(least);
    return {[least, limit](std::string& value) {
                int number = 0;
                const bool good = CLI::detail::lexical_cast(value, number) && number >= least;
                return good ? std::string() : value + " is no whole number from " + limit + " on";
            },
            ""};
}

std::optional<Completes> CompletionOf(const CLI::Option& option) {
    // The option has no way to ask but one that throws, and none for a constant one.
    auto& marked = const_cast<CLI::Option&>(option);  // NOLINT: it is not changed
    for (const auto& [kind, mark] : Marks) {
        try {
            static_cast<void>(marked.get_validator(mark));
            return kind;
        } catch (const CLI::OptionNotFound&) {
            continue;
        }
    }
    return std::nullopt;
}

}  // namespace quillmark::cli
