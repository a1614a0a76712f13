// Whole transfers: what put, get and sync do once their command lines are read.
#pragma once

#include "transfer/TransferEngine.h"

namespace quillmark::cli {

struct TransferRequest {
    TransferOptions options;
    PlanOptions plan;
    int jobs = TransferEngine::DefaultJobs;
    bool dryRun = false;
};

// A file to the path itself, a folder's contents below it; what is the same already is left alone in a folder. The
// plan is carried out while it is made, and nothing of it kept. With dryRun it is printed instead. Throws Failure.
[[nodiscard]] ExitCode RunTransfer(Client& client, TransferRequest request);

// A folder's contents: the plan is made first and printed, then carried out. yes: nobody is asked before something is
// deleted. Throws Failure.
[[nodiscard]] ExitCode RunSync(Client& client, TransferRequest request, bool yes);

}  // namespace quillmark::cli
