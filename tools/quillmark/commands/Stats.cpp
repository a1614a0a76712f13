// quillmark stats: posts a text of statistics to the server.
#include <cstdio>
#include <memory>

#include "Input.h"
#include "Json.h"
#include "LocalFiles.h"
#include "Output.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t LongestText = 1024 * 1024;

struct StatsOptions {
    std::string text;
    std::string file;
};

std::string ReadStandardInput(const GlobalOptions& global) {
    const std::optional<std::string> text = ReadUnlessInterrupted(global.interrupt, [](std::string& read) {
        read.resize(LongestText + 1);
        read.resize(std::fread(read.data(), 1, read.size(), stdin));
        return std::ferror(stdin) == 0;
    });
    if (!text) {
        throw Failure("cannot read standard input", ExitCode::LocalFile);
    }
    if (text->size() > LongestText) {
        throw Failure("cannot read standard input", ERROR_FILE_TOO_LARGE);
    }
    return *text;
}

std::string Text(const StatsOptions& options, const GlobalOptions& global) {
    if (options.file.empty()) {
        return options.text;
    }
    if (options.file == "-") {
        return ReadStandardInput(global);
    }
    std::string text;
    Require(ReadLocalFile(global.Path(options.file), LongestText, text), "cannot read '" + options.file + "'");
    return text;
}

ExitCode RunStats(const StatsOptions& options, const GlobalOptions& global) {
    const std::string text = Text(options, global);
    if (text.find('\0') != std::string::npos) {
        throw Failure("statistics are a text, without null characters", ExitCode::Usage);
    }
    Client client(global);
    client.Resume();
    Require(
        client.RunUnlessLost([&] { return client.Api().PublishSyncStats(text.c_str(), client.CancelEvent()).error; }),
        "cannot post the statistics");
    PrintForPrograms(global, JsonObject().AddNumber("bytes", static_cast<std::int64_t>(text.size())));
    return ExitCode::Success;
}

}  // namespace

void RegisterStats(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<StatsOptions>();
    CLI::App* command = program.add_subcommand("stats", "Post a text of statistics to the server");
    CLI::App* source = command->add_option_group("source");
    source->add_option("text", options->text, "The text");
    SetCompletion(*source->add_option("--file", options->file, "A file that holds the text; - is standard input")
                       ->type_name("FILE"),
                  Completes::LocalPath);
    AddExamples(*command, {{"quillmark stats 'files=12 seconds=3'", ""},
                           {"quillmark ls -R /Shared | wc -l | quillmark stats --file -", ""}});
    source->require_option(1);
    command->callback(
        [options, &global, &action] { action = [options, &global] { return RunStats(*options, global); }; });
}

}  // namespace quillmark::cli
