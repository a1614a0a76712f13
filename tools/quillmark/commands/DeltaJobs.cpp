// quillmark delta-jobs: deltas that the server applies in the background.
#include <algorithm>
#include <memory>

#include "Calls.h"
#include "EachPath.h"
#include "Json.h"
#include "Output.h"
#include "Texts.h"
#include "commands/Commands.h"
#include "transfer/DeltaTransfer.h"

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
    Calls& calls = client.MainCalls();
    Require(calls.Run([&] { return calls.Api().AsyncDeltaStatus(jobs, calls.CancelEvent()); }),
            "cannot ask for the jobs' states");
    for (const AsyncDeltaJob& job : jobs) {
        PrintResult(global, GuidText(job.id) + "\t" + StateWord(job.state),
                    JsonObject().Add("id", GuidText(job.id)).Add("state", StateWord(job.state)));
    }
    return ExitCode::Success;
}

ExitCode Commit(const DeltaJobsOptions& options, const GlobalOptions& global) {
    const GUID job = RequireJob(options.job);
    Client client(global);
    client.Resume();
    Calls& calls = client.MainCalls();
    Require(CommitDeltaJob(calls, job, global.Path(options.local), options.revision),
            "cannot commit the job " + GuidText(job));
    PrintForPrograms(global, JsonObject().Add("id", GuidText(job)));
    return ExitCode::Success;
}

ExitCode Cancel(const DeltaJobsOptions& options, const GlobalOptions& global) {
    std::vector<GUID> jobs(options.jobs.size());
    std::transform(options.jobs.begin(), options.jobs.end(), jobs.begin(), RequireJob);
    Client client(global);
    client.Resume();
    std::vector<std::string> names(jobs.size());
    std::transform(jobs.begin(), jobs.end(), names.begin(), GuidText);
    return ForEachNamed(global, names, "cancel the job", [&](std::size_t place) {
        const DWORD error =
            client.RunOnce([&] { return client.Api().AsyncDeltaCancel(jobs[place], client.CancelEvent()); },
                           [&] { return WhetherCancelled(client, jobs[place]); });
        if (error == ERROR_SUCCESS) {
            PrintForPrograms(global, JsonObject().Add("id", names[place]));
        }
        return error;
    });
}

}  // namespace

void RegisterDeltaJobs(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<DeltaJobsOptions>();
    CLI::App* command = program.add_subcommand(
        "delta-jobs", "Look after deltas that the server applies; 'put --async-delta --no-commit' starts them");
    command->require_subcommand(1);

    CLI::App* state = command->add_subcommand(
        "state", "Show their states; pending-commit, in-progress, failed, or unknown to the server");
    state->add_option("job", options->jobs, "The jobs' identifiers")->required();
    AddExamples(*state, {{"quillmark delta-jobs state 0F8FAD5B-D9CB-469F-A165-70867728950E", ""}});
    state->callback(
        [options, &global, &action] { action = [options, &global] { return ShowStates(*options, global); }; });

    CLI::App* commit = command->add_subcommand("commit", "Let the item become what the job made");
    commit->add_option("job", options->job, "The job's identifier")->required();
    SetCompletion(
        *commit
             ->add_option("local", options->local,
                          "The local file with the new contents: its size must be the result's, its times go to the "
                          "item")
             ->required(),
        Completes::LocalPath);
    commit->add_option("--revision", options->revision, "Only while the item has this revision")->type_name("REVISION");
    AddExamples(*commit, {{"quillmark delta-jobs commit \"$(quillmark put --async-delta old.db --no-commit new.db "
                           "/Shared/data.db)\" new.db",
                           ""}});
    commit->callback([options, &global, &action] { action = [options, &global] { return Commit(*options, global); }; });

    CLI::App* cancel = command->add_subcommand("cancel", "Give jobs up");
    cancel->add_option("job", options->jobs, "The jobs' identifiers")->required();
    AddExamples(*cancel, {{"quillmark delta-jobs cancel \"$(quillmark put --async-delta old.db --no-commit new.db "
                           "/Shared/data.db)\"",
                           ""}});
    cancel->callback([options, &global, &action] { action = [options, &global] { return Cancel(*options, global); }; });
}

}  // namespace quillmark::cli
