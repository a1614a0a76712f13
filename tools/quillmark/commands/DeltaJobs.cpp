// quillmark delta-jobs: deltas that the server applies in the background.
#include <algorithm>
#include <memory>

#include "Client.h"
#include "transfer/DeltaTransfer.h"
#include "Output.h"
#include "Texts.h"

namespace quillmark::cli {
namespace {

struct DeltaJobsOptions {
    std::vector<std::string> jobs;
    std::string job;
    std::string local;
    std::string revision;
};

GUID RequireJob(const std::string& text) {
    const auto job = ParseGuid(text);
    if (!job) {
        throw Failure("'" + text + "' is not a job's identifier", ExitCode::Usage);
    }
    return *job;
}

const char* StateWord(DWORD state) {
    constexpr const char* Words[] = {"unclear", "pending-commit", "in-progress", "failed", "unknown"};
    return state < std::size(Words) ? Words[state] : Words[0];
}

// What became of a job's cancellation whose answer was lost.
std::optional<DWORD> WhetherCancelled(Client& client, const GUID& job) {
    constexpr DWORD Unknown = 4;
    AsyncDeltaJobList jobs = {{job, 0}};
    const DWORD error = client.Run([&] { return client.Api().AsyncDeltaStatus(jobs, client.CancelEvent()); });
    if (error != ERROR_SUCCESS || jobs.front().state == Unknown) {
        return error;
    }
    return std::nullopt;
}

ExitCode ShowStates(const DeltaJobsOptions& options, const GlobalOptions& global) {
    AsyncDeltaJobList jobs;
    for (const std::string& text : options.jobs) {
        jobs.push_back({RequireJob(text), 0});
    }
    Client client(global);
    client.Resume();
    Require(client.Run([&] { return client.Api().AsyncDeltaStatus(jobs, client.CancelEvent()); }),
            "cannot ask for the jobs' states");
    for (const AsyncDeltaJob& job : jobs) {
        Print(GuidText(job.id) + "\t" + StateWord(job.state));
    }
    return ExitCode::Success;
}

ExitCode Commit(const DeltaJobsOptions& options, const GlobalOptions& global) {
    const GUID job = RequireJob(options.job);
    Client client(global);
    client.Resume();
    Calls calls(client);
    CommitJob(calls, job, global.Path(options.local), options.revision);
    return ExitCode::Success;
}

ExitCode Cancel(const DeltaJobsOptions& options, const GlobalOptions& global) {
    std::vector<GUID> jobs(options.jobs.size());
    std::transform(options.jobs.begin(), options.jobs.end(), jobs.begin(), RequireJob);
    Client client(global);
    client.Resume();
    for (const GUID& job : jobs) {
        Require(client.RunOnce([&] { return client.Api().AsyncDeltaCancel(job, client.CancelEvent()); },
                               [&] { return WhetherCancelled(client, job); }),
                "cannot cancel the job " + GuidText(job));
    }
    return ExitCode::Success;
}

}  // namespace

void RegisterDeltaJobs(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<DeltaJobsOptions>();
    CLI::App* command =
        program.add_subcommand("delta-jobs", "Look after deltas that 'put --async-delta --no-commit' has started");
    command->require_subcommand(1);

    CLI::App* state = command->add_subcommand(
        "state", "Show their states: pending-commit, in-progress, failed, or unknown to the server");
    state->add_option("job", options->jobs, "The jobs' identifiers")->required();
    state->callback(
        [options, &global, &action] { action = [options, &global] { return ShowStates(*options, global); }; });

    CLI::App* commit = command->add_subcommand("commit", "Let the item become what the job made");
    commit->add_option("job", options->job, "The job's identifier")->required();
    commit
        ->add_option("local", options->local,
                     "The local file with the new contents: its size must be the result's, its times go to the item")
        ->required();
    commit->add_option("--revision", options->revision, "Only while the item has this revision")->type_name("REVISION");
    commit->callback([options, &global, &action] { action = [options, &global] { return Commit(*options, global); }; });

    CLI::App* cancel = command->add_subcommand("cancel", "Give jobs up");
    cancel->add_option("job", options->jobs, "The jobs' identifiers")->required();
    cancel->callback([options, &global, &action] { action = [options, &global] { return Cancel(*options, global); }; });
}

}  // namespace quillmark::cli
