// What the views say about a transfer in words.
#pragma once

#include <string>

#include "transfer/TransferObserver.h"

namespace quillmark::cli {

// Where the file goes: the path that a finished one is named by.
[[nodiscard]] std::string TargetText(const TransferFile& file);

// The line on standard output: the target's path, or "deleted: /path". Empty for other outcomes.
[[nodiscard]] std::string ResultText(const TransferFile& file, const TransferResult& result);

// The words on standard error: "failed: /local/file: the reason", with the next step on a line of its own where there
// is one; "skipped, a link to a folder: /local/file". Empty when all went well, and when the result has no reason: what
// the user interrupted, and what was left alone because there was nothing to do.
[[nodiscard]] std::string OutcomeText(const TransferFile& file, const TransferResult& result);

// "/path: the connection was lost, trying again in 3 s (2 of 5)"
[[nodiscard]] std::string RetryText(const std::string& name, const std::string& why, int attempt, int most,
                                    std::chrono::milliseconds pause);

// "2 files, 1 folder, 4096 bytes, 0 skipped, 0 failed in 1.5 s"; with "3 deleted" before the failures when there are
// any, and ", cancelled" at the end.
[[nodiscard]] std::string SummaryText(const TransferSummary& summary);

}  // namespace quillmark::cli
