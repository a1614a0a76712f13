// Putting and getting a file as a delta: only what differs from contents that both sides have goes over the wire.
#pragma once

#include <string>

#include "Calls.h"

namespace quillmark::cli {

struct DeltaPut {
    WideString old;         // a local copy of what the server has
    WideString local;       // the new contents
    WideString server;      // the item
    std::string revision;   // that the item has
    bool optimise = false;  // ask the server to overwrite or append in place where it can
};

// What a delta took the place of.
struct DeltaSizes {
    std::int64_t delta = 0;
    std::int64_t file = 0;
};

// Sends the delta to the revision that put names and waits until the server has applied it. stored: the item's record;
// sizes are set as soon as the delta is made. Errors are codes; 21077: the item has another revision.
[[nodiscard]] DWORD SendDelta(Calls& calls, const DeltaPut& put, std::shared_ptr<IServerAttributes>& stored,
                              DeltaSizes& sizes, const std::shared_ptr<IProgressSink>& progress = nullptr);

// Sends the delta likewise, for the server to apply in the background. job: its name for that, which does not mean that
// the item changes: AwaitDeltaJob and CommitDeltaJob follow, from here or with "delta-jobs".
[[nodiscard]] DWORD StartDeltaJob(Calls& calls, const DeltaPut& put, GUID& job, DeltaSizes& sizes,
                                  const std::shared_ptr<IProgressSink>& progress = nullptr);

// Waits until a job can be committed. 21077: the server could not apply the delta; 21002: it does not know the job.
[[nodiscard]] DWORD AwaitDeltaJob(Calls& calls, const GUID& job);

// Commits a job that is done: the item becomes what the job made, with the times and attributes of put's local file,
// whose size it must have. stored: the item's record.
[[nodiscard]] DWORD CommitDeltaJob(Calls& calls, const GUID& job, const DeltaPut& put,
                                   std::shared_ptr<IServerAttributes>& stored);

// The same for a job of which only the local file is known. 21002: the server does not know the job.
[[nodiscard]] DWORD CommitDeltaJob(Calls& calls, const GUID& job, const WideString& local, const std::string& revision);

// Fetches what differs between base, a local file, and an item, and puts the item's contents together in target, with
// the item's times. item: its record. 13: what came makes no such contents.
[[nodiscard]] DWORD FetchDelta(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                               const WideString& base, const WideString& target, DeltaSizes& sizes,
                               const std::shared_ptr<IProgressSink>& progress = nullptr);

// "delta: 123 bytes for a file of 45678 bytes"
[[nodiscard]] std::string DeltaLine(const DeltaSizes& sizes);

}  // namespace quillmark::cli
