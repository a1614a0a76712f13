// FileTransfer: carries one file after the other, on one thread, by the method that its step names.
//
//   up    whole       the file in one request
//         resumable   in chunks; goes on where an earlier attempt ended (ResumablePut)
//         delta       against the base; whole when the server cannot make the file out of it
//         async delta the same, and the server applies it in the background
//   down  whole       to a temporary name, gone when it fails
//         resumable   to a part that is kept when it ends early (PartFile), and that the next attempt goes on with
//         delta       against the local file, or the base; as above when nothing came of it
//         range       to the same place of the target, which keeps its other bytes
//
// A download takes its target's name only when all its bytes are there and it has its times, and the rights of the file
// whose place it takes.
#pragma once

#include <memory>
#include <string>

#include "Calls.h"
#include "Texts.h"
#include "transfer/DeltaTransfer.h"
#include "transfer/ResumablePut.h"
#include "transfer/TransferPlan.h"

namespace quillmark::cli {

// What all files of a transfer have in common.
struct TransferOptions {
    Direction direction = Direction::Up;
    WideString local;  // the trees' tops, or the one file
    WideString server;
    WideString base;       // an earlier state of the local tree or of the one file; empty for none
    std::string revision;  // that the one item shall have; empty for any
    ResumableOptions resumable;
    ByteRange range;         // of the one item, for Method::Range; lies in it
    bool onlyDelta = false;  // what cannot be sent or fetched as a delta fails
    bool optimise = false;   // deltas: the server may overwrite or append in place
    bool commit = true;      // deltas in the background: their jobs are committed when they are done
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
    // expected: the revision of the item, empty for any. sent: the record of what was sent.
    [[nodiscard]] DWORD SendOnce(const TransferFile& file, const std::string& expected, Attributes& sent,
                                 Attributes& stored, const Progress& progress);
    [[nodiscard]] DWORD SendDelta(const PlanStep& step, const TransferFile& file, Attributes& stored,
                                  const Progress& progress);
    [[nodiscard]] TransferResult PutInBackground(const PlanStep& step, const TransferFile& file,
                                                 const Progress& progress);
    [[nodiscard]] DeltaPut DeltaOf(const PlanStep& step, const TransferFile& file) const;
    // Where the user has asked for a delta: what it saved.
    void TellSizes(DWORD error, const DeltaSizes& sizes) const;
    [[nodiscard]] DWORD SendResumably(const TransferFile& file, Attributes& stored, const Progress& progress);
    [[nodiscard]] std::optional<DWORD> SettleUpload(const TransferFile& file, const IServerAttributes& sent,
                                                    Attributes& stored);

    [[nodiscard]] TransferResult Get(const PlanStep& step, const TransferFile& file, const Progress& progress);
    [[nodiscard]] TransferResult GetRange(const PlanStep& step, const TransferFile& file, const Progress& progress);
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
