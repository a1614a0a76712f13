// How the user sees a transfer: bars on a terminal, redrawn in place and gone at the end; in a pipe a plain line for
// each file; with --json an object for each result on standard output; with --quiet failures and the summary only.
// Failures, notes and the summary go to standard error in each of them.
#pragma once

#include <memory>

#include "Client.h"
#include "transfer/TransferObserver.h"

namespace quillmark::cli {

// The view that the options and the streams ask for.
[[nodiscard]] std::unique_ptr<TransferObserver> MakeTransferView(const GlobalOptions& options);

}  // namespace quillmark::cli
