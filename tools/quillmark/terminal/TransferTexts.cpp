#include "TransferTexts.h"

#include "Paths.h"
#include "ProgressTexts.h"
#include "Texts.h"

namespace quillmark::cli {
namespace {

// Where the file comes from; for what has no such side, where it goes.
std::string SourceText(const TransferFile& file) {
    const WideString& source = file.direction == Direction::Up ? file.local : file.server;
    return source.empty() ? TargetText(file) : Printable(source);
}

// As wide as "failed: ": the step stands below what failed.
const std::string NextStepIndent(8, ' ');

std::string FailureText(const TransferFile& file, const TransferResult& result) {
    // The failure may be the source's or the target's.
    const bool both = !file.local.empty() && !file.server.empty();
    const std::string what = both ? SourceText(file) + " to " + TargetText(file) : SourceText(file);
    return "failed: " + what + ": " + result.why +
           (result.nextStep.empty() ? "" : "\n" + NextStepIndent + result.nextStep);
}

}  // namespace

std::string TargetText(const TransferFile& file) {
    return Printable(file.direction == Direction::Up ? file.server : file.local);
}

std::string ResultText(const TransferFile& file, const TransferResult& result) {
    if (result.outcome == Outcome::Done) {
        return result.job.empty() ? TargetText(file) : result.job;
    }
    return result.outcome == Outcome::Deleted ? "deleted: " + TargetText(file) : std::string();
}

std::string OutcomeText(const TransferFile& file, const TransferResult& result) {
    if (result.why.empty()) {
        return {};
    }
    if (result.outcome == Outcome::Skipped) {
        return "skipped, " + result.why + ": " + SourceText(file);
    }
    return result.outcome == Outcome::Failed ? FailureText(file, result) : std::string();
}

std::string RetryText(const std::string& name, const std::string& why, int attempt, int most,
                      std::chrono::milliseconds pause) {
    return name + ": " + why + ", " + AttemptText(attempt, most, pause);
}

std::string SummaryText(const TransferSummary& summary) {
    const auto tenths = summary.time.count() / 100;
    return Counted(summary.files, "file") + ", " + Counted(summary.folders, "folder") + ", " +
           Counted(summary.bytes, "byte") + ", " + std::to_string(summary.skipped) + " skipped, " +
           (summary.deleted == 0 ? "" : std::to_string(summary.deleted) + " deleted, ") +
           std::to_string(summary.failed) + " failed in " + std::to_string(tenths / 10) + "." +
           std::to_string(tenths % 10) + " s" + (summary.cancelled ? ", cancelled" : "");
}

}  // namespace quillmark::cli
