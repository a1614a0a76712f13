#include "LinesView.h"

#include "Output.h"
#include "TransferTexts.h"

namespace quillmark::cli {

void LinesView::Started(const TransferFile& file) {
    m_running.Started(file);
}

void LinesView::Retrying(std::uint64_t id, const std::string& why, int attempt, int most,
                         std::chrono::milliseconds pause) {
    if (m_names) {
        PrintError(RetryText(m_running.Of(id), why, attempt, most, pause));
    }
}

void LinesView::Finished(const TransferFile& file, const TransferResult& result) {
    m_running.Finished(file.id);
    if (const std::string line = ResultText(file, result); !line.empty() && (m_names || !result.job.empty())) {
        m_results.Print(line);
    }
    if (const std::string text = OutcomeText(file, result); !text.empty()) {
        PrintError(text);
    }
}

void LinesView::Note(const std::string& line) {
    PrintError(line);
}

void LinesView::Ended(const TransferSummary& summary) {
    PrintError(SummaryText(summary));
}

}  // namespace quillmark::cli
