#include "commands/TransferFlags.h"

namespace quillmark::cli {

void AddTransferFlags(CLI::App& command, TransferFlags& flags) {
    command
        .add_option("--exclude", flags.exclude,
                    "Leave out what this pattern names: *.tmp, build/ (a folder), /top (only there), a/**/b; as often "
                    "as needed")
        ->type_name("PATTERN")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command.add_option("-j,--jobs", flags.jobs, "How many files to transfer at a time")
        ->capture_default_str()
        ->check(CLI::Range(1, TransferEngine::MostJobs))
        ->type_name("N");
    command.add_flag(
        "--delete", flags.remove,
        "Afterwards delete in the target folder what the source folder has not; never what --exclude names");
    command.add_flag("-n,--dry-run", flags.dryRun, "Only say what would be done");
}

TransferRequest RequestFrom(const TransferFlags& flags, Direction direction, const WideString& local,
                            const WideString& server) {
    TransferRequest request;
    request.options.direction = direction;
    request.options.local = local;
    request.options.server = server;
    request.plan.exclude = ExcludePatterns(flags.exclude);
    request.plan.deleteExtra = flags.remove;
    request.jobs = flags.jobs;
    request.dryRun = flags.dryRun;
    return request;
}

}  // namespace quillmark::cli
