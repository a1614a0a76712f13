// FileTransfer: carries one file after the other, on one thread, by the method that its step names.
//
//   up    whole       the file in one request
//         resumable   in chunks; goes on where an earlier attempt ended (ResumablePut)
//         delta       against the base; whole when the server cannot make the file out of it
//   down  whole       to a temporary name, gone when it fails
//         resumable   to a part that is kept when it ends early (PartFile), and that the next attempt goes on with
//         delta       against the local file; as above when nothing came of it
//
// A download takes its target's name only when all its bytes are there and it has its times.
#pragma once

#include <memory>
#include <string>

#include "Calls.h"
#include "transfer/ResumablePut.h"
#include "transfer/TransferPlan.h"

namespace quillmark::cli {

// What all files of a transfer have in common.
struct TransferOptions {
    Direction direction = Direction::Up;
    WideString local;  // the trees' tops, or the one file
    WideString server;
    WideString base;       // an earlier state of the local tree; empty for none
    std::string revision;  // that the one item shall have; empty for any
    ResumableOptions resumable;
};

// The result of what failed with this error: why, and what to do about it.
[[nodiscard]] TransferResult FailedWith(DWORD error);

class FileTransfer {
public:
    using Progress = std::shared_ptr<IProgressSink>;
    using Attributes = std::shared_ptr<IServerAttributes>;

    // Both live longer.
    FileTransfer(Calls& calls, const TransferOptions& options);

    // Never throws for what has an error code; after an interruption the result means nothing.
    [[nodiscard]] TransferResult Run(const PlanStep& step, const TransferFile& file, const Progress& progress);

private:
    [[nodiscard]] TransferResult Put(const PlanStep& step, const TransferFile& file, const Progress& progress);
    [[nodiscard]] DWORD Send(const PlanStep& step, const TransferFile& file, Attributes& stored,
                             const Progress& progress);
    [[nodiscard]] DWORD SendWhole(const TransferFile& file, Attributes& stored, const Progress& progress);
    [[nodiscard]] DWORD SendResumably(const TransferFile& file, Attributes& stored, const Progress& progress);
    [[nodiscard]] std::optional<DWORD> SettleUpload(const TransferFile& file, const IServerAttributes& sent,
                                                    Attributes& stored);

    [[nodiscard]] TransferResult Get(const PlanStep& step, const TransferFile& file, const Progress& progress);
    // Each writes the item's contents to its own temporary name, whose time is set, and tells it.
    [[nodiscard]] DWORD FetchWhole(const TransferFile& file, Attributes& item, WideString& fetched,
                                   const Progress& progress);
    [[nodiscard]] DWORD FetchPart(const TransferFile& file, Attributes& item, WideString& fetched,
                                  const Progress& progress);
    [[nodiscard]] DWORD FetchRest(const TransferFile& file, const Attributes& item, const Progress& progress);
    [[nodiscard]] DWORD FetchAgainst(const TransferFile& file, Attributes& item, WideString& fetched,
                                     const Progress& progress);
    [[nodiscard]] DWORD LookAgain(const TransferFile& file, Attributes& item) const;

    Calls& m_calls;
    const TransferOptions& m_options;
    ResumablePut m_resumable;
};

}  // namespace quillmark::cli
