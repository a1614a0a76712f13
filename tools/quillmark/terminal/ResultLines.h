// ResultLines: the part of a view that writes results to standard output, from whichever thread it is told. When nobody
// reads them any more, or they cannot be written, it keeps silent: the transfer goes on, and the program's last look at
// its output (FinishOutput) tells.
//
// RunningNames: what the running transfers are called, for words about them that come with a number only.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "transfer/TransferObserver.h"

namespace quillmark::cli {

class ResultLines {
public:
    void Print(const std::string& line);

private:
    std::mutex m_mutex;
    bool m_broken = false;
};

class RunningNames {
public:
    void Started(const TransferFile& file);
    void Finished(std::uint64_t id);
    [[nodiscard]] std::string Of(std::uint64_t id);

private:
    std::mutex m_mutex;
    std::map<std::uint64_t, std::string> m_names;
};

}  // namespace quillmark::cli
