// Putting and getting a file as a delta: only what differs from contents that both sides have goes over the wire.
#pragma once

#include <string>

#include "Calls.h"

namespace quillmark::cli {

struct DeltaPut {
    WideString old;         // a local copy of what the server has
    WideString local;       // the new contents
    WideString server;      // the item
    std::string revision;   // that the item has; empty: the present one, when old is as long as the item
    bool optimise = false;  // ask the server to overwrite or append in place where it can
    bool quiet = false;
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

// Fetches what differs between base, a local file, and an item, and puts the item's contents together in target, with
// the item's times. item: its record. 13: what came makes no such contents.
[[nodiscard]] DWORD FetchDelta(Calls& calls, const WideString& server, const std::shared_ptr<IServerAttributes>& item,
                               const WideString& base, const WideString& target, DeltaSizes& sizes,
                               const std::shared_ptr<IProgressSink>& progress = nullptr);

// "delta: 123 bytes for a file of 45678 bytes"
[[nodiscard]] std::string DeltaLine(const DeltaSizes& sizes);

// What follows are whole commands: they print, and throw Failure.

// Sends the delta and waits until the server has applied it.
[[nodiscard]] ExitCode PutDelta(Calls& calls, const DeltaPut& put);

// Sends the delta, has the server apply it in the background, waits for that and commits the result; without commit
// prints the job's identifier and leaves the rest to "delta-jobs".
[[nodiscard]] ExitCode PutAsyncDelta(Calls& calls, const DeltaPut& put, bool commit);

// Commits a job that is done: the item becomes what the job made, with the times and attributes of the local file,
// whose size it must have.
void CommitJob(Calls& calls, const GUID& job, const WideString& local, const std::string& revision);

// Fetches what differs from base, a local file, and writes the item's contents to local, which may be base; local is
// as it was after a failure.
[[nodiscard]] ExitCode GetDelta(Calls& calls, const WideString& server, const WideString& local, const WideString& base,
                                bool quiet);

}  // namespace quillmark::cli
