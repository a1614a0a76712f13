#include "transfer/TransferRun.h"

#include <utility>

#include "LocalFile.h"
#include "LocalFiles.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"
#include "terminal/TransferView.h"
#include "transfer/Ask.h"
#include "transfer/PlanText.h"
#include "transfer/Trees.h"

namespace quillmark::cli {
namespace {

using Answer = TreePlanner::Answer;

// What the walk's own calls have to say belongs to no file.
class WalkTeller : public CallObserver {
public:
    explicit WalkTeller(TransferObserver& observer) : m_observer(observer) {}
    void Retrying(DWORD error, int attempt, int most, std::chrono::milliseconds pause) override {
        m_observer.Note(RepetitionText(error, attempt, most, pause));
    }

private:
    TransferObserver& m_observer;
};

TransferResult IsAFolder() {
    TransferResult result = FailedWith(ERROR_DIRECTORY);
    result.why = WithNumber("it is a folder; ranges and deltas are of one file", result.error);
    return result;
}

// A transfer with all that it needs, for the length of one command.
class Run {
public:
    Run(Client& client, TransferRequest request)
        : m_request(std::move(request)),
          m_view(MakeTransferView(client.Options())),
          m_teller(*m_view),
          m_calls(client, &m_teller),
          m_client(client),
          m_table(m_calls) {
        CompletePlanOptions();
    }

    [[nodiscard]] ExitCode Transfer();
    [[nodiscard]] ExitCode Sync(bool yes);

private:
    [[nodiscard]] bool IsUp() const { return m_request.options.direction == Direction::Up; }
    [[nodiscard]] const TransferOptions& Options() const { return m_request.options; }
    void CompletePlanOptions();
    [[nodiscard]] TransferEngine& Engine();

    // The source's top, or false after the engine was told of the failure.
    [[nodiscard]] bool LookAtSource(TreeEntry& source);
    [[nodiscard]] const WideString& TargetTop() const { return IsUp() ? Options().server : Options().local; }
    [[nodiscard]] bool IsMissingInTarget(DWORD error) const {
        return IsUp() ? ExitCodeFor(error, false) == ExitCode::NotFound : IsLocalItemMissing(error);
    }
    [[nodiscard]] DWORD LookAtTargetItem(const WideString& path, TreeEntry& entry) {
        return IsUp() ? LookAtServer(m_calls, path, entry) : LookAtLocal(path, entry);
    }
    // Whether the target's top is there; false for found after the engine was told of a failure.
    [[nodiscard]] bool LookAtTarget(bool& there);
    // Whether the target's top can be made: the server wants the folder above it to be there, here all that are missing
    // are made. False after the engine was told of the failure.
    [[nodiscard]] bool LookAboveTarget();
    // Empty when the path tells none.
    [[nodiscard]] WideString FolderAbove(const WideString& path) const;
    [[nodiscard]] bool FailedAtTop(const TransferResult& result);
    [[nodiscard]] bool FailedAtTop(DWORD error) { return FailedAtTop(FailedWith(error)); }

    [[nodiscard]] ExitCode TransferFile(const TreeEntry& source);
    // A range and a delta that the user asks for.
    [[nodiscard]] bool IsForFilesOnly() const { return IsRange() || Options().onlyDelta; }
    [[nodiscard]] bool IsRange() const { return m_request.plan.method == Method::Range; }
    // Each is false after the engine was told of the failure.
    [[nodiscard]] bool SettleRange(const TreeEntry& source);
    [[nodiscard]] bool CheckBase(DWORD looked, const TreeEntry& target);
    // Turns the step of one file into a failure when it cannot go to the target, as far as a look tells. looked: how
    // that look ended.
    void FindObstacle(DWORD looked, const TreeEntry& target, PlanStep& step);
    [[nodiscard]] ExitCode TransferFolder();
    // Walks both trees. True when the walk was not ended early.
    bool Walk(bool targetThere, const TreePlanner::Sink& sink);

    // Nothing is deleted when something before it is not possible; told with the first deletion. counts: of the steps
    // so far.
    [[nodiscard]] bool IsWithheld(const PlanStep& step, const PlanCounts& counts);
    [[nodiscard]] ExitCode CarryOut(const std::vector<PlanStep>& plan, const PlanCounts& counts);
    [[nodiscard]] bool MayDelete(const PlanCounts& counts, bool yes) const;
    [[nodiscard]] ExitCode Ended(bool complete);
    [[nodiscard]] ExitCode Printed(const PlanCounts& counts) const;
    [[nodiscard]] PlanCounts NoCounts() const;

    TransferRequest m_request;
    std::unique_ptr<TransferObserver> m_view;
    WalkTeller m_teller;
    Calls m_calls;
    Client& m_client;
    AbilityTable m_table;
    bool m_withholds = false;
    std::unique_ptr<TransferEngine> m_engine;
};

void Run::CompletePlanOptions() {
    PlanOptions& plan = m_request.plan;
    plan.direction = Options().direction;
    plan.abilities = [this](const WideString& path) { return m_table.Of(InTree(Options().server, path)); };
    plan.isLocalName = IsLocalName;
    plan.localKey = LocalNameKey;
    if (!Options().base.empty()) {
        plan.base = [this](const WideString& path) -> std::optional<BaseFile> {
            TreeEntry entry;
            const DWORD error = LookAtLocal(InTree(Options().base, path), entry);
            const bool file = error == ERROR_SUCCESS && entry.kind == TreeEntry::Kind::File;
            return file ? std::optional<BaseFile>({entry.size, entry.modified}) : std::nullopt;
        };
    }
}

// Made when the options are final.
TransferEngine& Run::Engine() {
    if (m_engine == nullptr) {
        m_engine = std::make_unique<TransferEngine>(m_client, m_calls, m_request.options, *m_view, m_request.jobs);
    }
    return *m_engine;
}

bool Run::FailedAtTop(const TransferResult& result) {
    if (!m_calls.Interrupted()) {
        Engine().Fail(IsUp() ? Options().local : WideString(), Options().server, result);
    }
    return false;
}

bool Run::LookAtSource(TreeEntry& source) {
    const DWORD error = IsUp() ? LookAtLocal(Options().local, source) : LookAtServer(m_calls, Options().server, source);
    return error == ERROR_SUCCESS || FailedAtTop(error);
}

bool Run::LookAtTarget(bool& there) {
    TreeEntry target;
    const DWORD error = LookAtTargetItem(TargetTop(), target);
    const bool missing = IsMissingInTarget(error);
    there = error == ERROR_SUCCESS;
    if (missing) {
        return LookAboveTarget();
    }
    if (there && target.kind == TreeEntry::Kind::Folder) {
        return true;
    }
    if (!m_calls.Interrupted()) {
        Engine().Fail(IsUp() ? WideString() : Options().local, Options().server,
                      FailedWith(there ? DWORD{ERROR_DIRECTORY} : error));
    }
    return false;
}

bool Run::LookAboveTarget() {
    TreeEntry above;
    WideString folder = FolderAbove(TargetTop());
    DWORD error = LookAtTargetItem(folder, above);
    while (!IsUp() && IsLocalItemMissing(error) && !folder.empty()) {
        folder = FolderAbove(folder);
        error = folder.empty() ? DWORD{ERROR_SUCCESS} : LookAtLocal(folder, above);
    }
    if (folder.empty() || (error == ERROR_SUCCESS && above.kind == TreeEntry::Kind::Folder)) {
        return true;
    }
    if (!m_calls.Interrupted()) {
        Engine().Fail(IsUp() ? WideString() : folder, IsUp() ? folder : WideString(),
                      FailedWith(error == ERROR_SUCCESS ? DWORD{ERROR_DIRECTORY} : error));
    }
    return false;
}

WideString Run::FolderAbove(const WideString& path) const {
    return IsUp() ? ServerPath(FolderOf(path)) : FolderOf(path);
}

ExitCode Run::Ended(bool complete) {
    return ExitCodeOf(Engine().Finish(complete));
}

ExitCode Run::Printed(const PlanCounts& counts) const {
    PrintCounts(m_client.Options(), counts);
    return counts.failing == 0 ? ExitCode::Success : ExitCode::SomeFailed;
}

PlanCounts Run::NoCounts() const {
    PlanCounts counts;
    counts.deletes = m_request.plan.deleteExtra;
    return counts;
}

ExitCode Run::Transfer() {
    TreeEntry source;
    if (!LookAtSource(source)) {
        return Ended(false);
    }
    if (source.kind != TreeEntry::Kind::Folder) {
        return TransferFile(source);
    }
    if (IsForFilesOnly()) {
        static_cast<void>(FailedAtTop(IsAFolder()));
        return Ended(true);
    }
    return TransferFolder();
}

ExitCode Run::TransferFile(const TreeEntry& source) {
    if (m_request.plan.deleteExtra) {
        throw Failure("nothing is deleted beside a file: --delete is for folders", ExitCode::Usage);
    }
    if (!IsUp()) {
        m_request.options.local = FileTarget(Options().server, Options().local);
    }
    if (source.kind == TreeEntry::Kind::Special) {
        static_cast<void>(FailedAtTop(ERROR_NOT_SUPPORTED));
        return Ended(true);
    }
    TreeEntry target;
    const bool revisionKnown = Options().onlyDelta && !Options().revision.empty();
    const bool looks = !IsUp() || m_request.dryRun || (!Options().base.empty() && !revisionKnown);
    const DWORD looked = looks ? LookAtTargetItem(TargetTop(), target) : DWORD{ERROR_FILE_NOT_FOUND};
    if ((IsRange() && !SettleRange(source)) || (Options().onlyDelta && !CheckBase(looked, target))) {
        return Ended(true);
    }
    m_request.plan.always = true;
    PlanStep step = PlanFile(m_request.plan, WideString(), source, looked == ERROR_SUCCESS ? &target : nullptr);
    if (IsRange()) {
        step.size = Options().range.end - Options().range.first;
    }
    if (m_request.dryRun) {
        FindObstacle(looked, target, step);
        PlanCounts counts = NoCounts();
        counts.Add(step);
        PrintStep(m_client.Options(), Options(), step, true);
        return Printed(counts);
    }
    static_cast<void>(Engine().Take(step));
    return Ended(true);
}

void Run::FindObstacle(DWORD looked, const TreeEntry& target, PlanStep& step) {
    using Kind = TreeEntry::Kind;
    DWORD error = looked;
    if (IsMissingInTarget(looked)) {
        TreeEntry above;
        const WideString folder = FolderAbove(TargetTop());
        error = folder.empty() ? DWORD{ERROR_SUCCESS} : LookAtTargetItem(folder, above);
        error = IsLocalItemMissing(error) ? DWORD{ERROR_PATH_NOT_FOUND} : error;
        error =
            error == ERROR_SUCCESS && !folder.empty() && above.kind != Kind::Folder ? DWORD{ERROR_DIRECTORY} : error;
    } else if (looked == ERROR_SUCCESS && target.kind != Kind::File) {
        step.kind = StepKind::Fail;
        step.reason = target.kind == Kind::Folder ? StepReason::WrongKind : StepReason::InTheWay;
    }
    if (error != ERROR_SUCCESS) {
        step.kind = StepKind::Fail;
        step.reason = StepReason::Unreadable;
        step.error = error;
    }
    step.inTarget = step.kind == StepKind::Fail;
}

bool Run::SettleRange(const TreeEntry& source) {
    ByteRange& range = m_request.options.range;
    if (!Options().revision.empty() && source.revision != Options().revision) {
        return FailedAtTop(SERVER_ERROR_REVISION_MISMATCH);
    }
    if (range.end == ByteRange::ToTheEnd) {
        range.end = source.size;
    }
    if (range.end > source.size || range.first >= range.end) {
        throw Failure("the range does not lie in " + Printable(Options().server) + ", which has " +
                          Counted(static_cast<std::uint64_t>(source.size), "byte"),
                      ExitCode::Usage);
    }
    return true;
}

// The file to make the delta from must be readable, and be what the server has, as far as its size tells. looked: how
// the look at the target ended, which there was unless a revision is named.
bool Run::CheckBase(DWORD looked, const TreeEntry& target) {
    std::int64_t size = 0;
    if (const DWORD error = FileSize(Options().base, size); error != ERROR_SUCCESS) {
        Engine().Fail(Options().base, WideString(), FailedWith(error));
        return false;
    }
    if (!IsUp() || !Options().revision.empty()) {
        return true;
    }
    TransferResult result = FailedWith(looked == ERROR_SUCCESS ? SERVER_ERROR_REVISION_MISMATCH : looked);
    if (looked == ERROR_SUCCESS && target.kind == TreeEntry::Kind::Folder) {
        result = IsAFolder();
    } else if (looked == ERROR_SUCCESS && target.size != size) {
        result.why = "'" + Printable(Options().base) + "' is not what the server has: it has " + std::to_string(size) +
                     " bytes, " + Printable(Options().server) + " has " + std::to_string(target.size);
        result.nextStep = "Name a copy of what the server has, or put the file without a delta.";
    } else if (looked == ERROR_SUCCESS) {
        return true;
    }
    if (!m_calls.Interrupted()) {
        Engine().Fail(WideString(), Options().server, result);
    }
    return false;
}

bool Run::Walk(bool targetThere, const TreePlanner::Sink& sink) {
    LocalTree local(Options().local);
    ServerTree server(m_calls, Options().server);
    TreeReader& source = IsUp() ? static_cast<TreeReader&>(local) : server;
    TreeReader& target = IsUp() ? static_cast<TreeReader&>(server) : local;
    TreePlanner planner(m_request.plan, source, target);
    bool whole = true;
    planner.Walk(targetThere, [&](const PlanStep& step) {
        const Answer answer = m_calls.Interrupted() ? Answer::Stop : sink(step);
        whole = whole && answer != Answer::Stop;
        return answer;
    });
    if (m_request.plan.deleteExtra && !planner.IsSourceComplete()) {
        m_view->Note("nothing is deleted: a part of " + Printable(IsUp() ? Options().local : Options().server) +
                     " could not be read");
    }
    return whole && !m_calls.Interrupted();
}

ExitCode Run::TransferFolder() {
    if (!Options().revision.empty()) {
        throw Failure("a folder has no revision to ask for: --revision is for one file", ExitCode::Usage);
    }
    bool there = false;
    if (!LookAtTarget(there)) {
        return Ended(false);
    }
    if (!m_request.dryRun) {
        return Ended(Walk(there, [this](const PlanStep& step) { return Engine().Take(step); }));
    }
    PlanCounts counts = NoCounts();
    const bool whole = Walk(there, [&](const PlanStep& step) {
        if (!IsWithheld(step, counts)) {
            counts.Add(step);
            PrintStep(m_client.Options(), Options(), step, true);
        }
        return Answer::GoOn;
    });
    return whole ? Printed(counts) : ExitCode::Cancelled;
}

ExitCode Run::Sync(bool yes) {
    TreeEntry source;
    bool there = false;
    if (!LookAtSource(source)) {
        return Ended(false);
    }
    if (source.kind != TreeEntry::Kind::Folder) {
        throw Failure("'" + Printable(IsUp() ? Options().local : Options().server) + "' is a file; sync is for folders",
                      ExitCode::Usage);
    }
    if (!LookAtTarget(there)) {
        return Ended(false);
    }
    std::vector<PlanStep> plan;
    PlanCounts counts = NoCounts();
    const bool whole = Walk(there, [&](const PlanStep& step) {
        if (!IsWithheld(step, counts)) {
            counts.Add(step);
            if (IsWorthTelling(step)) {
                plan.push_back(step);
            }
        }
        return Answer::GoOn;
    });
    if (!whole) {
        return ExitCode::Cancelled;
    }
    for (const PlanStep& step : plan) {
        // What fails or is left out is told when it comes to it.
        if (m_request.dryRun || (step.kind != StepKind::Fail && step.kind != StepKind::Skip)) {
            PrintStep(m_client.Options(), Options(), step, false);
        }
    }
    const ExitCode printed = Printed(counts);
    if (m_request.dryRun) {
        return printed;
    }
    FinishOutput();  // the plan is to be seen before it is carried out
    if (!MayDelete(counts, yes)) {
        PrintError("nothing was changed");
        return ExitCode::Cancelled;
    }
    return CarryOut(plan, counts);
}

bool Run::IsWithheld(const PlanStep& step, const PlanCounts& counts) {
    const bool withheld = step.kind == StepKind::Delete && counts.failing != 0;
    if (withheld && !m_withholds) {
        m_view->Note("nothing is deleted: not everything before it is possible");
    }
    m_withholds = m_withholds || withheld;
    return withheld;
}

ExitCode Run::CarryOut(const std::vector<PlanStep>& plan, const PlanCounts& counts) {
    Engine().Announce(counts.files, counts.bytes);
    Engine().CountSame(counts.same, counts.sameFolders);
    WideString leftOut;  // a folder that could not be made; what is in it follows it
    for (const PlanStep& step : plan) {
        if (!leftOut.empty() && step.kind != StepKind::Delete && step.path.StartsWith(leftOut)) {
            continue;
        }
        const Answer answer = Engine().Take(step);
        if (answer == Answer::Stop || (answer == Answer::LeaveOut && step.path.empty())) {
            break;
        }
        if (answer == Answer::LeaveOut) {
            leftOut = step.path + QM_W("/");
        }
    }
    return Ended(true);
}

// A person is asked; a script has said what it wants with --delete.
bool Run::MayDelete(const PlanCounts& counts, bool yes) const {
    if (counts.deletions == 0 || yes || !IsInteractive()) {
        return true;
    }
    std::string answer;
    return AskLine("Delete " + std::to_string(counts.deletions) + (counts.deletions == 1 ? " item" : " items") +
                       " of " + Printable(IsUp() ? Options().server : Options().local) + "? [y/N] ",
                   m_client.Options().interrupt, answer) &&
           (answer == "y" || answer == "Y" || answer == "yes");
}

}  // namespace

ExitCode RunTransfer(Client& client, TransferRequest request) {
    return Run(client, std::move(request)).Transfer();
}

ExitCode RunSync(Client& client, TransferRequest request, bool yes) {
    return Run(client, std::move(request)).Sync(yes);
}

}  // namespace quillmark::cli
