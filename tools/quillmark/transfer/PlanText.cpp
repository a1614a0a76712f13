#include "transfer/PlanText.h"

#include "Output.h"
#include "Paths.h"
#include "transfer/TransferEngine.h"
#include "transfer/Trees.h"

namespace quillmark::cli {
namespace {

std::string MethodWord(Method method, Direction direction) {
    switch (method) {
        case Method::Delta:
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

}  // namespace

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
    std::string line = std::to_string(files) + " to send, " + std::to_string(bytes) +
                       (bytes == 1 ? " byte, " : " bytes, ") + std::to_string(deletions) + " to delete, " +
                       std::to_string(same) + " same";
    if (failing != 0) {
        line += ", " + std::to_string(failing) + " not possible";
    }
    if (onlyInTarget != 0) {
        line += ", " + std::to_string(onlyInTarget) + " only in the target and kept (see --delete)";
    }
    return line;
}

void PrintStep(const TransferOptions& options, const PlanStep& step, bool would) {
    const bool up = options.direction == Direction::Up;
    const std::string source = Printable(up ? InTree(options.local, step.path) : InTree(options.server, step.path));
    const std::string target = Printable(up ? InTree(options.server, step.path) : InTree(options.local, step.path));
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
            PrintError("not possible: " + source + ": " + ReasonText(step));
            break;
        case StepKind::Skip:
            if (step.reason == StepReason::FolderLink || step.reason == StepReason::Special ||
                step.reason == StepReason::Unfinished) {
                PrintError("skipped, " + ReasonText(step) + ": " + source);
            }
            break;
    }
}

}  // namespace quillmark::cli
