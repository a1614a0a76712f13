#include "transfer/TransferEngine.h"

#include <algorithm>
#include <utility>

#include "LocalFiles.h"
#include "Once.h"
#include "transfer/Trees.h"

namespace quillmark::cli {
namespace {

// Tells the observer what the calls of a thread and the transfers of the library tell.
class Teller : public CallObserver {
public:
    explicit Teller(TransferObserver& observer) : m_observer(observer) {}

    void Begin(std::uint64_t id) { m_id = id; }
    void Retrying(DWORD error, int attempt, int most, std::chrono::milliseconds pause) override {
        m_observer.Retrying(m_id, ErrorReason(error), attempt, most, pause);
    }

private:
    TransferObserver& m_observer;
    std::uint64_t m_id = 0;
};

class FileProgress : public IProgressSink {
public:
    // begin: the offset of the first byte that is wanted.
    FileProgress(TransferObserver& observer, const TransferFile& file, std::int64_t begin)
        : m_observer(observer), m_file(file), m_begin(begin) {}

    void Begin(const WideString&, std::uint64_t offset, std::uint64_t) override { Tell(offset, 0); }
    void Advance(const void*, std::uint32_t, std::uint64_t position, std::uint64_t total, std::uint64_t) override {
        Tell(position, total);
    }

private:
    // A delta's bytes stand for the whole file's.
    void Tell(std::uint64_t position, std::uint64_t total) {
        const bool delta = m_file.method == Method::Delta || m_file.method == Method::AsyncDelta;
        const auto bytes = delta && total != 0
                               ? static_cast<std::int64_t>(static_cast<double>(position) / static_cast<double>(total) *
                                                           static_cast<double>(m_file.size))
                               : static_cast<std::int64_t>(position) - m_begin;
        m_observer.Advanced(m_file.id, std::min(bytes, std::max<std::int64_t>(m_file.size, 0)));
    }

    TransferObserver& m_observer;
    const TransferFile m_file;
    const std::int64_t m_begin;
};

std::string Left(std::uint64_t count, bool complete) {
    if (count == 0) {
        return "the rest is left; the same command goes on where it stopped";
    }
    return std::string(complete ? "" : "at least ") + std::to_string(count) + (count == 1 ? " file is" : " files are") +
           " left; the same command goes on where it stopped";
}

// Why a step cannot be carried out: what the plan found, or an error of the listing.
TransferResult FailedStep(const PlanStep& step) {
    TransferResult result = FailedWith(ReasonError(step));
    result.why = ReasonText(step);
    if (step.reason == StepReason::TooLarge) {
        result.nextStep = "'quillmark folders' shows the largest file of each folder.";
    }
    return result;
}

// The server has what is to be deleted here because it has not.
constexpr DWORD StillOnServer = ERROR_ALREADY_EXISTS;

// What somebody else has deleted meanwhile is as it should be.
DWORD UnlessGone(DWORD error) {
    const bool gone = IsLocalItemMissing(error) || ExitCodeFor(error, false) == ExitCode::NotFound;
    return gone ? ERROR_SUCCESS : error;
}

// The local item may not be what the plan saw.
DWORD DeleteLocalItem(const PlanStep& step, const WideString& path) {
    if (step.folder) {
        const DWORD error = RemoveDirectoryW(path.c_str()) != FALSE ? ERROR_SUCCESS : GetLastError();
        return error == ERROR_DIR_NOT_EMPTY ? DWORD{ERROR_FILE_INVALID} : error;  // something came into it, or stayed
    }
    TreeEntry present;
    TreeEntry planned;
    planned.size = step.size;
    planned.modified = step.modified;
    if (const DWORD error = LookAtLocal(path, present); error != ERROR_SUCCESS) {
        return error;
    }
    if (!IsSameFile(present, planned)) {
        return ERROR_FILE_INVALID;
    }
    return DeleteFileW(path.c_str()) != FALSE ? ERROR_SUCCESS : GetLastError();
}

}  // namespace

// What a thread has for itself.
struct TransferEngine::Worker {
    Worker(Client& client, const TransferOptions& options, TransferObserver& observer)
        : teller(observer), calls(client, &teller), transfer(calls, options) {}

    Teller teller;
    Calls calls;
    FileTransfer transfer;
};

TransferEngine::TransferEngine(Client& client, Calls& calls, const TransferOptions& options, TransferObserver& observer,
                               int jobs)
    : m_client(client),
      m_calls(calls),
      m_options(options),
      m_observer(observer),
      m_workers(static_cast<std::size_t>(std::clamp(jobs, 1, MostJobs))),
      m_queue(m_workers.size()) {}

TransferEngine::~TransferEngine() = default;

void TransferEngine::Announce(std::uint64_t files, std::uint64_t bytes) {
    m_announced = true;
    m_files = files;
    m_bytes = bytes;
    m_observer.Planned(files, bytes);
}

void TransferEngine::CountSame(std::uint64_t files, std::uint64_t folders) {
    const std::lock_guard lock(m_lock);
    m_summary.skipped += files;
    m_summary.folders += folders;
}

TreePlanner::Answer TransferEngine::Take(const PlanStep& step) {
    if (m_calls.Interrupted()) {
        return TreePlanner::Answer::Stop;
    }
    switch (step.kind) {
        case StepKind::MakeFolder:
            return MakeFolder(step) ? TreePlanner::Answer::GoOn : TreePlanner::Answer::LeaveOut;
        case StepKind::Transfer:
            Transfer(step);
            break;
        case StepKind::Delete:
            Delete(step);
            break;
        case StepKind::Skip:
            Skip(step);
            break;
        case StepKind::Fail:
            Tell(FileOf(step), FailedStep(step));
            break;
    }
    return TreePlanner::Answer::GoOn;
}

TransferFile TransferEngine::FileOf(const PlanStep& step) {
    TransferFile file;
    file.id = ++m_nextId;
    file.direction = m_options.direction;
    file.method = step.method;
    file.local = InTree(m_options.local, step.path);
    file.server = InTree(m_options.server, step.path);
    file.size = step.size;
    if (step.inTarget) {
        (file.direction == Direction::Up ? file.local : file.server).Clear();
    }
    return file;
}

void TransferEngine::Transfer(const PlanStep& step) {
    if (!m_announced) {
        ++m_files;
        m_bytes += static_cast<std::uint64_t>(std::max<std::int64_t>(step.size, 0));
        m_observer.Planned(m_files, m_bytes);
    }
    m_queue.Add([this, step, file = FileOf(step)](std::size_t thread) { RunFile(thread, step, file); });
}

void TransferEngine::RunFile(std::size_t thread, const PlanStep& step, const TransferFile& file) {
    if (m_client.Options().Interrupted()) {
        return;
    }
    TransferResult result = RunGuarded(thread, step, file);
    if (result.outcome == Outcome::Failed && m_client.Options().Interrupted()) {
        // It did not fail, it is one of those that are left.
        result.why.clear();
        m_observer.Finished(file, result);
        if (!result.job.empty()) {
            m_observer.Note(result.nextStep);
        }
        return;
    }
    {
        const std::lock_guard lock(m_lock);
        ++m_ended;
    }
    Tell(file, result);
}

TransferResult TransferEngine::RunGuarded(std::size_t thread, const PlanStep& step, const TransferFile& file) {
    TransferResult result = FailedWith(ERROR_NOT_ENOUGH_MEMORY);
    try {
        if (m_workers[thread] == nullptr) {
            m_workers[thread] = std::make_unique<Worker>(m_client, m_options, m_observer);
        }
        Worker& worker = *m_workers[thread];
        worker.teller.Begin(file.id);
        m_observer.Started(file);
        const std::int64_t begin = file.method == Method::Range ? m_options.range.first : 0;
        return worker.transfer.Run(step, file, std::make_shared<FileProgress>(m_observer, file, begin));
    } catch (const Failure& failure) {
        result.error = ERROR_GEN_FAILURE;
        result.why = failure.Sentence();
        result.nextStep.clear();
    } catch (const std::bad_alloc&) {
        return result;
    }
    return result;
}

bool TransferEngine::MakeFolder(const PlanStep& step) {
    TransferFile file = FileOf(step);
    DWORD error = ERROR_SUCCESS;
    if (m_options.direction == Direction::Up) {
        error = cli::MakeFolder(m_calls, file.server);
        file.local.Clear();  // what failed is the folder on the other side alone
    } else if (!MakeLocalFolders(file.local)) {
        error = GetLastError();
    }
    if (error == ERROR_SUCCESS) {
        const std::lock_guard lock(m_lock);
        ++m_summary.folders;
        return true;
    }
    if (!m_calls.Interrupted()) {
        Tell(file, FailedWith(error));
    }
    return false;
}

void TransferEngine::Delete(const PlanStep& step) {
    m_queue.Drain();
    if (m_calls.Interrupted() || !MayDelete()) {
        return;
    }
    const TransferFile file = FileOf(step);
    DWORD error = ERROR_SUCCESS;
    if (m_options.direction == Direction::Up) {
        error = UnlessGone(DeleteServerItem(step, file.server));
    } else {
        error = CheckGoneFromServer(step);
        error = error == ERROR_SUCCESS ? UnlessGone(DeleteLocalItem(step, file.local)) : error;
    }
    if (error != ERROR_SUCCESS && m_calls.Interrupted()) {
        return;
    }
    TransferResult result;
    if (error == ERROR_SUCCESS) {
        result.outcome = Outcome::Deleted;
    } else {
        result = FailedWith(error);
        result.why = "not deleted: " + result.why;
    }
    if (error == ERROR_FILE_INVALID) {
        result.why = step.folder ? "not deleted: something is still in it"
                                 : "not deleted: it has changed since the plan was made";
        result.nextStep.clear();
    }
    if (error == StillOnServer) {
        result.why = "not deleted: the server has it, although its listing did not tell";
        result.nextStep = "Repeat the command.";
    }
    Tell(file, result);
}

// An item that was renamed at the source is a new one and an old one: the old one must not go before the new one has
// come.
bool TransferEngine::MayDelete() {
    if (!m_mayDelete) {
        {
            const std::lock_guard lock(m_lock);
            m_mayDelete = m_summary.failed == 0;
        }
        if (!*m_mayDelete) {
            m_observer.Note("nothing is deleted: not everything before it has succeeded");
        }
    }
    return *m_mayDelete;
}

// A listing may leave out what is there, or be older than this moment. One question serves a folder and all that is in
// it.
DWORD TransferEngine::CheckGoneFromServer(const PlanStep& step) {
    if (step.extra != m_checkedExtra) {
        TreeEntry present;
        const DWORD error = LookAtServer(m_calls, InTree(m_options.server, step.extra), present);
        m_checkedExtra = step.extra;
        const bool unknown = error == ERROR_NO_UNICODE_TRANSLATION;  // a server cannot have such a name
        m_checkedError = error == ERROR_SUCCESS ? StillOnServer : unknown ? DWORD{ERROR_SUCCESS} : UnlessGone(error);
    }
    return m_checkedError;
}

// The server deletes a folder with all that is in it: what came into it since the plan was made shall stay.
DWORD TransferEngine::DeleteServerItem(const PlanStep& step, const WideString& path) {
    if (step.folder) {
        std::vector<TreeEntry> entries;
        const DWORD error = ServerTree(m_calls, path).List(WideString(), entries);
        if (error != ERROR_SUCCESS || !entries.empty()) {
            return error != ERROR_SUCCESS ? error : DWORD{ERROR_FILE_INVALID};
        }
    }
    const std::shared_ptr<IServerAttributes> planned = MakeAttributes();
    planned->SetRevision(step.revision);
    const DWORD error = DeleteItem(m_calls, path, planned);
    return error == SERVER_ERROR_REVISION_MISMATCH ? DWORD{ERROR_FILE_INVALID} : error;
}

void TransferEngine::Skip(const PlanStep& step) {
    if (step.reason == StepReason::Excluded || step.reason == StepReason::OnlyInTarget) {
        return;
    }
    if (step.reason == StepReason::Same) {
        CountSame(step.folder ? 0 : 1, step.folder ? 1 : 0);
        return;
    }
    TransferResult result;
    result.outcome = Outcome::Skipped;
    result.why = ReasonText(step);
    Tell(FileOf(step), result);
}

void TransferEngine::Fail(const WideString& local, const WideString& server, const TransferResult& result) {
    TransferFile file;
    file.id = ++m_nextId;
    file.direction = m_options.direction;
    file.local = local;
    file.server = server;
    Tell(file, result);
}

void TransferEngine::Tell(const TransferFile& file, const TransferResult& result) {
    {
        const std::lock_guard lock(m_lock);
        switch (result.outcome) {
            case Outcome::Done:
                ++m_summary.files;
                m_summary.bytes += static_cast<std::uint64_t>(result.bytes);
                break;
            case Outcome::Skipped:
                ++m_summary.skipped;
                break;
            case Outcome::Deleted:
                ++m_summary.deleted;
                break;
            case Outcome::Failed:
                ++m_summary.failed;
                m_summary.firstError = m_summary.firstError == 0 ? result.error : m_summary.firstError;
                break;
        }
    }
    m_observer.Finished(file, result);
}

TransferSummary TransferEngine::Finish(bool complete) {
    m_queue.Drain();
    m_summary.cancelled = m_client.Options().Interrupted();
    m_summary.time = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_begin);
    if (m_summary.cancelled) {
        SayWhatIsLeft(complete);
    }
    m_observer.Ended(m_summary);
    return m_summary;
}

void TransferEngine::SayWhatIsLeft(bool complete) {
    m_observer.Note(Left(m_files - m_ended, complete || m_announced));
}

ExitCode ExitCodeOf(const TransferSummary& summary) {
    if (summary.cancelled) {
        return ExitCode::Cancelled;
    }
    const bool some = summary.files + summary.folders + summary.skipped + summary.deleted != 0;
    return summary.failed != 0 && some ? ExitCode::SomeFailed : ExitCodeFor(summary.firstError, false);
}

DWORD ReasonError(const PlanStep& step) {
    switch (step.reason) {
        case StepReason::NotLocalName:
            return ERROR_INVALID_NAME;
        case StepReason::NotText:
            return ERROR_NO_UNICODE_TRANSLATION;
        case StepReason::NameTaken:
        case StepReason::InTheWay:
            return ERROR_ALREADY_EXISTS;
        case StepReason::WrongKind:
            return ERROR_DIRECTORY;
        case StepReason::TooLarge:
            return ERROR_FILE_TOO_LARGE;
        default:
            return step.error;
    }
}

std::string ReasonText(const PlanStep& step) {
    const DWORD error = ReasonError(step);
    switch (step.reason) {
        case StepReason::Same:
            return "the same already";
        case StepReason::Excluded:
            return "excluded";
        case StepReason::FolderLink:
            return "a link to a folder";
        case StepReason::Link:
            return "a link";
        case StepReason::Special:
            return "a pipe, socket or device";
        case StepReason::Unfinished:
            return "the beginning of an unfinished download";
        case StepReason::OnlyInTarget:
            return "only the target has it";
        case StepReason::NotLocalName:
            return WithNumber("it cannot be a local name", error);
        case StepReason::NameTaken:
            return WithNumber("its name is the same as another item's on this system", error);
        case StepReason::WrongKind:
            return WithNumber(
                step.folder ? "a file stands where the folder is to go" : "a folder stands where the file is to go",
                error);
        case StepReason::InTheWay:
            return WithNumber("a pipe, socket or device stands where it is to go", error);
        case StepReason::TooLarge:
            return WithNumber("it has " + std::to_string(step.size) +
                                  " bytes, and this folder of the server takes files of up to " +
                                  std::to_string(step.limit),
                              error);
        default:
            return NamedReason(error);
    }
}

}  // namespace quillmark::cli
