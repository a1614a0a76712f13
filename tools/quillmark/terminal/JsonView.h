// JsonView: an object on standard output for each result, and one for the summary at the end:
//
//     {"type":"file","outcome":"done","direction":"up","method":"whole","local":"/home/anna/f","server":"/f","bytes":5}
//     {"type":"file","outcome":"failed",...,"error":21002,"why":"the server has no such item (21002)"}
//     {"type":"summary","files":1,"folders":0,"bytes":5,"skipped":0,"deleted":0,"failed":1,"milliseconds":120,...}
#pragma once

#include "ResultLines.h"
#include "transfer/TransferObserver.h"

namespace quillmark::cli {

class JsonView final : public TransferObserver {
public:
    void Planned(std::uint64_t, std::uint64_t) override {}
    void Started(const TransferFile& file) override;
    void Advanced(std::uint64_t, std::int64_t) override {}
    void Retrying(std::uint64_t id, const std::string& why, int attempt, int most,
                  std::chrono::milliseconds pause) override;
    void Finished(const TransferFile& file, const TransferResult& result) override;
    void Note(const std::string& line) override;
    void Ended(const TransferSummary& summary) override;

private:
    ResultLines m_results;
    RunningNames m_running;
};

}  // namespace quillmark::cli
