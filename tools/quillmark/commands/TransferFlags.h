// The options that put, get and sync share.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "transfer/TransferRun.h"

namespace quillmark::cli {

struct TransferFlags {
    std::vector<std::string> exclude;
    int jobs = TransferEngine::DefaultJobs;
    bool remove = false;  // --delete
    bool dryRun = false;
};

void AddTransferFlags(CLI::App& command, TransferFlags& flags);

// The request that they make. Throws Failure for a pattern that is none.
[[nodiscard]] TransferRequest RequestFrom(const TransferFlags& flags, Direction direction, const WideString& local,
                                          const WideString& server);

}  // namespace quillmark::cli
