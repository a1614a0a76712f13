#include "JsonView.h"

#include "Json.h"
#include "Output.h"
#include "TransferTexts.h"

namespace quillmark::cli {
namespace {

const char* NameOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::Done:
            return "done";
        case Outcome::Skipped:
            return "skipped";
        case Outcome::Deleted:
            return "deleted";
        case Outcome::Failed:
            break;
    }
    return "failed";
}

const char* NameOf(Method method) {
    switch (method) {
        case Method::Resumable:
            return "resumable";
        case Method::Delta:
            return "delta";
        case Method::AsyncDelta:
            return "async-delta";
        case Method::Range:
            return "range";
        case Method::Whole:
            break;
    }
    return "whole";
}

std::int64_t Number(std::uint64_t count) {
    return static_cast<std::int64_t>(count);
}

JsonObject ObjectOf(const TransferFile& file, const TransferResult& result) {
    JsonObject object;
    object.Add("type", "file").Add("outcome", NameOf(result.outcome));
    object.Add("direction", file.direction == Direction::Up ? "up" : "down").Add("method", NameOf(file.method));
    object.Add("local", file.local).Add("server", file.server).AddNumber("bytes", result.bytes);
    if (!result.revision.empty()) {
        object.Add("revision", result.revision);
    }
    if (result.error != 0) {
        object.AddNumber("error", result.error);
    }
    if (!result.why.empty()) {
        object.Add("why", result.why);
    }
    if (!result.nextStep.empty()) {
        object.Add("next", result.nextStep);
    }
    if (!result.job.empty()) {
        object.Add("job", result.job);
    }
    return object;
}

JsonObject ObjectOf(const TransferSummary& summary) {
    JsonObject object;
    object.Add("type", "summary").AddNumber("files", Number(summary.files));
    object.AddNumber("folders", Number(summary.folders)).AddNumber("bytes", Number(summary.bytes));
    object.AddNumber("skipped", Number(summary.skipped)).AddNumber("deleted", Number(summary.deleted));
    object.AddNumber("failed", Number(summary.failed)).AddNumber("milliseconds", summary.time.count());
    object.AddFlag("cancelled", summary.cancelled);
    return object;
}

}  // namespace

void JsonView::Started(const TransferFile& file) {
    m_running.Started(file);
}

void JsonView::Retrying(std::uint64_t id, const std::string& why, int attempt, int most,
                        std::chrono::milliseconds pause) {
    PrintError(RetryText(m_running.Of(id), why, attempt, most, pause));
}

void JsonView::Finished(const TransferFile& file, const TransferResult& result) {
    m_running.Finished(file.id);
    m_results.Print(ObjectOf(file, result).Text());
    if (const std::string text = OutcomeText(file, result); !text.empty()) {
        PrintError(text);
    }
}

void JsonView::Note(const std::string& line) {
    PrintError(line);
}

void JsonView::Ended(const TransferSummary& summary) {
    m_results.Print(ObjectOf(summary).Text());
    PrintError(SummaryText(summary));
}

}  // namespace quillmark::cli
