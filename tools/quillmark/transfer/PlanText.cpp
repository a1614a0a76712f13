#include "transfer/PlanText.h"

#include "Json.h"
#include "Output.h"
#include "Paths.h"
#include "transfer/TransferEngine.h"
#include "transfer/Trees.h"

namespace quillmark::cli {
namespace {

std::string MethodWord(Method method, Direction direction) {
    switch (method) {
        case Method::Delta:
        case Method::AsyncDelta:
            return ", as a delta";
        case Method::Resumable:
            return direction == Direction::Up ? ", in chunks" : "";
        default:
            return "";
    }
}

std::string TransferText(const TransferOptions& options, const PlanStep& step) {
    const std::string local = Printable(InTree(options.local, step.path));
    const std::string server = Printable(InTree(options.server, step.path));
    const bool up = options.direction == Direction::Up;
    const char* reason = step.reason == StepReason::New       ? "new"
                         : step.reason == StepReason::Changed ? "changed"
                                                              : "again";
    return (up ? "put " + local + " to " + server : "get " + server + " to " + local) + " (" + reason + ", " +
           std::to_string(step.size) + (step.size == 1 ? " byte" : " bytes") +
           MethodWord(step.method, options.direction) + ")";
}

// What is done with the source's item, or with the target's for a deletion.
const char* ActionWord(const PlanStep& step, Direction direction) {
    switch (step.kind) {
        case StepKind::MakeFolder:
            return "make-folder";
        case StepKind::Transfer:
            return direction == Direction::Up ? "put" : "get";
        case StepKind::Delete:
            return "delete";
        case StepKind::Fail:
            return "not-possible";
        case StepKind::Skip:
            break;
    }
    return "skip";
}

JsonObject StepObject(const TransferOptions& options, const PlanStep& step) {
    JsonObject object;
    object.Add("type", "plan").Add("action", ActionWord(step, options.direction));
    object.Add("local", InTree(options.local, step.path)).Add("server", InTree(options.server, step.path));
    object.AddFlag("folder", step.folder).AddNumber("bytes", step.size);
    if (step.kind == StepKind::Fail || step.kind == StepKind::Skip) {
        object.Add("why", ReasonText(step));
    }
    return object;
}

}  // namespace

bool IsWorthTelling(const PlanStep& step) {
    return step.kind != StepKind::Skip || step.reason == StepReason::FolderLink || step.reason == StepReason::Link ||
           step.reason == StepReason::Special || step.reason == StepReason::Unfinished;
}

void PlanCounts::Add(const PlanStep& step) {
    switch (step.kind) {
        case StepKind::Transfer:
            ++files;
            bytes += static_cast<std::uint64_t>(step.size);
            break;
        case StepKind::Delete:
            ++deletions;
            break;
        case StepKind::Fail:
            ++failing;
            break;
        case StepKind::Skip:
            same += step.reason == StepReason::Same && !step.folder ? 1 : 0;
            sameFolders += step.reason == StepReason::Same && step.folder ? 1 : 0;
            onlyInTarget += step.reason == StepReason::OnlyInTarget ? 1 : 0;
            break;
        case StepKind::MakeFolder:
            break;
    }
}

std::string PlanCounts::Line() const {
    std::string line = std::to_string(files) + " to transfer, " + std::to_string(bytes) +
                       (bytes == 1 ? " byte, " : " bytes, ") + std::to_string(deletions) + " to delete, " +
                       std::to_string(same) + " same";
    if (failing != 0) {
        line += ", " + std::to_string(failing) + " not possible";
    }
    if (onlyInTarget != 0) {
        line +=
            ", " + std::to_string(onlyInTarget) + " only in the target and kept" + (deletes ? "" : " (see --delete)");
    }
    return line;
}

void PrintCounts(const GlobalOptions& global, const PlanCounts& counts) {
    const auto number = [](std::uint64_t count) { return static_cast<std::int64_t>(count); };
    JsonObject object;
    object.Add("type", "plan-summary")
        .AddNumber("files", number(counts.files))
        .AddNumber("bytes", number(counts.bytes));
    object.AddNumber("delete", number(counts.deletions)).AddNumber("same", number(counts.same));
    object.AddNumber("notPossible", number(counts.failing)).AddNumber("onlyInTarget", number(counts.onlyInTarget));
    PrintResult(global, counts.Line(), object);
}

void PrintStep(const GlobalOptions& global, const TransferOptions& options, const PlanStep& step, bool would) {
    if (global.json) {
        if (IsWorthTelling(step)) {
            Print(StepObject(options, step).Text());
        }
        return;
    }
    if (global.quiet && step.kind != StepKind::Fail) {
        return;
    }
    const bool up = options.direction == Direction::Up;
    const std::string source = Printable(up ? InTree(options.local, step.path) : InTree(options.server, step.path));
    const std::string target = Printable(up ? InTree(options.server, step.path) : InTree(options.local, step.path));
    const std::string& meant = step.inTarget ? target : source;
    const std::string verb = would ? "would " : "";
    switch (step.kind) {
        case StepKind::MakeFolder:
            Print(verb + "make folder " + target);
            break;
        case StepKind::Transfer:
            Print(verb + TransferText(options, step));
            break;
        case StepKind::Delete:
            Print(verb + "delete " + target + (step.folder ? "/" : ""));
            break;
        case StepKind::Fail:
            PrintError("not possible: " + meant + ": " + ReasonText(step));
            break;
        case StepKind::Skip:
            if (IsWorthTelling(step)) {
                PrintError("skipped, " + ReasonText(step) + ": " + meant);
            }
            break;
    }
}

}  // namespace quillmark::cli
