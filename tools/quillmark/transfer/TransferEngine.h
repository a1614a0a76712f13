// TransferEngine: carries out the steps of a plan. Folders are made as their step comes, files are transferred on
// several threads, deletions wait until everything before them is over. A failure is told and counted, and the rest
// goes on, but nothing is deleted then: what was to take its place may not be there. An interruption lets nothing new
// begin and ends what runs.
//
// Steps come from one thread, in the order of the plan. The observer is told from all of them.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "transfer/FileTransfer.h"
#include "transfer/WorkQueue.h"

namespace quillmark::cli {

class TransferEngine {
public:
    static constexpr int DefaultJobs = 4;
    static constexpr int MostJobs = 32;

    // calls: of the thread that brings the steps. All live longer than the engine.
    TransferEngine(Client& client, Calls& calls, const TransferOptions& options, TransferObserver& observer, int jobs);
    ~TransferEngine();
    TransferEngine(const TransferEngine&) = delete;
    TransferEngine& operator=(const TransferEngine&) = delete;

    // All there is to be done is known: told to the observer now, and not as the steps come.
    void Announce(std::uint64_t files, std::uint64_t bytes);

    // So much of the plan is the same already, and comes as no step.
    void CountSame(std::uint64_t files, std::uint64_t folders);

    // Takes a step up: a folder is there on return, a file when a thread is free for it.
    [[nodiscard]] TreePlanner::Answer Take(const PlanStep& step);

    // Something failed that is no step.
    void Fail(const WideString& local, const WideString& server, const TransferResult& result);

    // Waits for all steps and tells how it went. complete: all steps of the plan have come.
    [[nodiscard]] TransferSummary Finish(bool complete);

private:
    struct Worker;

    [[nodiscard]] TransferFile FileOf(const PlanStep& step);
    void Transfer(const PlanStep& step);
    void RunFile(std::size_t thread, const PlanStep& step, const TransferFile& file);
    [[nodiscard]] TransferResult RunGuarded(std::size_t thread, const PlanStep& step, const TransferFile& file);
    [[nodiscard]] bool MakeFolder(const PlanStep& step);
    void Delete(const PlanStep& step);
    [[nodiscard]] bool MayDelete();
    [[nodiscard]] DWORD CheckGoneFromServer(const PlanStep& step);
    [[nodiscard]] DWORD DeleteServerItem(const PlanStep& step, const WideString& path);
    void Skip(const PlanStep& step);

    void Tell(const TransferFile& file, const TransferResult& result);
    void SayWhatIsLeft(bool complete);

    Client& m_client;
    Calls& m_calls;
    const TransferOptions& m_options;
    TransferObserver& m_observer;
    std::vector<std::unique_ptr<Worker>> m_workers;  // by thread
    std::uint64_t m_nextId = 0;
    std::uint64_t m_files = 0;  // of the plan, as far as known
    std::uint64_t m_bytes = 0;
    bool m_announced = false;
    std::optional<bool> m_mayDelete;  // decided when the first deletion comes
    WideString m_checkedExtra;        // the item of the target that the server was asked about last
    DWORD m_checkedError = ERROR_SUCCESS;

    std::mutex m_lock;  // for what follows
    TransferSummary m_summary;
    std::uint64_t m_ended = 0;  // transfers that are over, one way or the other

    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    WorkQueue m_queue;  // the last member: its threads use the others
};

// The exit code of a command that ended so.
[[nodiscard]] ExitCode ExitCodeOf(const TransferSummary& summary);

// Why a step fails or is skipped, for a person.
[[nodiscard]] std::string ReasonText(const PlanStep& step);
[[nodiscard]] DWORD ReasonError(const PlanStep& step);

}  // namespace quillmark::cli
