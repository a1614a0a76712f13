// A plan as a person reads it before it is carried out, or instead.
#pragma once

#include <string>

#include "transfer/FileTransfer.h"

namespace quillmark::cli {

// What a plan amounts to.
struct PlanCounts {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::uint64_t deletions = 0;
    std::uint64_t same = 0;
    std::uint64_t sameFolders = 0;
    std::uint64_t failing = 0;
    std::uint64_t onlyInTarget = 0;  // and kept
    bool deletes = false;            // the plan deletes what only the target has, where it may

    void Add(const PlanStep& step);
    // "3 to transfer, 12 bytes, 1 to delete, 4 same"
    [[nodiscard]] std::string Line() const;
};

// Whether a person wants to know of a step: it does something, prevents something or leaves something out for a reason
// that nobody gave.
[[nodiscard]] bool IsWorthTelling(const PlanStep& step);

// Prints one step as far as it does or prevents something: what will be done on standard output, the rest on standard
// error; with --json each as an object on standard output, with --quiet what prevents something only. would: "would put
// ..." in place of "put ...".
void PrintStep(const GlobalOptions& global, const TransferOptions& options, const PlanStep& step, bool would);

// Prints what the plan amounts to: its line, or with --json its object.
void PrintCounts(const GlobalOptions& global, const PlanCounts& counts);

}  // namespace quillmark::cli
