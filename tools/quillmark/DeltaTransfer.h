// Putting and getting a file as a delta: only what differs from contents that both sides have goes over the wire.
#pragma once

#include <string>

#include "Client.h"

namespace quillmark::cli {

struct DeltaPut {
    WideString old;         // a local copy of what the server has
    WideString local;       // the new contents
    WideString server;      // the item
    std::string revision;   // that the item has; empty: the present one, when old is as long as the item
    bool optimise = false;  // ask the server to overwrite or append in place where it can
    bool quiet = false;
};

// Sends the delta and waits until the server has applied it. Throws Failure.
[[nodiscard]] ExitCode PutDelta(Client& client, const DeltaPut& put);

// Sends the delta, has the server apply it in the background, waits for that and commits the result; without commit
// prints the job's identifier and leaves the rest to "delta-jobs". Throws Failure.
[[nodiscard]] ExitCode PutAsyncDelta(Client& client, const DeltaPut& put, bool commit);

// Commits a job that is done: the item becomes what the job made, with the times and attributes of the local file,
// whose size it must have. Throws Failure.
void CommitJob(Client& client, const GUID& job, const WideString& local, const std::string& revision);

// Fetches what differs from base, a local file, and writes the item's contents to local, which may be base. Throws
// Failure; local is then as it was.
[[nodiscard]] ExitCode GetDelta(Client& client, const WideString& server, const WideString& local,
                                const WideString& base, bool quiet);

}  // namespace quillmark::cli
