// LinesView: a plain line for each file on standard output, for pipes and terminals that cannot redraw; without names
// it is the view of --quiet.
#pragma once

#include "ResultLines.h"
#include "transfer/TransferObserver.h"

namespace quillmark::cli {

class LinesView final : public TransferObserver {
public:
    // names: a line for each file that is done, and for each pause before another attempt.
    explicit LinesView(bool names) : m_names(names) {}

    void Planned(std::uint64_t, std::uint64_t) override {}
    void Started(const TransferFile& file) override;
    void Advanced(std::uint64_t, std::int64_t) override {}
    void Retrying(std::uint64_t id, const std::string& why, int attempt, int most,
                  std::chrono::milliseconds pause) override;
    void Finished(const TransferFile& file, const TransferResult& result) override;
    void Note(const std::string& line) override;
    void Ended(const TransferSummary& summary) override;

private:
    bool m_names;
    ResultLines m_results;
    RunningNames m_running;
};

}  // namespace quillmark::cli
